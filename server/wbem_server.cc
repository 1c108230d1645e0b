// TWbemServer: listeners and connections on Boost.Beast, on one thread or
// several.

#include "server/wbem_server.h"

#include <csignal>
#include <cstdio>
#include <array>
#include <atomic>
#include <list>
#include <mutex>
#include <optional>
#include <thread>
#include <type_traits>

#include <boost/asio.hpp>
#include <boost/asio/ssl.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/ssl.hpp>

#include "core/printable_text.h"

namespace net = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
namespace ssl = net::ssl;
using tcp = net::ip::tcp;

namespace {

// The size of the pieces an answer is made and sent in.
const size_t kPiece = 64u << 10;
// Access lines are written together, at the latest this long after the
// first of them, or once this many bytes have gathered.
const std::chrono::milliseconds kAccessFlush(100);
const size_t kAccessBuffer = 64u << 10;
// How long a stop waits for the answers under way to be written (and
// logged) before it drops what is still open.
const std::chrono::seconds kStopGrace(2);

typedef std::chrono::steady_clock TClock;

std::string EndpointText(const tcp::endpoint& endpoint) {
  const std::string address = endpoint.address().to_string();
  return (endpoint.address().is_v6() ? "[" + address + "]" : address) + ":" +
         std::to_string(endpoint.port());
}

// What the server knows of a connection whatever its stream: its peer,
// and whether it waits for a request, in which case it may be closed to let
// a new connection in (TImpl::Admit). The members below `private` belong to
// TImpl and are under its connectionsMutex.
class TConnection : public std::enable_shared_from_this<TConnection> {
 public:
  TConnection(TWbemServer::TImpl& server, std::string peer);
  virtual ~TConnection();
  TConnection(const TConnection&) = delete;
  TConnection& operator=(const TConnection&) = delete;

  const std::string& Peer() const { return peer_; }
  // Closes the connection soon, on its own strand; from any thread.
  virtual void CloseSoon() = 0;

 protected:
  TWbemServer::TImpl& server_;

 private:
  friend class TWbemServer::TImpl;
  std::string peer_;
  bool counted_ = true;
  // Where it stands in TImpl::waiting, while it waits.
  std::optional<std::list<TConnection*>::iterator> waitingAt_;
  TClock::time_point waitingSince_;
};

int ThreadsHint(const TWbemServerConfig& config) { return static_cast<int>(std::max(1u, config.threads)); }

}  // namespace

class TWbemServer::TImpl {
 public:
  TImpl(std::unique_ptr<IHttpHandler> owned, IHttpHandler& handler, TWbemServerConfig config, std::ostream& access)
      : ioc(ThreadsHint(config)), config(std::move(config)), owned(std::move(owned)), handler(handler), access(access) {}

  void Accept(size_t index);
  // Whether a new connection from `peer` may open: yes below the limit;
  // at it, when a connection waiting for a request can be closed for it
  // (the one that has waited longest).
  bool Admit(const std::string& peer);
  void FlushAccess();
  void FlushAccessLocked();
  void Log(const std::string& peer, const TCallRecord& record, unsigned httpStatus,
           TClock::time_point started);
  void Stop();
  // A connection begins or ends waiting for a request (its headers).
  void StartWaiting(TConnection& connection);
  void StopWaiting(TConnection& connection);
  // The same with connectionsMutex held.
  void StopWaitingLocked(TConnection& connection);

  // Declared before the io_context, so that they outlive it: destroying it
  // destroys the connections its pending handlers hold, and they leave
  // these as they go.
  std::mutex connectionsMutex;
  size_t connections = 0;
  // Connections not yet destroyed, counted or not: a stop is over when
  // none is left.
  size_t live = 0;
  // The connections waiting for a request, the longest waiting first.
  std::list<TConnection*> waiting;

