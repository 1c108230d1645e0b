// TListenerConnection: the one connection the engine keeps to one
// listener, over which export requests go one at a time.
//
// Exchange sends a request and reads its answer. The connection is opened
// when the first exchange needs it (name resolved, TCP connected, TLS
// handshake when the URL is https) and kept open after an answer that
// allows it, so the next exchange reuses it; it is opened again when the
// listener closed it, when the URL names another listener, or after any
// failure. A listener may close an idle connection at any time, so an
// exchange on a reused connection that finds it closed before any answer
// arrived is tried once more at once on a fresh connection: that is not a
// failure of the listener, and costs no retry.
//
// One deadline covers the whole exchange (resolving, connecting, the
// handshake, writing, reading): past it the connection is closed and the
// exchange fails. The timer is not reset for each exchange (that would
// cost a system call or two per indication): it stays set to the deadline
// it was armed with, and when it fires early for a later exchange, it is
// armed again for that one's deadline. Answers are read up to 1 MiB: a listener has nothing
// longer to say.
//
// Invariants: at most one exchange at a time, and `done` is called exactly
// once for each, always from a completion handler (never from inside
// Exchange), unless the io_context is destroyed first.
//
// Thread-safety: none. It belongs to the delivery thread, the one running
// its io_context; every call and every handler happens there.

#ifndef INMEM_DELIVERY_LISTENER_CONNECTION_H_
#define INMEM_DELIVERY_LISTENER_CONNECTION_H_

#include <chrono>
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

  // `request` must stay alive, unchanged, until `done` is called.
  void Exchange(const TListenerUrl& url, const TExportRequest& request, std::chrono::milliseconds timeout,
                TDone done);
  // Closes the connection; an exchange under way then fails, and takes
  // no further step.
  void Close();

 private:
  typedef boost::asio::ip::tcp tcp;
  typedef boost::asio::ssl::stream<tcp::socket> TTlsStream;

  // Why the exchange under way was cut short from outside its own steps.
  enum class EHalt { kNone, kTimedOut, kClosed };

  tcp::socket& Socket();
  // Closes the socket and stops resolving.
  void Shut();
  void ArmDeadline();
  void Resolve();
  void Connect(const tcp::resolver::results_type& endpoints);
  void Handshake();
  void Write();
  void Read();
  // The exchange failed at `stage` with `ec` (or was halted).
  void Fail(const char* stage, const boost::system::error_code& ec);
  void Complete(std::string problem);

  boost::asio::io_context& ioc_;
  boost::asio::ssl::context& tlsContext_;
  const bool verifyPeer_;
  tcp::resolver resolver_;
  boost::asio::steady_timer deadline_;
  // One of the two streams carries the connection, by the URL's scheme.
  // A stream is replaced only when no operation is pending on it.
  std::optional<tcp::socket> plain_;
  std::optional<TTlsStream> tls_;
  bool open_ = false;
  TListenerUrl url_;  // what the open connection (or the one being opened) reaches

  // The exchange under way.
  const TExportRequest* request_ = nullptr;
  TDone done_;
  std::chrono::milliseconds timeout_{0};
  std::chrono::steady_clock::time_point deadlineAt_;
  bool deadlineArmed_ = false;  // the timer waits (for deadlineAt_ or an earlier one)
  bool reused_ = false;    // the request went out on a connection opened before
  EHalt halt_ = EHalt::kNone;
  std::optional<boost::beast::http::request_serializer<boost::beast::http::span_body<const char>>> serializer_;
  boost::beast::flat_buffer buffer_;
  std::optional<boost::beast::http::response_parser<boost::beast::http::string_body>> parser_;
};

#endif  // INMEM_DELIVERY_LISTENER_CONNECTION_H_
