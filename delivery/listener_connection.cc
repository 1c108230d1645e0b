// TListenerConnection: one keep-alive HTTP(S) connection to a listener.

#include "delivery/listener_connection.h"

#include <openssl/ssl.h>

#include <boost/asio/connect.hpp>
#include <boost/asio/ssl/host_name_verification.hpp>
#include <boost/beast/core/error.hpp>

namespace net = boost::asio;
namespace ssl = boost::asio::ssl;
namespace http = boost::beast::http;
typedef boost::system::error_code TErrorCode;

namespace {

// The most of an answer read: a listener's answers are a few hundred bytes.
const size_t kAnswerLimit = 1u << 20;

// Whether `ec` says the peer closed the connection (or it was reset) rather
// than anything about the exchange itself.
bool ClosedByPeer(const TErrorCode& ec) {
  return ec == http::error::end_of_stream || ec == net::error::eof || ec == net::error::connection_reset ||
         ec == net::error::broken_pipe || ec == net::ssl::error::stream_truncated;
}

}  // namespace

TListenerConnection::TListenerConnection(net::io_context& ioc, ssl::context& tls, bool verifyPeer)
    : ioc_(ioc), tlsContext_(tls), verifyPeer_(verifyPeer), resolver_(ioc), deadline_(ioc) {}

TListenerConnection::~TListenerConnection() = default;

TListenerConnection::tcp::socket& TListenerConnection::Socket() {
  return tls_ ? tls_->next_layer() : *plain_;
}

void TListenerConnection::Close() {
  if (done_) halt_ = EHalt::kClosed;
  deadline_.cancel();  // nothing of this connection may keep its io_context running
  Shut();
}

void TListenerConnection::Shut() {
  resolver_.cancel();
  if (plain_ || tls_) {
    TErrorCode ignored;
    Socket().close(ignored);
  }
  open_ = false;
}

void TListenerConnection::Exchange(const TListenerUrl& url, const TExportRequest& request,
                                   std::chrono::milliseconds timeout, TDone done) {
  request_ = &request;
  done_ = std::move(done);
  timeout_ = timeout;
  halt_ = EHalt::kNone;
  deadlineAt_ = std::chrono::steady_clock::now() + timeout;
  if (!deadlineArmed_) ArmDeadline();
  if (open_ && url.SameListener(url_)) {
    reused_ = true;
    return Write();
  }
  Shut();
  url_ = url;
  Resolve();
}

void TListenerConnection::ArmDeadline() {
  deadlineArmed_ = true;
  deadline_.expires_at(deadlineAt_);
  deadline_.async_wait([self = shared_from_this()](const TErrorCode&) {
    // Also when cancelled: an exchange may have begun since.
    self->deadlineArmed_ = false;
    if (!self->done_ || self->halt_ != EHalt::kNone) return;  // nothing under way, or it is ending
    // Set for an earlier exchange, or cancelled: wait on for this one's.
    if (std::chrono::steady_clock::now() < self->deadlineAt_) return self->ArmDeadline();
    self->halt_ = EHalt::kTimedOut;
    self->Shut();
  });
}

void TListenerConnection::Resolve() {
  reused_ = false;
  open_ = false;
  buffer_.clear();
  TErrorCode ec;
  const net::ip::address address = net::ip::make_address(url_.host, ec);
  if (!ec) {
    // An address needs no resolving; the handler still runs later, as
    // every step's does.
    tcp::resolver::results_type endpoints =
        tcp::resolver::results_type::create(tcp::endpoint(address, url_.port), url_.host, std::to_string(url_.port));
    net::post(ioc_, [self = shared_from_this(), endpoints] {
      if (self->halt_ != EHalt::kNone) return self->Fail("connecting", net::error::operation_aborted);
      self->Connect(endpoints);
    });
    return;
  }
  resolver_.async_resolve(url_.host, std::to_string(url_.port),
                          [self = shared_from_this()](const TErrorCode& ec, tcp::resolver::results_type endpoints) {
                            if (ec || self->halt_ != EHalt::kNone) return self->Fail("resolving the host", ec);
                            self->Connect(endpoints);
                          });
}