  net::io_context ioc;
  // Where the listeners, the signals and the tasks of Every run.
  net::strand<net::io_context::executor_type> strand{ioc.get_executor()};
  ssl::context tls{ssl::context::tls_server};
  TWbemServerConfig config;
  // The handler the server made itself (for CIM operations), if it did.
  std::unique_ptr<IHttpHandler> owned;
  IHttpHandler& handler;
  std::ostream& access;
  // Access lines not written yet: they go out together when kAccessBuffer
  // bytes have gathered, kAccessFlush after the first of them, and when
  // the server stops. The lines, the timer and the stream are under
  // accessMutex.
  std::mutex accessMutex;
  std::string accessLines;
  net::steady_timer accessTimer{strand};
  bool accessTimerArmed = false;
  std::vector<std::unique_ptr<tcp::acceptor>> acceptors;
  // A task run every `period` (Every).
  struct TRepeating {
    net::steady_timer timer;
    std::chrono::seconds period;
    std::function<void()> task;
  };
  void Arm(TRepeating& repeating);
  std::vector<std::unique_ptr<TRepeating>> repeating;
  net::signal_set signals{strand, SIGINT, SIGTERM};
  std::atomic<bool> stopping{false};
  // Ends a stop that the connections still open hold up too long.
  net::steady_timer stopTimer{strand};
};

TConnection::TConnection(TWbemServer::TImpl& server, std::string peer) : server_(server), peer_(std::move(peer)) {
  std::lock_guard<std::mutex> lock(server_.connectionsMutex);
  ++server_.connections;
  ++server_.live;
}

TConnection::~TConnection() {
  std::lock_guard<std::mutex> lock(server_.connectionsMutex);
  server_.StopWaitingLocked(*this);
  if (counted_) --server_.connections;
  // The last one out ends a stop.
  if (--server_.live == 0 && server_.stopping) {
    TWbemServer::TImpl& server = server_;
    net::post(server.strand, [&server] { server.stopTimer.cancel(); });
  }
}

void TWbemServer::TImpl::StartWaiting(TConnection& connection) {
  std::lock_guard<std::mutex> lock(connectionsMutex);
  if (connection.waitingAt_) return;
  connection.waitingSince_ = TClock::now();
  connection.waitingAt_ = waiting.insert(waiting.end(), &connection);
}

void TWbemServer::TImpl::StopWaiting(TConnection& connection) {
  std::lock_guard<std::mutex> lock(connectionsMutex);
  StopWaitingLocked(connection);
}

void TWbemServer::TImpl::StopWaitingLocked(TConnection& connection) {
  if (!connection.waitingAt_) return;
  waiting.erase(*connection.waitingAt_);
  connection.waitingAt_.reset();
}

bool TWbemServer::TImpl::Admit(const std::string& peer) {
  std::unique_lock<std::mutex> lock(connectionsMutex);
  if (connections < config.maxConnections) return true;
  const std::string open = std::to_string(config.maxConnections) + " connections are open";
  if (waiting.empty()) {
    lock.unlock();
    Log(peer, TCallRecord{"-", "refused: " + open + ", none of them idle", kCimOk}, 503, TClock::now());
    return false;
  }
  // The idlest no longer counts from here on. It is closed on its own
  // strand; one already on its way out (no owner left) closes by itself.
  TConnection& idlest = *waiting.front();
  StopWaitingLocked(idlest);
  idlest.counted_ = false;
  --connections;
  const std::string idlestPeer = idlest.Peer();
  const TClock::time_point since = idlest.waitingSince_;
  std::shared_ptr<TConnection> evicted = idlest.weak_from_this().lock();
  lock.unlock();
  if (evicted) evicted->CloseSoon();
  // 408: the request it was waiting for did not come in time.
  Log(idlestPeer, TCallRecord{"-", "closed: idle longest of " + open + ", for " + peer, kCimOk}, 408, since);
  return true;
}

namespace {

// The most a connection reads at once; its buffer holds at most this
// beyond the header limit, since a request's body is taken as it arrives.
const size_t kReadSize = 64u << 10;

// How long a closing connection reads and drops what its client still
// sends (Close).
const std::chrono::seconds kLinger(2);

// One connection: requests read one after the other, each answered before
// the next is read. Everything it does runs on its stream's executor: a strand
// of its own when the server runs on several threads.
template <class Stream>
class TSession : public TConnection {
 public:
  static constexpr bool kTls = !std::is_same<Stream, beast::tcp_stream>::value;

  TSession(TWbemServer::TImpl& server, Stream stream, std::string peer, std::string local)
      : TConnection(server, std::move(peer)),
        stream_(std::move(stream)),
        local_(std::move(local)),
        buffer_(server.config.maxHeaderBytes + kReadSize),
        reader_(THttpReadLimits{server.config.maxHeaderBytes, server.config.maxBodyBytes}) {}

