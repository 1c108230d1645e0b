// TListenerConnection: the one connection the engine keeps to one
// listener, over which export requests go in order, pipelined (RFC 9112):
// several may be written before their answers are read, and a listener
// answers them in the order they came.
//
// Exchange queues a request behind those in flight; its `done` is called
// when its answer has been read. Requests are written in the order given,
// answers read in that order, and `done` calls come in that order too.
// Writing starts once the caller's handler has returned, so that the
// requests it queued in a row go out in one gather write.
// The caller bounds how many are in flight (InFlight); every request in
// flight goes to the same listener.
//
// Opening: the connection is opened when a request needs it (name
// resolved, TCP connected, TLS handshake when the URL is https) and kept
// open after an answer that allows it; it is opened again when the
// listener closed it, when the URL names another listener (only with
// nothing in flight), or after any failure. On a connection just opened,
// only the first request is written: the rest follow once its answer has
// shown that the listener keeps the connection open. A listener that
// closes after every answer thus never has a request written that it would
// not read.
//
// The listener ends a connection (the head is the oldest request in
// flight, the one whose answer is awaited):
// - after an answer that says Connection: close: what was written behind
//   it is written again at once on a new connection; the listener does not
//   read requests after such an answer, so nothing arrives twice;
// - without saying so, after answering at least one request on it, and
//   before any of the head's answer arrived: a listener may close a
//   connection it deems idle, or stop after so many requests. What is in
//   flight is written again at once on a new connection; that is not a
//   failure of the listener and costs no retry. The listener may have
//   read some of those requests before it closed: those then arrive twice.
// Any other end (refused, a connection that closes before its first
// answer, a broken answer, the deadline) is a failure of the head: its
// `done` gets the problem, and the requests behind it are dropped with no
// call; the caller sends them again after the head, when it sends the head
// again.
//
// One deadline covers the head: from when it became the head (queued with
// nothing in flight, or the answer before it read), through resolving,
// connecting, the handshake, writing and reading its answer. Past it the
// connection is closed and the head fails. The timer is not reset for
// each request (that would cost a system call or two per indication): it
// stays set to the deadline it was armed with, and when it fires early for
// a later head, it is armed again for that one's deadline. Answers are
// read up to 1 MiB: a listener has nothing longer to say.
//
// Invariants: `done` is called at most once for each request, always from
// a completion handler (never from inside Exchange); it is not called for
// requests dropped by Close or behind a failed head, nor once the
// io_context is destroyed.
//
// Thread-safety: none. It belongs to the delivery thread, the one running
// its io_context; every call and every handler happens there.

#ifndef INMEM_DELIVERY_LISTENER_CONNECTION_H_
#define INMEM_DELIVERY_LISTENER_CONNECTION_H_

#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http.hpp>

#include "delivery/export_request.h"
#include "delivery/listener_url.h"

class TListenerConnection : public std::enable_shared_from_this<TListenerConnection> {
 public:
  // What an exchange came to: empty when the listener took the
  // indication, else why not, in a few words for the log.
  typedef std::function<void(std::string problem)> TDone;

  // `tls` is used for https URLs; it decides how certificates are
  // checked. `verifyPeer`: check the listener's certificate and that it
  // names the URL's host.
  TListenerConnection(boost::asio::io_context& ioc, boost::asio::ssl::context& tls, bool verifyPeer);
  ~TListenerConnection();
  TListenerConnection(const TListenerConnection&) = delete;
  TListenerConnection& operator=(const TListenerConnection&) = delete;

  // Queues `request` behind those in flight. `url` must name the same
  // listener as theirs. The connection holds `request` (and with it what
  // it points into: the caller shares ownership of the body with it) until
  // no operation needs it any more.
  void Exchange(const TListenerUrl& url, std::shared_ptr<const TExportPost> request,
                std::chrono::milliseconds timeout, TDone done);
  // Requests queued whose answer has not been read.
  size_t InFlight() const { return pending_.size(); }
  // Closes the connection and drops every request in flight, without
  // calling their `done`.
  void Close();

 private:
  typedef boost::asio::ip::tcp tcp;
  typedef boost::asio::ssl::stream<tcp::socket> TTlsStream;
  typedef boost::beast::http::response_parser<boost::beast::http::string_body> TParser;

  // One connection, from its opening to its end. Its handlers hold it, so
  // that its stream and buffers outlive every operation on them; a handler
  // whose link is no longer the current one does nothing.
  struct TLink {
    // One of the two streams carries the connection, by the URL's scheme.
    std::optional<tcp::socket> plain;
    std::optional<TTlsStream> tls;
    bool open = false;    // connected (and the handshake done)
    size_t answered = 0;  // answers read on it
    bool broken = false;  // a write failed: answers are still read, nothing is written
    boost::beast::flat_buffer buffer;
    std::optional<TParser> parser;

    tcp::socket& Socket() { return tls ? tls->next_layer() : *plain; }
  };
  struct TPending {
    std::shared_ptr<const TExportPost> request;
    std::chrono::milliseconds timeout;
    TDone done;
  };

  // Closes the link, if any, and stops resolving.
  void Shut();
  // Does what comes next: opens a link, writes what may be written, reads
  // the head's answer.
  void Drive();
  void ArmDeadline();
  void Open();
  void Connect(const std::shared_ptr<TLink>& link, const tcp::resolver::results_type& endpoints);
  void Handshake(const std::shared_ptr<TLink>& link);
  // Writes every request that may be written now (from pending_[written_]
  // on), in one gather write when the socket takes them at once.
  void WritePending();
  void ReadNext();
  // The link failed at `stage` with `ec`, or the head's deadline passed.
  void Fail(const char* stage, const boost::system::error_code& ec, bool timedOut);

  boost::asio::io_context& ioc_;
  boost::asio::ssl::context& tlsContext_;
  const bool verifyPeer_;
  tcp::resolver resolver_;
  boost::asio::steady_timer deadline_;
  std::shared_ptr<TLink> link_;  // the open connection (or the one being opened), if any
  TListenerUrl url_;             // what link_ reaches
  const char* stage_ = "";       // how far the opening of link_ got

  std::deque<TPending> pending_;  // in flight, the head first
  size_t written_ = 0;            // of pending_, those written whole on link_
  bool writing_ = false;          // a write on link_ is under way
  bool reading_ = false;          // the head's answer is being read on link_
  bool drivePosted_ = false;      // a Drive is on its way (Exchange)
  std::chrono::steady_clock::time_point deadlineAt_;  // the head's
  bool deadlineArmed_ = false;  // the timer waits (for deadlineAt_ or an earlier one)
};

#endif  // INMEM_DELIVERY_LISTENER_CONNECTION_H_
