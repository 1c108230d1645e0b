// The delivery tests' listener: Beast sessions on a thread of their own.

#include "tests/delivery/test_listener.h"

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <future>
#include <mutex>
#include <set>
#include <stdexcept>
#include <thread>

#include <boost/asio.hpp>
#include <boost/asio/ssl.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/ssl.hpp>

namespace net = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
namespace ssl = net::ssl;
using tcp = net::ip::tcp;

namespace {

std::string Pem(int (*write)(BIO*, void*), void* object) {
  BIO* bio = BIO_new(BIO_s_mem());
  write(bio, object);
  char* data = nullptr;
  const long size = BIO_get_mem_data(bio, &data);
  std::string text(data, static_cast<size_t>(size));
  BIO_free(bio);
  return text;
}

const char kAnswer[] =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?><CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\">"
    "<MESSAGE ID=\"1\" PROTOCOLVERSION=\"1.0\"><SIMPLEEXPRSP><EXPMETHODRESPONSE NAME=\"ExportIndication\">"
    "%s</EXPMETHODRESPONSE></SIMPLEEXPRSP></MESSAGE></CIM>";

std::string AnswerBody(bool cimError) {
  std::string body = kAnswer;
  body.replace(body.find("%s"), 2,
               cimError ? "<ERROR CODE=\"1\" DESCRIPTION=\"refused by the test\"/>" : "<IRETURNVALUE/>");
  return body;
}

}  // namespace

TTestCertificate MakeTestCertificate() {
  EVP_PKEY* key = EVP_EC_gen("P-256");
  X509* cert = X509_new();
  X509_set_version(cert, 2);
  ASN1_INTEGER_set(X509_get_serialNumber(cert), 1);
  X509_gmtime_adj(X509_getm_notBefore(cert), -3600);
  X509_gmtime_adj(X509_getm_notAfter(cert), 24 * 3600);
  X509_set_pubkey(cert, key);
  X509_NAME* name = X509_get_subject_name(cert);
  X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, reinterpret_cast<const unsigned char*>("localhost"), -1, -1,
                             0);
  X509_set_issuer_name(cert, name);
  X509V3_CTX ctx;
  X509V3_set_ctx_nodb(&ctx);
  X509V3_set_ctx(&ctx, cert, cert, nullptr, nullptr, 0);
  for (const auto& [nid, value] : {std::pair<int, const char*>{NID_subject_alt_name, "IP:127.0.0.1,DNS:localhost"},
                                  {NID_basic_constraints, "critical,CA:TRUE"}}) {
    X509_EXTENSION* extension = X509V3_EXT_conf_nid(nullptr, &ctx, nid, value);
    X509_add_ext(cert, extension, -1);
    X509_EXTENSION_free(extension);
  }
  X509_sign(cert, key, EVP_sha256());
  TTestCertificate made;
  made.certificatePem = Pem([](BIO* b, void* x) { return PEM_write_bio_X509(b, static_cast<X509*>(x)); }, cert);
  made.keyPem = Pem(
      [](BIO* b, void* k) {
        return PEM_write_bio_PrivateKey(b, static_cast<EVP_PKEY*>(k), nullptr, nullptr, 0, nullptr, nullptr);
      },
      key);
  X509_free(cert);
  EVP_PKEY_free(key);
  return made;
}

class TTestListener::TImpl {
 public:
  struct ISession {
    virtual ~ISession() = default;
    virtual void Close() = 0;
  };

  explicit TImpl(const TTestCertificate* certificate) : tlsOn(certificate != nullptr) {
    if (tlsOn) {
      tls.use_certificate_chain(net::buffer(certificate->certificatePem));
      tls.use_private_key(net::buffer(certificate->keyPem), ssl::context::pem);
    }
  }