  // Counts as waiting from here; the rest happens on its strand.
  void Start() {
    server_.StartWaiting(*this);
    net::dispatch(stream_.get_executor(), [self = Self()] { self->Begin(); });
  }

  void CloseSoon() override {
    net::post(stream_.get_executor(), [self = Self()] { self->CloseNow(); });
  }

 private:
  std::shared_ptr<TSession> Self() { return std::static_pointer_cast<TSession>(this->shared_from_this()); }

  beast::tcp_stream& Lowest() { return beast::get_lowest_layer(stream_); }

  void Begin() {
    if constexpr (kTls) {
      Lowest().expires_after(server_.config.requestTimeout);
      stream_.async_handshake(ssl::stream_base::server, [self = Self()](beast::error_code ec) {
        if (ec) return;  // not TLS, or gave up: nothing to answer
        self->WaitForRequest();
      });
    } else {
      WaitForRequest();
    }
  }

  void CloseNow() {
    beast::error_code ignored;
    Lowest().socket().close(ignored);
  }

  // Until the headers of the next request are in, the connection is idle:
  // it may wait `idleTimeout` for them, and may be closed for a newcomer.
  void WaitForRequest() {
    server_.StartWaiting(*this);
    started_ = TClock::now();
    Lowest().expires_after(server_.config.idleTimeout);
    ReadRequest();
  }

  // Hands the reader what has arrived, and acts on what it says.
  void ReadRequest() {
    while (true) {
      const auto data = buffer_.data();
      size_t used = 0;
      const THttpRequestReader::EStep step =
          reader_.Read(std::string_view(static_cast<const char*>(data.data()), data.size()), &used);
      buffer_.consume(used);
      switch (step) {
        case THttpRequestReader::EStep::kMore:
          return ReadMore();
        case THttpRequestReader::EStep::kHeader:
          OnHeader();
          if (interim_) return;  // the body is read once 100 Continue is out
          continue;
        case THttpRequestReader::EStep::kRequest:
          return OnRequest();
        case THttpRequestReader::EStep::kRefused:
          server_.StopWaiting(*this);
          version_ = 11;
          teTrailers_ = false;
          return Respond(TCimHttpExchange::Refusal(reader_.Refusal().status, reader_.Refusal().text), true);
      }
    }
  }

  void ReadMore() {
    const size_t room = std::min(kReadSize, buffer_.max_size() - buffer_.size());
    stream_.async_read_some(buffer_.prepare(room), [self = Self()](beast::error_code ec, size_t n) {
      // Gone, idle or too slow, or closed for a newcomer: nothing to answer.
      if (ec) return self->Close();
      self->buffer_.commit(n);
      self->ReadRequest();
    });
  }

  void OnHeader() {
    server_.StopWaiting(*this);
    started_ = TClock::now();
    Lowest().expires_after(server_.config.requestTimeout);
    const THttpRequest& request = reader_.Request();
    auto expect = request.find(http::field::expect);
    if (!reader_.ExpectsBody() || expect == request.end() || !beast::iequals(expect->value(), "100-continue")) {
      return;
    }
    // The client waits for this before it sends the body.
    interim_ = std::make_unique<http::response<http::empty_body>>(http::status::continue_, 11);
    http::async_write(stream_, *interim_, [self = Self()](beast::error_code ec, size_t) {
      self->interim_.reset();
      if (ec) return self->Close();
      self->ReadRequest();
    });
  }

  void OnRequest() {
    request_ = reader_.TakeRequest();
    version_ = request_.version();
    auto te = request_.find(http::field::te);
    teTrailers_ = te != request_.end() && te->value().find("trailers") != beast::string_view::npos;
    THttpAnswer answer = server_.handler.Answer(request_, local_);
    Respond(std::move(answer), !request_.keep_alive());
    server_.handler.AfterAnswer();
  }

  template <class Response>
  void SetHeaders(Response& response, const THttpAnswer& answer) {
    response.set(http::field::server, "inmem");
    response.set(http::field::content_type, answer.contentType);
    for (const auto& header : answer.headers) response.set(header.first, header.second);
    response.keep_alive(!close_);
  }

