#include "tests/server/loopback_client.h"

#include <cctype>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

#include <boost/asio/buffer.hpp>
#include <boost/beast/http.hpp>

namespace http = boost::beast::http;

TLoopbackClient::TLoopbackClient(unsigned short port) {
  fd_ = socket(AF_INET, SOCK_STREAM, 0);
  if (fd_ < 0) return;
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (connect(fd_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    close(fd_);
    fd_ = -1;
  }
}

TLoopbackClient::~TLoopbackClient() {
  if (fd_ >= 0) close(fd_);
}

bool TLoopbackClient::Send(const std::string& bytes) {
  size_t sent = 0;
  while (sent < bytes.size()) {
    // MSG_NOSIGNAL: a server that closed must not kill the test with SIGPIPE.
    const ssize_t n = send(fd_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    sent += static_cast<size_t>(n);
  }
  return true;
}

void TLoopbackClient::Read(std::chrono::milliseconds quiet, std::chrono::milliseconds limit) {
  typedef std::chrono::steady_clock TClock;
  const TClock::time_point end = TClock::now() + limit;
  bool any = false;
  while (!closed_) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - TClock::now());
    if (left.count() <= 0) break;
    pollfd p{fd_, POLLIN, 0};
    const int ready = poll(&p, 1, static_cast<int>(any ? std::min(left, quiet).count() : left.count()));
    if (ready < 0 && errno == EINTR) continue;
    if (ready <= 0) {
      if (any) break;  // quiet for long enough
      continue;
    }
    char piece[65536];
    const ssize_t n = recv(fd_, piece, sizeof piece, 0);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      closed_ = true;  // an orderly close, or a reset
      reset_ = n < 0;
      break;
    }
    received_.append(piece, static_cast<size_t>(n));
    any = true;
  }
  Parse();
}

void TLoopbackClient::Parse() {
  while (!received_.empty()) {
    http::response_parser<http::string_body> parser;
    parser.eager(true);
    parser.body_limit(64u << 20);
    boost::beast::error_code ec;
    size_t used = 0;
    // One answer at a time: a 1xx answer is a whole message of its own.
    while (!parser.is_done()) {
      const size_t n = parser.put(boost::asio::buffer(received_.data() + used, received_.size() - used), ec);
      used += n;
      if (ec || n == 0) break;
    }
    if (!parser.is_done() && closed_ && !reset_ && !ec) {
      // An answer that the (orderly) end of the connection ends.
      parser.put_eof(ec);
    }
    if (!parser.is_done()) return;  // incomplete: wait for more
    TRawAnswer answer{parser.get().result_int(), parser.get().body(), parser.chunked(), {}};
    for (const auto& field : parser.get()) {
      std::string name(field.name_string());
      for (char& c : name) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
      answer.fields[name] = std::string(field.value());
    }
    answers_.push_back(std::move(answer));
    received_.erase(0, used);
  }
}

std::vector<unsigned> TLoopbackClient::Statuses() const {
  std::vector<unsigned> statuses;
  for (const TRawAnswer& answer : answers_) statuses.push_back(answer.status);
  return statuses;
}