  void Listen(unsigned short wanted) {
    acceptor = std::make_unique<tcp::acceptor>(ioc);
    const tcp::endpoint endpoint(net::ip::make_address("127.0.0.1"), wanted);
    acceptor->open(endpoint.protocol());
    acceptor->set_option(net::socket_base::reuse_address(true));
    acceptor->bind(endpoint);
    acceptor->listen();
    port = acceptor->local_endpoint().port();
    Accept();
  }
  void Accept();
  // Runs `task` on the listener's thread and waits for it.
  void OnThread(std::function<void()> task) {
    std::promise<void> done;
    net::post(ioc, [&] {
      task();
      done.set_value();
    });
    done.get_future().wait();
  }
  TReply ReplyTo(TReceived received) {
    std::lock_guard<std::mutex> lock(mu);
    const TReply reply = replies ? replies(all.size()) : TReply();
    received.accepted = reply.status == 200 && !reply.cimError && !reply.hang;
    received.at = std::chrono::steady_clock::now();
    accepted += received.accepted;
    if (!keepBodies) received.body.clear();
    all.push_back(std::move(received));
    // Only a waiter's target wakes it: a wake per request would cost the
    // measurements a thread switch each.
    if (accepted >= wakeAt || all.size() >= wakeAt) changed.notify_all();
    return reply;
  }

  net::io_context ioc;
  ssl::context tls{ssl::context::tls_server};
  const bool tlsOn;
  std::unique_ptr<tcp::acceptor> acceptor;
  unsigned short port = 0;
  std::set<std::shared_ptr<ISession>> sessions;  // listener's thread only
  size_t connections = 0;

  mutable std::mutex mu;
  mutable std::condition_variable changed;
  std::function<TReply(size_t)> replies;
  std::vector<TReceived> all;
  size_t accepted = 0;
  size_t wakeAt = 0;  // what a waiter waits for
  std::atomic<bool> keepBodies{true};
  std::atomic<bool> readAhead{false};
  std::thread thread;
};

namespace {

template <class Stream>
class TSession : public TTestListener::TImpl::ISession, public std::enable_shared_from_this<TSession<Stream>> {
 public:
  TSession(TTestListener::TImpl& listener, Stream stream, size_t number)
      : listener_(listener),
        stream_(std::move(stream)),
        number_(number),
        readAhead_(listener.readAhead),
        timer_(listener.ioc) {}

  void Start() {
    if constexpr (std::is_same<Stream, tcp::socket>::value) {
      ReadRequest();
    } else {
      stream_.async_handshake(ssl::stream_base::server, [self = this->shared_from_this()](beast::error_code ec) {
        if (ec) return self->Close();
        self->ReadRequest();
      });
    }
  }

  void Close() override {
    beast::error_code ignored;
    Socket().close(ignored);
    timer_.cancel();
    listener_.sessions.erase(this->shared_from_this());
  }

 private:
  tcp::socket& Socket() {
    if constexpr (std::is_same<Stream, tcp::socket>::value) {
      return stream_;
    } else {
      return stream_.next_layer();
    }
  }

  void ReadRequest() {
    request_ = {};
    http::async_read(stream_, buffer_, request_, [self = this->shared_from_this()](beast::error_code ec, size_t) {
      if (ec) return self->Close();
      self->OnRequest();
    });
  }

  void OnRequest() {
    TReceived received;
    received.target = std::string(request_.target());
    for (const auto& field : request_) {
      if (!listener_.keepBodies) break;  // measuring: only counts matter
      std::string name(field.name_string());
      for (char& c : name) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
      received.headers[name] = std::string(field.value());
    }
    received.body = std::move(request_.body());
    received.connection = number_;
    received.outstanding = replies_.size() + 1;
    const TReply reply = listener_.ReplyTo(std::move(received));
    replies_.push_back(reply);
    if (replies_.size() == 1) AnswerFront();
    if (readAhead_ && !reply.close && !reply.closeAfter) ReadRequest();
  }

  // Answers the oldest request not answered yet.
  void AnswerFront() {
    const TReply& reply = replies_.front();
    if (reply.hang) return;  // the connection stays open, unanswered
    if (reply.delay.count() == 0) return Answer();
    timer_.expires_after(reply.delay);
    timer_.async_wait([self = this->shared_from_this()](beast::error_code ec) {
      if (!ec) self->Answer();
    });
  }

  void Answer() {
    const TReply& reply = replies_.front();
    response_ = {static_cast<http::status>(reply.status), 11};
    response_.set(http::field::content_type, "application/xml; charset=\"utf-8\"");
    response_.set("CIMExport", "MethodResponse");
    response_.body() = AnswerBody(reply.cimError);
    response_.keep_alive(!reply.close);
    response_.prepare_payload();
    http::async_write(stream_, response_, [self = this->shared_from_this()](beast::error_code ec, size_t) {
      const TReply answered = self->replies_.front();
      self->replies_.pop_front();
      if (answered.close && !ec) return self->Drain();
      if (ec || answered.closeAfter) return self->Close();
      if (!self->readAhead_) return self->ReadRequest();
      if (!self->replies_.empty()) self->AnswerFront();
    });
  }