  // The head of an answer sent whole, with its length, in head_: what
  // SetHeaders makes, written out at once. Most answers are small, and
  // this spares them a message object and a field list of their own.
  void WholeHead(const THttpAnswer& answer, size_t length) {
    head_.assign(version_ >= 11 ? "HTTP/1.1 " : "HTTP/1.0 ");
    head_.append(std::to_string(static_cast<unsigned>(answer.status))).append(1, ' ');
    const beast::string_view reason = http::obsolete_reason(answer.status);
    head_.append(reason.data(), reason.size()).append("\r\nServer: inmem\r\nContent-Type: ");
    head_.append(answer.contentType).append("\r\n");
    for (const auto& header : answer.headers) head_.append(header.first).append(": ").append(header.second).append("\r\n");
    head_.append("Content-Length: ").append(std::to_string(length)).append("\r\n");
    // As http::message::keep_alive has it: HTTP/1.1 says when it closes,
    // HTTP/1.0 when it stays.
    if (version_ >= 11 && close_) head_.append("Connection: close\r\n");
    if (version_ < 11 && !close_) head_.append("Connection: keep-alive\r\n");
    head_.append("\r\n");
  }

  void Respond(THttpAnswer answer, bool close) {
    close_ = close || answer.close;
    record_ = std::move(answer.record);
    status_ = static_cast<unsigned>(answer.status);
    piece_.clear();
    body_ = std::move(answer.body);
    bool more = false;
    try {
      more = body_ && body_->Next(&piece_, kPiece);
    } catch (const std::exception& e) {
      answer = TCimHttpExchange::Refusal(http::status::internal_server_error, e.what());
      piece_.clear();
      body_ = std::move(answer.body);
      body_->Next(&piece_, kPiece);
      status_ = 500;
    }
    Lowest().expires_after(server_.config.requestTimeout);
    if (!more) {
      WholeHead(answer, piece_.size());
      const std::array<net::const_buffer, 2> buffers{net::buffer(head_), net::buffer(piece_)};
      net::async_write(stream_, buffers, [self = Self()](beast::error_code ec, size_t) {
        if (ec) return self->Close();
        self->Finish();
      });
      return;
    }
    // HTTP/1.1 clients take chunks, so the connection stays; an HTTP/1.0
    // one reads to the end of the connection.
    chunked_ = version_ >= 11;
    if (!chunked_) close_ = true;
    streamed_ = std::make_unique<http::response<http::buffer_body>>(answer.status, version_);
    SetHeaders(*streamed_, answer);
    if (chunked_) streamed_->chunked(true);
    if (chunked_ && teTrailers_) streamed_->set(http::field::trailer, "CIMStatusCode, CIMStatusCodeDescription");
    streamed_->body().data = piece_.data();
    streamed_->body().size = piece_.size();
    streamed_->body().more = true;
    serializer_ = std::make_unique<http::response_serializer<http::buffer_body>>(*streamed_);
    WriteStreamed();
  }

  void WriteStreamed() {
    Lowest().expires_after(server_.config.requestTimeout);
    http::async_write(stream_, *serializer_, [self = Self()](beast::error_code ec, size_t) {
      if (ec == http::error::need_buffer) ec = {};
      if (ec) return self->Close();
      if (self->serializer_->is_done()) return self->Finish();
      self->piece_.clear();
      bool more = false;
      try {
        more = self->body_->Next(&self->piece_, kPiece);
      } catch (const std::exception& e) {
        return self->CutShort(e.what());
      }
      self->streamed_->body().data = self->piece_.empty() ? nullptr : self->piece_.data();
      self->streamed_->body().size = self->piece_.size();
      self->streamed_->body().more = more;
      self->WriteStreamed();
    });
  }

