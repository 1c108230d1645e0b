// TWbemServer: the network side of `inmem serve` and `inmem listen`. It
// listens on HTTP and HTTPS addresses (Boost.Beast over Asio, TLS by
// OpenSSL), frames requests with THttpRequestReader within the limits
// below, hands each to its IHttpHandler (TCimHttpExchange for CIM
// operations, the listener's exchange for CIM export requests), writes the
// answer as it is made, and logs one access line per request. A refused
// request is answered and its connection closed: the framing of what
// follows cannot be trusted.
//
// A connection costs at most its header limit and one read beyond what its
// request's body holds. At the connection limit, a new connection closes
// the one that has waited longest for its next request (idle, or with its
// headers not yet all in), so that idle keep-alive connections cannot lock
// clients out; a connection reading a body or being answered is never
// closed for another. With none waiting, the new one is closed at once.
//
// Connections are served by `threads` threads: the one that calls Run and
// as many more as it starts. Each connection runs on one thread at a time
// (an Asio strand), so its requests stay in order; different connections'
// requests run side by side, and the handler must allow that when there
// is more than one thread (TCimHttpExchange does: the repository is behind
// TRepositoryLock). The listeners, the signals and the tasks of Every run
// on one strand of their own, one at a time. What the threads share here
// (the connection count, the waiting list, the access lines) is under
// mutexes of its own. Slow clients cost no thread: reads and writes wait
// asynchronously, each under a timeout. Of the public operations only Stop
// may be called from another thread.
//
// An answer that fits in one piece is sent with its length. A longer one
// is sent as it is made: in chunks to an HTTP/1.1 client, with the
// connection kept; to the end of the connection for an HTTP/1.0 one.

#ifndef INMEM_SERVER_WBEM_SERVER_H_
#define INMEM_SERVER_WBEM_SERVER_H_

#include <chrono>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include <boost/asio/io_context.hpp>

#include "server/cim_http_exchange.h"

struct TListenAddress {
  std::string address;  // "127.0.0.1", "::1", "0.0.0.0"
  unsigned short port = 0;  // 0: any free port (see Ports)
  bool tls = false;
};

struct TWbemServerConfig {
  std::vector<TListenAddress> listen;
  std::string certFile;  // PEM, for the TLS addresses
  std::string keyFile;
  THttpPolicy http;
  size_t maxBodyBytes = 16u << 20;
  size_t maxHeaderBytes = 16u << 10;
  size_t maxConnections = 64;
  // How long a connection may wait for (the headers of) its next request,
  // and how long reading a request's body or writing a piece of an answer
  // may take.
  std::chrono::seconds idleTimeout{30};
  std::chrono::seconds requestTimeout{60};
  // What each access line starts with.
  std::string logName = "inmem serve";
  // The threads that serve connections (at least one).
  unsigned threads = 1;
};

// "127.0.0.1:5988", "[::1]:5988", "localhost:5988" as an address to listen
// on; false when the text is none.
bool ParseListenAddress(const std::string& text, bool tls, TListenAddress* out);
// Whether `address` (an IP address) is a loopback one: 127.0.0.0/8, ::1.
bool IsLoopbackAddress(const std::string& address);
// The rule for addresses beyond loopback: they need users (HTTP Basic)
// and TLS, or `insecure` for plain HTTP. Empty when `listen` keeps it,
// else what breaks it.
std::string ExposureProblem(const std::vector<TListenAddress>& listen, bool users, bool insecure);

class TWbemServer {
 public:
  // `access` receives the access lines. CIM operations are answered by a
  // TCimHttpExchange of `operations` with `config.http`.
  TWbemServer(TCimOperations& operations, TWbemServerConfig config, std::ostream& access);
  // Every request goes to `handler`, which outlives the server;
  // `config.http` is not used.
  TWbemServer(IHttpHandler& handler, TWbemServerConfig config, std::ostream& access);
  ~TWbemServer();

  // Opens every listening address; throws std::runtime_error naming the
  // first that cannot be opened, or a certificate that cannot be read.
  void Start();
  // The ports the listening addresses got, in their order.
  std::vector<unsigned short> Ports() const;
  // Serves until Stop or SIGINT/SIGTERM, on this thread and `threads` - 1
  // more. A stop takes no new connection and closes those waiting for a
  // request; answers under way are finished and logged, for up to two
  // seconds. Then runs `onStop` (on this thread) and returns.
  void Run(const std::function<void()>& onStop);
  void Stop();
  // Runs `task` every `period` while it serves, one task at a time (on the
  // strand of the listeners), beside the connections' requests.
  void Every(std::chrono::seconds period, std::function<void()> task);

  class TImpl;

 private:
  std::unique_ptr<TImpl> impl_;
};

#endif  // INMEM_SERVER_WBEM_SERVER_H_