  void Drain() {
    beast::error_code ignored;
    Socket().shutdown(tcp::socket::shutdown_send, ignored);
    Socket().async_read_some(net::buffer(drain_), [self = this->shared_from_this()](beast::error_code ec, size_t) {
      if (ec) return self->Close();
      self->Drain();
    });
  }

  TTestListener::TImpl& listener_;
  Stream stream_;
  char drain_[4096];
  const size_t number_;
  const bool readAhead_;
  net::steady_timer timer_;
  std::deque<TReply> replies_;  // for the requests read and not answered yet, oldest first
  beast::flat_buffer buffer_;
  http::request<http::string_body> request_;
  http::response<http::string_body> response_;
};

}  // namespace

void TTestListener::TImpl::Accept() {
  acceptor->async_accept([this](beast::error_code ec, tcp::socket socket) {
    if (ec) return;  // closed: the listener is down
    socket.set_option(tcp::no_delay(true));
    std::shared_ptr<ISession> session;
    if (tlsOn) {
      auto s = std::make_shared<TSession<ssl::stream<tcp::socket>>>(
          *this, ssl::stream<tcp::socket>(std::move(socket), tls), ++connections);
      session = s;
      sessions.insert(session);
      s->Start();
    } else {
      auto s = std::make_shared<TSession<tcp::socket>>(*this, std::move(socket), ++connections);
      session = s;
      sessions.insert(session);
      s->Start();
    }
    Accept();
  });
}

TTestListener::TTestListener(const TTestCertificate* tls) : impl_(std::make_unique<TImpl>(tls)) {
  impl_->Listen(0);
  port_ = impl_->port;
  impl_->thread = std::thread([this] {
    auto work = net::make_work_guard(impl_->ioc);
    impl_->ioc.run();
  });
}

TTestListener::~TTestListener() {
  Down();
  impl_->ioc.stop();
  impl_->thread.join();
}

std::string TTestListener::Url(const std::string& path) const {
  return std::string(impl_->tlsOn ? "https" : "http") + "://127.0.0.1:" + std::to_string(port_) + path;
}

void TTestListener::SetReplies(std::function<TReply(size_t index)> replies) {
  std::lock_guard<std::mutex> lock(impl_->mu);
  impl_->replies = std::move(replies);
}

void TTestListener::Down() {
  impl_->OnThread([this] {
    if (impl_->acceptor) impl_->acceptor->close();
    impl_->acceptor.reset();
    auto sessions = impl_->sessions;
    for (const auto& session : sessions) session->Close();
  });
}

void TTestListener::Up() {
  impl_->OnThread([this] { impl_->Listen(port_); });
}

void TTestListener::ReadAhead(bool on) { impl_->readAhead = on; }

void TTestListener::KeepBodies(bool keep) {
  std::lock_guard<std::mutex> lock(impl_->mu);
  impl_->keepBodies = keep;
}

size_t TTestListener::AcceptedCount() const {
  std::lock_guard<std::mutex> lock(impl_->mu);
  return impl_->accepted;
}

std::vector<TReceived> TTestListener::Received() const {
  std::lock_guard<std::mutex> lock(impl_->mu);
  return impl_->all;
}

std::vector<std::string> TTestListener::AcceptedBodies() const {
  std::vector<std::string> bodies;
  for (const TReceived& r : Received()) {
    if (r.accepted) bodies.push_back(r.body);
  }
  return bodies;
}

bool TTestListener::WaitForAccepted(size_t count, std::chrono::milliseconds limit) const {
  std::unique_lock<std::mutex> lock(impl_->mu);
  impl_->wakeAt = count;
  return impl_->changed.wait_for(lock, limit, [&] { return impl_->accepted >= count; });
}

bool TTestListener::WaitForReceived(size_t count, std::chrono::milliseconds limit) const {
  std::unique_lock<std::mutex> lock(impl_->mu);
  impl_->wakeAt = count;
  return impl_->changed.wait_for(lock, limit, [&] { return impl_->all.size() >= count; });
}