  // The answer cannot be finished. A client that takes trailers gets the
  // last chunk with the CIM status in trailer fields, and the connection
  // stays; another HTTP/1.1 client sees the connection end without the
  // last chunk; an HTTP/1.0 client, whose answer the end of the connection
  // ends, sees it reset. Either way a failure, never a short answer that
  // looks whole.
  void CutShort(const std::string& why) {
    if (!chunked_) {
      beast::error_code ignored;
      Lowest().socket().set_option(net::socket_base::linger(true, 0), ignored);
      return CloseNow();
    }
    if (!teTrailers_) return Close();
    record_.status = kCimFailed;
    std::string description = Printable(why, 256);
    for (char& c : description) {
      if (c == '\r' || c == '\n') c = ' ';
    }
    last_ = "0\r\nCIMStatusCode: " + std::to_string(static_cast<int>(kCimFailed)) +
            "\r\nCIMStatusCodeDescription: " + description + "\r\n\r\n";
    Lowest().expires_after(server_.config.requestTimeout);
    net::async_write(stream_, net::buffer(last_), [self = Self()](beast::error_code ec, size_t) {
      if (ec) return self->Close();
      self->Finish();
    });
  }

  void Finish() {
    server_.Log(Peer(), record_, status_, started_);
    body_.reset();
    serializer_.reset();
    streamed_.reset();
    if (close_ || server_.stopping) return Close();
    WaitForRequest();
  }

  void Close() {
    if constexpr (kTls) {
      Lowest().expires_after(std::chrono::seconds(2));
      stream_.async_shutdown([self = Self()](beast::error_code) { self->CloseNow(); });
    } else {
      // What the client still sends is read and dropped for a moment before
      // the socket closes: closing with it unread would reset the
      // connection, and the client could lose the answer it has yet to read
      // (a refusal of a body it is still sending).
      beast::error_code ignored;
      Lowest().socket().shutdown(tcp::socket::shutdown_send, ignored);
      Lowest().expires_after(kLinger);
      buffer_.clear();
      Drain();
    }
  }

  void Drain() {
    auto self = Self();
    stream_.async_read_some(buffer_.prepare(kReadSize), [self](beast::error_code ec, size_t) {
      if (ec) return self->CloseNow();  // the client closed, or the moment is over
      self->Drain();
    });
  }

  Stream stream_;
  std::string local_;
  beast::flat_buffer buffer_;
  THttpRequestReader reader_;
  // The request being answered (kept whole until its answer is out) and
  // the 100 Continue being sent.
  THttpRequest request_;
  std::unique_ptr<http::response<http::empty_body>> interim_;
  TClock::time_point started_ = TClock::now();
  unsigned version_ = 11;
  bool teTrailers_ = false;
  bool chunked_ = false;  // the answer under way goes in chunks
  bool close_ = false;
  // The answer under way.
  TCallRecord record_;
  unsigned status_ = 200;
  std::unique_ptr<TResponseBody> body_;
  std::string piece_;
  std::string last_;  // the last chunk of an answer cut short, with its trailer
  std::string head_;  // the head of an answer sent whole, kept for its capacity
  std::unique_ptr<http::response<http::buffer_body>> streamed_;
  std::unique_ptr<http::response_serializer<http::buffer_body>> serializer_;
};

}  // namespace

void TWbemServer::TImpl::Accept(size_t index) {
  auto accepted = [this, index](beast::error_code ec, tcp::socket socket) {
    if (stopping) return;
    if (ec) {
      // Out of descriptors and the like: try again in a moment, not at once.
      auto pause = std::make_shared<net::steady_timer>(strand, std::chrono::milliseconds(100));
      pause->async_wait([this, index, pause](beast::error_code) {
        if (!stopping) Accept(index);
      });
      return;
    }
    beast::error_code ignored;
    const std::string peer = EndpointText(socket.remote_endpoint(ignored));
    const std::string local = socket.local_endpoint(ignored).address().to_string();
    // Answers go as written: the last small piece of a chunked answer must
    // not wait for the acknowledgement of the one before (Nagle's
    // algorithm against the client's delayed ACK, some 40 ms).
    socket.set_option(tcp::no_delay(true), ignored);
    if (!Admit(peer)) {
      socket.close(ignored);
    } else if (config.listen[index].tls) {
      std::make_shared<TSession<beast::ssl_stream<beast::tcp_stream>>>(
          *this, beast::ssl_stream<beast::tcp_stream>(beast::tcp_stream(std::move(socket)), tls), peer, local)
          ->Start();
    } else {
      std::make_shared<TSession<beast::tcp_stream>>(*this, beast::tcp_stream(std::move(socket)), peer, local)
          ->Start();
    }
    Accept(index);
  };
  // On several threads each connection gets a strand of its own, so that
  // its handlers never run at once; on one, the thread alone sees to that.
  if (config.threads > 1) {
    acceptors[index]->async_accept(net::make_strand(ioc), std::move(accepted));
  } else {
    acceptors[index]->async_accept(ioc, std::move(accepted));
  }
}

