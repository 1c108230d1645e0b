// A CIM-XML listener for the delivery tests, on 127.0.0.1 in the test's
// own process: it records every export request it reads and answers as
// the test tells it (200, another status, a CIM error, late or never), and
// can go down and come up again on the same port. By default it reads a
// connection's next request only once it has answered the previous one;
// with ReadAhead it reads requests as they come and answers them in order
// meanwhile, as a listener that takes pipelined requests does. HTTPS with a certificate
// made for the test (MakeTestCertificate).
//
// It runs its own thread; every method may be called from the test's.

#ifndef INMEM_TESTS_DELIVERY_TEST_LISTENER_H_
#define INMEM_TESTS_DELIVERY_TEST_LISTENER_H_

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

// A self-signed certificate for 127.0.0.1 and localhost, and its key, PEM.
struct TTestCertificate {
  std::string certificatePem;
  std::string keyPem;
};
TTestCertificate MakeTestCertificate();

struct TReply {
  unsigned status = 200;
  bool cimError = false;  // a 200 whose body holds a CIM ERROR
  bool hang = false;      // read the request, never answer
  std::chrono::milliseconds delay{0};
  // Answer with Connection: close, then close gracefully: stop sending,
  // read and discard until the client closes (RFC 9112's teardown).
  bool close = false;
  // Answer as if keeping the connection, then close it at once: requests
  // the client wrote behind make that a reset, which may lose answers
  // already written.
  bool closeAfter = false;
};

struct TReceived {
  std::string target;
  std::map<std::string, std::string> headers;  // names in lower case
  std::string body;
  bool accepted = false;  // answered 200 without a CIM error
  size_t connection = 0;  // which connection it came on, from 1
  // Requests read on its connection and not answered yet when it was read,
  // itself included: more than 1 only with ReadAhead.
  size_t outstanding = 1;
  std::chrono::steady_clock::time_point at;  // when it was read
};

class TTestListener {
 public:
  explicit TTestListener(const TTestCertificate* tls = nullptr);
  ~TTestListener();
  TTestListener(const TTestListener&) = delete;
  TTestListener& operator=(const TTestListener&) = delete;

  unsigned short Port() const { return port_; }
  std::string Url(const std::string& path = "/listener") const;
  // How to answer the request numbered `index` (from 0, over the
  // listener's life); 200 for all by default.
  void SetReplies(std::function<TReply(size_t index)> replies);
  // Closes the listening socket and every connection.
  void Down();
  // Listens again on the same port.
  void Up();

  // Whether connections accepted from now on read requests ahead of the
  // answers. A request answered with `close` or `closeAfter` is the last
  // one read on its connection.
  void ReadAhead(bool on);
  // Whether Received keeps the bodies (for measuring, it need not).
  void KeepBodies(bool keep);
  std::vector<TReceived> Received() const;
  size_t AcceptedCount() const;
  // The bodies it accepted, in the order they came.
  std::vector<std::string> AcceptedBodies() const;
  // Waits until it has accepted `count` requests; false past `limit`.
  bool WaitForAccepted(size_t count, std::chrono::milliseconds limit) const;
  // Waits until it has read `count` requests; false past `limit`.
  bool WaitForReceived(size_t count, std::chrono::milliseconds limit) const;

  class TImpl;

 private:
  std::unique_ptr<TImpl> impl_;
  unsigned short port_ = 0;
};

#endif  // INMEM_TESTS_DELIVERY_TEST_LISTENER_H_
