// A TWbemServer serving on a thread of its own for a test, on loopback,
// stopped when it goes (or earlier, so that its access log can be read).

#ifndef INMEM_TESTS_SERVER_RUNNING_SERVER_H_
#define INMEM_TESTS_SERVER_RUNNING_SERVER_H_

#include <ostream>
#include <thread>

#include "server/wbem_server.h"

class TRunningServer {
 public:
  // `answerer` is what TWbemServer takes: the CIM operations, or another
  // IHttpHandler.
  template <class Answerer>
  TRunningServer(Answerer& answerer, const TWbemServerConfig& config, std::ostream& access)
      : server_(answerer, config, access) {
    server_.Start();
    port_ = server_.Ports().front();
    thread_ = std::thread([this] { server_.Run(nullptr); });
  }
  ~TRunningServer() { Stop(); }
  TRunningServer(const TRunningServer&) = delete;
  TRunningServer& operator=(const TRunningServer&) = delete;

  unsigned short Port() const { return port_; }
  // Stops it and waits until it has stopped; its access log is whole then.
  void Stop() {
    if (!thread_.joinable()) return;
    server_.Stop();
    thread_.join();
  }

 private:
  TWbemServer server_;
  unsigned short port_ = 0;
  std::thread thread_;
};

#endif  // INMEM_TESTS_SERVER_RUNNING_SERVER_H_