void TWbemServer::TImpl::Log(const std::string& peer, const TCallRecord& record, unsigned httpStatus,
                             TClock::time_point started) {
  const double ms = std::chrono::duration<double, std::milli>(TClock::now() - started).count();
  char duration[32];
  std::snprintf(duration, sizeof duration, "%.2fms", ms);
  // Made whole first, and written with the lines around it in one piece
  // (FlushAccess): one system call for many lines on an unbuffered stream
  // such as standard error, and no line torn by another thread's writes to
  // the same stream.
  std::string line;
  line.reserve(128);
  line.append(config.logName).append(": ").append(peer).append(1, ' ');
  line.append(record.operation.empty() ? "-" : Printable(record.operation)).append(1, ' ');
  line.append(record.target.empty() ? "-" : Printable(record.target)).append(" http=");
  line.append(std::to_string(httpStatus)).append(" cim=").append(std::to_string(static_cast<int>(record.status)));
  line.append(1, ' ').append(duration).append(1, '\n');
  std::lock_guard<std::mutex> lock(accessMutex);
  accessLines.append(line);
  if (accessLines.size() >= kAccessBuffer) return FlushAccessLocked();
  if (accessTimerArmed || stopping) return;
  accessTimerArmed = true;
  accessTimer.expires_after(kAccessFlush);
  accessTimer.async_wait([this](const beast::error_code&) {
    std::lock_guard<std::mutex> lock(accessMutex);
    accessTimerArmed = false;
    FlushAccessLocked();
  });
}

void TWbemServer::TImpl::FlushAccess() {
  std::lock_guard<std::mutex> lock(accessMutex);
  FlushAccessLocked();
}

void TWbemServer::TImpl::FlushAccessLocked() {
  if (accessLines.empty()) return;
  access.write(accessLines.data(), static_cast<std::streamsize>(accessLines.size()));
  access.flush();
  accessLines.clear();
}

void TWbemServer::TImpl::Arm(TRepeating& r) {
  r.timer.expires_after(r.period);
  r.timer.async_wait([this, &r](beast::error_code ec) {
    if (ec || stopping) return;
    r.task();
    Arm(r);
  });
}

void TWbemServer::TImpl::Stop() {
  if (stopping.exchange(true)) return;
  {
    std::lock_guard<std::mutex> lock(accessMutex);
    FlushAccessLocked();
    accessTimer.cancel();
  }
  beast::error_code ignored;
  for (auto& acceptor : acceptors) acceptor->close(ignored);
  for (auto& r : repeating) r->timer.cancel();
  signals.cancel(ignored);
  // Connections waiting for a request close now; those answering one
  // finish it, log it and close. Run returns once none is left, or when
  // kStopGrace is over, whatever is still open then.
  std::vector<std::shared_ptr<TConnection>> idle;
  {
    std::lock_guard<std::mutex> lock(connectionsMutex);
    if (live == 0) return;
    for (TConnection* connection : waiting) {
      if (std::shared_ptr<TConnection> held = connection->weak_from_this().lock()) idle.push_back(std::move(held));
    }
  }
  stopTimer.expires_after(kStopGrace);
  stopTimer.async_wait([this](const beast::error_code& ec) {
    if (!ec) ioc.stop();
  });
  for (const std::shared_ptr<TConnection>& connection : idle) connection->CloseSoon();
}

TWbemServer::TWbemServer(TCimOperations& operations, TWbemServerConfig config, std::ostream& access) {
  auto exchange = std::make_unique<TCimHttpExchange>(operations, config.http);
  IHttpHandler& handler = *exchange;
  impl_ = std::make_unique<TImpl>(std::move(exchange), handler, std::move(config), access);
}

TWbemServer::TWbemServer(IHttpHandler& handler, TWbemServerConfig config, std::ostream& access)
    : impl_(std::make_unique<TImpl>(nullptr, handler, std::move(config), access)) {}