void TListenerConnection::Connect(const tcp::resolver::results_type& endpoints) {
  if (url_.tls) {
    plain_.reset();
    tls_.emplace(ioc_, tlsContext_);
  } else {
    tls_.reset();
    plain_.emplace(ioc_);
  }
  net::async_connect(Socket(), endpoints, [self = shared_from_this()](const TErrorCode& ec, const tcp::endpoint&) {
    if (ec || self->halt_ != EHalt::kNone) return self->Fail("connecting", ec);
    TErrorCode ignored;
    self->Socket().set_option(tcp::no_delay(true), ignored);
    self->Socket().non_blocking(true, ignored);  // for the writes done at once (Write)
    if (self->tls_) return self->Handshake();
    self->open_ = true;
    self->Write();
  });
}

void TListenerConnection::Handshake() {
  TErrorCode ec;
  const bool isAddress = (net::ip::make_address(url_.host, ec), !ec);
  // Server Name Indication, for listeners behind a host with many names.
  if (!isAddress) SSL_set_tlsext_host_name(tls_->native_handle(), url_.host.c_str());
  if (verifyPeer_) {
    tls_->set_verify_mode(ssl::verify_peer);
    tls_->set_verify_callback(ssl::host_name_verification(url_.host));
  } else {
    tls_->set_verify_mode(ssl::verify_none);
  }
  tls_->async_handshake(ssl::stream_base::client, [self = shared_from_this()](const TErrorCode& ec) {
    if (ec || self->halt_ != EHalt::kNone) return self->Fail("the TLS handshake", ec);
    self->open_ = true;
    self->Write();
  });
}

void TListenerConnection::Write() {
  auto written = [self = shared_from_this()](const TErrorCode& ec, size_t) {
    if (ec || self->halt_ != EHalt::kNone) return self->Fail("sending", ec);
    self->Read();
  };
  if (tls_) return http::async_write(*tls_, *request_, std::move(written));
  // A request nearly always fits in the socket's send buffer: written at
  // once, it goes without the rounds through the io_context an
  // asynchronous write costs. What does not fit goes asynchronously.
  serializer_.emplace(*request_);
  TErrorCode ec;
  while (!ec && !serializer_->is_done()) http::write_some(*plain_, *serializer_, ec);
  if (ec == net::error::would_block || ec == net::error::try_again) {
    return http::async_write(*plain_, *serializer_, std::move(written));
  }
  if (ec) return net::post(ioc_, [written, ec] { written(ec, 0); });  // failures end in a handler
  Read();
}

void TListenerConnection::Read() {
  parser_.emplace();
  parser_->body_limit(kAnswerLimit);
  auto read = [self = shared_from_this()](const TErrorCode& ec, size_t) {
    if (ec || self->halt_ != EHalt::kNone) return self->Fail("reading the answer", ec);
    TExportAnswer answer = self->parser_->release();
    self->parser_.reset();
    if (!answer.keep_alive()) self->Shut();
    std::string problem;
    ExportAccepted(answer, &problem);
    self->Complete(std::move(problem));
  };
  if (tls_) {
    http::async_read(*tls_, buffer_, *parser_, std::move(read));
  } else {
    http::async_read(*plain_, buffer_, *parser_, std::move(read));
  }
}

void TListenerConnection::Fail(const char* stage, const TErrorCode& ec) {
  const bool nothingAnswered = !parser_ || !parser_->got_some();
  const bool stale = reused_ && halt_ == EHalt::kNone && nothingAnswered && ClosedByPeer(ec);
  parser_.reset();
  serializer_.reset();
  Shut();
  if (stale) return Resolve();  // within the same deadline
  if (halt_ == EHalt::kTimedOut) {
    return Complete("no answer within " + std::to_string(timeout_.count()) + " ms (" + stage + ")");
  }
  if (halt_ == EHalt::kClosed) return Complete(std::string(stage) + ": abandoned");
  Complete(std::string(stage) + ": " + ec.message());
}

void TListenerConnection::Complete(std::string problem) {
  request_ = nullptr;
  TDone done = std::move(done_);
  done_ = nullptr;
  done(std::move(problem));
}
