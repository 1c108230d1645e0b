// A client that writes raw bytes to a server on loopback and reads back
// whatever answers come, for the tests of how the server frames requests:
// bytes no well-behaved client library would send.

#ifndef INMEM_TESTS_SERVER_LOOPBACK_CLIENT_H_
#define INMEM_TESTS_SERVER_LOOPBACK_CLIENT_H_

#include <chrono>
#include <map>
#include <string>
#include <vector>

struct TRawAnswer {
  unsigned status = 0;
  std::string body;
  bool chunked = false;
  // Header and trailer fields, names in lower case.
  std::map<std::string, std::string> fields;
};

class TLoopbackClient {
 public:
  // Connects to 127.0.0.1:port; Connected() says whether it could.
  explicit TLoopbackClient(unsigned short port);
  ~TLoopbackClient();
  TLoopbackClient(const TLoopbackClient&) = delete;
  TLoopbackClient& operator=(const TLoopbackClient&) = delete;

  bool Connected() const { return fd_ >= 0; }
  // Writes all of `bytes`; false when the server stopped taking them
  // (closed or reset the connection).
  bool Send(const std::string& bytes);
  // Reads until the server closes the connection, or nothing more arrives
  // for `quiet` once something has, or `limit` passes. Answers() then
  // holds every whole answer read so far, 1xx ones included.
  void Read(std::chrono::milliseconds quiet = std::chrono::milliseconds(300),
            std::chrono::milliseconds limit = std::chrono::milliseconds(5000));
  // Whether the server has closed (or reset) the connection.
  bool Closed() const { return closed_; }
  // Whether it was reset: an answer it cut short is then not whole.
  bool Reset() const { return reset_; }
  // The statuses of the answers read, in order.
  std::vector<unsigned> Statuses() const;
  const std::vector<TRawAnswer>& Answers() const { return answers_; }

 private:
  void Parse();

  int fd_ = -1;
  bool closed_ = false;
  bool reset_ = false;
  std::string received_;  // not yet parsed into answers
  std::vector<TRawAnswer> answers_;
};

#endif  // INMEM_TESTS_SERVER_LOOPBACK_CLIENT_H_