bool ParseListenAddress(const std::string& text, bool tls, TListenAddress* out) {
  const size_t colon = text.rfind(':');
  if (colon == std::string::npos) return false;
  std::string host = text.substr(0, colon);
  if (host.size() > 2 && host.front() == '[' && host.back() == ']') host = host.substr(1, host.size() - 2);
  if (host == "localhost") host = "127.0.0.1";
  const std::string port = text.substr(colon + 1);
  if (port.empty() || port.size() > 5 || port.find_first_not_of("0123456789") != std::string::npos) return false;
  const unsigned long number = std::stoul(port);
  beast::error_code ec;
  net::ip::make_address(host, ec);
  if (ec || number > 65535) return false;
  *out = TListenAddress{host, static_cast<unsigned short>(number), tls};
  return true;
}

bool IsLoopbackAddress(const std::string& address) {
  beast::error_code ec;
  const net::ip::address parsed = net::ip::make_address(address, ec);
  return !ec && parsed.is_loopback();
}

std::string ExposureProblem(const std::vector<TListenAddress>& listen, bool users, bool insecure) {
  for (const TListenAddress& a : listen) {
    if (IsLoopbackAddress(a.address)) continue;
    if (!users) return "listening on " + a.address + " needs --users FILE";
    if (!a.tls && !insecure) return "listening on " + a.address + " needs TLS (--https), or --insecure for plain HTTP";
  }
  return std::string();
}

TWbemServer::~TWbemServer() = default;

void TWbemServer::Start() {
  TImpl& s = *impl_;
  bool anyTls = false;
  for (const TListenAddress& a : s.config.listen) anyTls = anyTls || a.tls;
  if (anyTls) {
    s.tls.set_options(ssl::context::default_workarounds | ssl::context::no_sslv2 | ssl::context::no_sslv3 |
                      ssl::context::no_tlsv1 | ssl::context::no_tlsv1_1);
    beast::error_code ec;
    s.tls.use_certificate_chain_file(s.config.certFile, ec);
    if (ec) throw std::runtime_error("cannot use the certificate " + s.config.certFile + ": " + ec.message());
    s.tls.use_private_key_file(s.config.keyFile, ssl::context::pem, ec);
    if (ec) throw std::runtime_error("cannot use the key " + s.config.keyFile + ": " + ec.message());
  }
  for (const TListenAddress& a : s.config.listen) {
    beast::error_code ec;
    const net::ip::address address = net::ip::make_address(a.address, ec);
    if (ec) throw std::runtime_error("not an IP address: " + a.address);
    auto acceptor = std::make_unique<tcp::acceptor>(s.strand);
    const tcp::endpoint endpoint(address, a.port);
    acceptor->open(endpoint.protocol(), ec);
    if (!ec) acceptor->set_option(net::socket_base::reuse_address(true), ec);
    if (!ec) acceptor->bind(endpoint, ec);
    if (!ec) acceptor->listen(net::socket_base::max_listen_connections, ec);
    if (ec) throw std::runtime_error("cannot listen on " + EndpointText(endpoint) + ": " + ec.message());
    s.acceptors.push_back(std::move(acceptor));
  }
  for (size_t i = 0; i < s.acceptors.size(); ++i) s.Accept(i);
  s.signals.async_wait([this](beast::error_code ec, int) {
    if (!ec) impl_->Stop();
  });
}

std::vector<unsigned short> TWbemServer::Ports() const {
  std::vector<unsigned short> ports;
  for (const auto& acceptor : impl_->acceptors) {
    beast::error_code ignored;
    ports.push_back(acceptor->local_endpoint(ignored).port());
  }
  return ports;
}

void TWbemServer::Run(const std::function<void()>& onStop) {
  std::vector<std::thread> more;
  for (unsigned i = 1; i < impl_->config.threads; ++i) more.emplace_back([this] { impl_->ioc.run(); });
  impl_->ioc.run();
  for (std::thread& thread : more) thread.join();
  impl_->FlushAccess();
  if (onStop) onStop();
}

void TWbemServer::Stop() {
  net::post(impl_->strand, [this] { impl_->Stop(); });
}

void TWbemServer::Every(std::chrono::seconds period, std::function<void()> task) {
  impl_->repeating.push_back(
      std::make_unique<TImpl::TRepeating>(TImpl::TRepeating{net::steady_timer(impl_->strand), period, std::move(task)}));
  impl_->Arm(*impl_->repeating.back());
}
