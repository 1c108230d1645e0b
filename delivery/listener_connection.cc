// TListenerConnection: one keep-alive HTTP(S) connection to a listener,
// with requests pipelined on it.

#include "delivery/listener_connection.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/ssl.h>
#include <sys/socket.h>

#include <algorithm>
#include <vector>

#include <boost/asio/connect.hpp>
#include <boost/asio/write.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/ssl/host_name_verification.hpp>
#include <boost/beast/core/error.hpp>

namespace net = boost::asio;
namespace ssl = boost::asio::ssl;
namespace http = boost::beast::http;
typedef boost::system::error_code TErrorCode;

namespace {

// The most of an answer read: a listener's answers are a few hundred bytes.
const size_t kAnswerLimit = 1u << 20;

// Requests written in one go: six buffers each (the HTTP head and the
// body's pieces), within what one gather write takes (Asio passes at most
// 64 buffers to the system).
const size_t kMaxWrite = 10;

// The socket's send buffer: a pipeline's worth of requests (they are a few
// kilobytes each) fits, so that a gathered write goes in one system call
// rather than as much as a fresh connection's small buffer takes at a time.
const int kSendBuffer = 512 * 1024;

// Drops the first `n` bytes of `buffers`.
void Consume(std::vector<net::const_buffer>* buffers, size_t n) {
  auto it = buffers->begin();
  for (; it != buffers->end() && n >= it->size(); ++it) n -= it->size();
  buffers->erase(buffers->begin(), it);
  if (!buffers->empty()) buffers->front() += n;
}

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

void TListenerConnection::Close() {
  pending_.clear();
  deadline_.cancel();  // nothing of this connection may keep its io_context running
  Shut();
}

void TListenerConnection::Shut() {
  resolver_.cancel();
  if (link_ && (link_->plain || link_->tls)) {
    TErrorCode ignored;
    link_->Socket().close(ignored);
  }
  link_.reset();
  written_ = 0;
  writing_ = false;
  reading_ = false;
}

void TListenerConnection::Exchange(const TListenerUrl& url, std::shared_ptr<const TExportPost> request,
                                   std::chrono::milliseconds timeout, TDone done) {
  if (pending_.empty()) {
    deadlineAt_ = std::chrono::steady_clock::now() + timeout;
    if (link_ && !url.SameListener(url_)) Shut();
    if (!link_) url_ = url;
  }
  pending_.push_back(TPending{std::move(request), timeout, std::move(done)});
  if (!deadlineArmed_) ArmDeadline();
  if (drivePosted_) return;
  drivePosted_ = true;
  net::post(ioc_, [self = shared_from_this()] {
    self->drivePosted_ = false;
    self->Drive();
  });
}

void TListenerConnection::Drive() {
  if (pending_.empty()) return;
  if (!link_) return Open();
  if (!link_->open) return;
  if (!writing_ && written_ < pending_.size()) WritePending();
  if (!reading_ && written_ > 0) ReadNext();
}

void TListenerConnection::ArmDeadline() {
  deadlineArmed_ = true;
  deadline_.expires_at(deadlineAt_);
  deadline_.async_wait([self = shared_from_this()](const TErrorCode&) {
    // Also when cancelled: a request may have been queued since.
    self->deadlineArmed_ = false;
    if (self->pending_.empty()) return;
    // Set for an earlier head, or cancelled: wait on for this one's.
    if (std::chrono::steady_clock::now() < self->deadlineAt_) return self->ArmDeadline();
    const char* stage = !self->link_ || !self->link_->open ? self->stage_
                        : self->written_ == 0             ? "sending"
                                                           : "reading the answer";
    self->Fail(stage, TErrorCode(), true);
  });
}

void TListenerConnection::Open() {
  link_ = std::make_shared<TLink>();
  written_ = 0;
  writing_ = false;
  reading_ = false;
  std::shared_ptr<TLink> link = link_;
  TErrorCode ec;
  const net::ip::address address = net::ip::make_address(url_.host, ec);
  if (!ec) {
    // An address needs no resolving; the handler still runs later, as
    // every step's does.
    stage_ = "connecting";
    tcp::resolver::results_type endpoints =
        tcp::resolver::results_type::create(tcp::endpoint(address, url_.port), url_.host, std::to_string(url_.port));
    net::post(ioc_, [self = shared_from_this(), link, endpoints] {
      if (link == self->link_) self->Connect(link, endpoints);
    });
    return;
  }
  stage_ = "resolving the host";
  resolver_.async_resolve(url_.host, std::to_string(url_.port),
                          [self = shared_from_this(), link](const TErrorCode& ec, tcp::resolver::results_type endpoints) {
                            if (link != self->link_) return;
                            if (ec) return self->Fail("resolving the host", ec, false);
                            self->Connect(link, endpoints);
                          });
}

void TListenerConnection::Connect(const std::shared_ptr<TLink>& link, const tcp::resolver::results_type& endpoints) {
  stage_ = "connecting";
  if (url_.tls) {
    link->tls.emplace(ioc_, tlsContext_);
  } else {
    link->plain.emplace(ioc_);
  }
  net::async_connect(link->Socket(), endpoints,
                     [self = shared_from_this(), link](const TErrorCode& ec, const tcp::endpoint&) {
                       if (link != self->link_) return;
                       if (ec) return self->Fail("connecting", ec, false);
                       TErrorCode ignored;
                       link->Socket().set_option(tcp::no_delay(true), ignored);
                       // Room for a full pipeline of requests, written at once.
                       link->Socket().set_option(net::socket_base::send_buffer_size(kSendBuffer), ignored);
                       link->Socket().non_blocking(true, ignored);  // for the writes done at once (WritePending)
                       if (link->tls) return self->Handshake(link);
                       link->open = true;
                       self->Drive();
                     });
}

void TListenerConnection::Handshake(const std::shared_ptr<TLink>& link) {
  stage_ = "the TLS handshake";
  TErrorCode ec;
  const bool isAddress = (net::ip::make_address(url_.host, ec), !ec);
  // Server Name Indication, for listeners behind a host with many names.
  if (!isAddress) SSL_set_tlsext_host_name(link->tls->native_handle(), url_.host.c_str());
  if (verifyPeer_) {
    link->tls->set_verify_mode(ssl::verify_peer);
    link->tls->set_verify_callback(ssl::host_name_verification(url_.host));
  } else {
    link->tls->set_verify_mode(ssl::verify_none);
  }
  link->tls->async_handshake(ssl::stream_base::client, [self = shared_from_this(), link](const TErrorCode& ec) {
    if (link != self->link_) return;
    if (ec) return self->Fail("the TLS handshake", ec, false);
    link->open = true;
    self->Drive();
  });
}

void TListenerConnection::WritePending() {
  // A link that has not answered yet carries only its first request.
  if (written_ > 0 && link_->answered == 0) return;
  const size_t count = std::min(link_->answered == 0 ? size_t{1} : pending_.size() - written_, kMaxWrite);
  std::vector<net::const_buffer> buffers;
  buffers.reserve(6 * count);
  for (size_t i = written_; i < written_ + count; ++i) {
    const TExportPost& post = *pending_[i].request;
    buffers.push_back(net::buffer(post.head));
    for (std::string_view piece : post.body->Pieces()) {
      if (!piece.empty()) buffers.push_back(net::buffer(piece.data(), piece.size()));
    }
  }
  std::shared_ptr<TLink> link = link_;
  writing_ = true;
  auto written = [self = shared_from_this(), link, count](const TErrorCode& ec) {
    if (link != self->link_) return;
    if (ec && self->reading_) {
      // The listener may have answered before it closed: the read says
      // how the head fared. Nothing more is written on this link.
      link->broken = true;
      return;
    }
    self->writing_ = false;
    if (ec) return self->Fail("sending", ec, false);
    self->written_ += count;
    self->Drive();
  };
  if (!link->tls) {
    // Requests nearly always fit in the socket's send buffer: written at
    // once, they go without the rounds through the io_context an
    // asynchronous write costs. What does not fit goes asynchronously.
    TErrorCode ec;
    size_t left = net::buffer_size(buffers);
    while (left > 0) {
      const size_t n = link->plain->write_some(buffers, ec);
      if (ec) break;
      left -= n;
      Consume(&buffers, n);
    }
    if (left == 0) {
      writing_ = false;
      written_ += count;
      return;
    }
    if (ec != net::error::would_block && ec != net::error::try_again) {
      net::post(ioc_, [written, ec] { written(ec); });  // failures end in a handler
      return;
    }
  }
  // The write holds the requests: they may be dropped (Close) meanwhile.
  std::vector<std::shared_ptr<const TExportPost>> held;
  for (size_t i = written_; i < written_ + count; ++i) held.push_back(pending_[i].request);
  auto done = [written, held = std::move(held)](const TErrorCode& ec, size_t) { written(ec); };
  if (link->tls) {
    net::async_write(*link->tls, buffers, std::move(done));
  } else {
    net::async_write(*link->plain, buffers, std::move(done));
  }
}

void TListenerConnection::ReadNext() {
  std::shared_ptr<TLink> link = link_;
  reading_ = true;
#ifdef TCP_QUICKACK
  // Answers are acknowledged at once rather than after the delayed-ACK
  // wait: a listener that writes with Nagle's algorithm on holds its next
  // answer until the last one is acknowledged, which with several
  // requests in flight would cost that wait per answer. Linux leaves the
  // mode again on its own, so it is asked for before every answer read
  // from the socket (one already buffered needs no acknowledgement).
  if (link->buffer.size() == 0) {
    const int on = 1;
    ::setsockopt(link->Socket().native_handle(), IPPROTO_TCP, TCP_QUICKACK, &on, sizeof on);
  }
#endif
  link->parser.emplace();
  link->parser->body_limit(kAnswerLimit);
  auto read = [self = shared_from_this(), link](const TErrorCode& ec, size_t) {
    if (link != self->link_) return;
    self->reading_ = false;
    if (ec) return self->Fail("reading the answer", ec, false);
    TExportAnswer answer = link->parser->release();
    link->parser.reset();
    ++link->answered;
    --self->written_;
    TPending head = std::move(self->pending_.front());
    self->pending_.pop_front();
    // The listener reads nothing after an answer that closes: what was
    // written behind it goes again on a new connection (Drive). So it
    // does after a write that failed.
    if (!answer.keep_alive() || link->broken) self->Shut();
    if (!self->pending_.empty()) {
      self->deadlineAt_ = std::chrono::steady_clock::now() + self->pending_.front().timeout;
    }
    std::string problem;
    ExportAccepted(answer, &problem);
    head.done(std::move(problem));
    self->Drive();
  };
  if (link->tls) {
    http::async_read(*link->tls, link->buffer, *link->parser, std::move(read));
  } else {
    http::async_read(*link->plain, link->buffer, *link->parser, std::move(read));
  }
}

void TListenerConnection::Fail(const char* stage, const TErrorCode& ec, bool timedOut) {
  const bool answeredBefore = link_ && link_->answered > 0;
  const bool headBegun = link_ && link_->parser && link_->parser->got_some();
  Shut();
  if (pending_.empty()) return;
  if (!timedOut && answeredBefore && !headBegun && ClosedByPeer(ec)) {
    return Open();  // what is in flight goes again, within the head's deadline
  }
  TPending head = std::move(pending_.front());
  pending_.clear();  // the caller sends them again after the head
  if (timedOut) {
    return head.done("no answer within " + std::to_string(head.timeout.count()) + " ms (" + stage + ")");
  }
  head.done(std::string(stage) + ": " + ec.message());
}
