// Listeners that take export requests and answer at once, for measuring how
// fast inmem serve delivers: COUNT listeners on loopback, their ports on the
// first line of standard output. They stay down until a line comes on
// standard input (the ports are bound, not listening: connections are
// refused, so that the server queues indications for them), then come up;
// once each has taken EXPECTED requests (or a minute has passed), the time
// from the first request read to the last, and the rate.
//
// A listener as lean as one can be, so that the server, not the listener,
// sets the pace: one thread for all of them, each connection read in large
// pieces, every whole request in what was read answered (with its message
// ID) in one write. Requests are framed by Content-Length, which is what
// inmem serve sends. Not a test; bench/indication_bench.py runs it.
//   export_sink COUNT EXPECTED

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>

#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>

namespace net = boost::asio;
using tcp = net::ip::tcp;
using Clock = std::chrono::steady_clock;

namespace {

struct TTally {
  size_t expected = 0;
  size_t taken = 0;
  Clock::time_point first = Clock::time_point::max();
  Clock::time_point last = Clock::time_point::min();
};

// The value of header `name` (lower case) in `head`, or "".
std::string_view Header(std::string_view head, std::string_view name) {
  size_t line = head.find("\r\n");
  while (line != std::string_view::npos && line + 2 < head.size()) {
    const size_t start = line + 2;
    line = head.find("\r\n", start);
    const std::string_view text = head.substr(start, line - start);
    const size_t colon = text.find(':');
    if (colon != name.size()) continue;
    bool same = true;
    for (size_t i = 0; i < colon && same; ++i) same = (text[i] | 0x20) == name[i];
    if (!same) continue;
    std::string_view value = text.substr(colon + 1);
    while (!value.empty() && value.front() == ' ') value.remove_prefix(1);
    return value;
  }
  return {};
}

void AppendAnswer(std::string_view body, std::string* out) {
  std::string_view id = "0";
  const size_t at = body.find("MESSAGE ID=\"");
  if (at != std::string_view::npos) {
    const size_t end = body.find('"', at + 12);
    if (end != std::string_view::npos) id = body.substr(at + 12, end - at - 12);
  }
  std::string xml = "<?xml version=\"1.0\" encoding=\"utf-8\"?><CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\">";
  xml.append("<MESSAGE ID=\"").append(id).append("\" PROTOCOLVERSION=\"1.0\"><SIMPLEEXPRSP>");
  xml.append("<EXPMETHODRESPONSE NAME=\"ExportIndication\"/></SIMPLEEXPRSP></MESSAGE></CIM>");
  out->append("HTTP/1.1 200 OK\r\nContent-Type: application/xml; charset=\"utf-8\"\r\nCIMExport: MethodResponse\r\n");
  out->append("Content-Length: ").append(std::to_string(xml.size())).append("\r\n\r\n").append(xml);
}

class TConnection : public std::enable_shared_from_this<TConnection> {
 public:
  TConnection(tcp::socket socket, TTally* tally) : socket_(std::move(socket)), tally_(tally) {}

  void Read() {
    const size_t used = in_.size();
    in_.resize(used + 65536);
    socket_.async_read_some(net::buffer(&in_[used], 65536),
                            [self = shared_from_this(), used](const boost::system::error_code& ec, size_t n) {
                              self->in_.resize(used + n);
                              if (!ec) self->Answer();
                            });
  }

 private:
  // Answers every whole request read; reads on once the answers are written.
  void Answer() {
    size_t at = 0;
    out_.clear();
    while (true) {
      const std::string_view rest = std::string_view(in_).substr(at);
      const size_t headEnd = rest.find("\r\n\r\n");
      if (headEnd == std::string_view::npos) break;
      const size_t length = std::strtoul(std::string(Header(rest.substr(0, headEnd), "content-length")).c_str(),
                                         nullptr, 10);
      if (rest.size() < headEnd + 4 + length) break;
      AppendAnswer(rest.substr(headEnd + 4, length), &out_);
      const Clock::time_point now = Clock::now();
      tally_->first = std::min(tally_->first, now);
      tally_->last = now;
      ++tally_->taken;
      at += headEnd + 4 + length;
    }
    in_.erase(0, at);
    if (out_.empty()) return Read();
    net::async_write(socket_, net::buffer(out_), [self = shared_from_this()](const boost::system::error_code& ec,
                                                                             size_t) {
      if (!ec) self->Read();
    });
  }

  tcp::socket socket_;
  TTally* tally_;
  std::string in_, out_;
};

void Accept(tcp::acceptor& acceptor, TTally& tally) {
  acceptor.async_accept([&acceptor, &tally](const boost::system::error_code& ec, tcp::socket socket) {
    if (ec) return;
    socket.set_option(tcp::no_delay(true));
    std::make_shared<TConnection>(std::move(socket), &tally)->Read();
    Accept(acceptor, tally);
  });
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: export_sink COUNT EXPECTED\n");
    return 2;
  }
  const size_t count = std::strtoul(argv[1], nullptr, 10);
  const size_t expected = std::strtoul(argv[2], nullptr, 10);
  net::io_context ioc(1);
  std::vector<std::unique_ptr<tcp::acceptor>> acceptors;
  std::vector<TTally> tallies(count);
  for (size_t i = 0; i < count; ++i) {
    acceptors.push_back(std::make_unique<tcp::acceptor>(ioc));
    acceptors.back()->open(tcp::v4());
    acceptors.back()->bind(tcp::endpoint(net::ip::make_address("127.0.0.1"), 0));
    tallies[i].expected = expected;
    std::printf("%s%u", i == 0 ? "ports " : " ", acceptors.back()->local_endpoint().port());
  }
  std::printf("\n");
  std::fflush(stdout);
  char line[16];
  if (std::fgets(line, sizeof line, stdin) == nullptr) return 2;
  for (size_t i = 0; i < count; ++i) {
    acceptors[i]->listen();
    Accept(*acceptors[i], tallies[i]);
  }
  // Ends once every listener has its share, or after a minute.
  const Clock::time_point giveUp = Clock::now() + std::chrono::minutes(1);
  net::steady_timer check(ioc);
  std::function<void()> watch = [&] {
    const bool done = std::all_of(tallies.begin(), tallies.end(), [](const TTally& t) { return t.taken >= t.expected; });
    if (done || Clock::now() >= giveUp) return ioc.stop();
    check.expires_after(std::chrono::milliseconds(5));
    check.async_wait([&](const boost::system::error_code&) { watch(); });
  };
  watch();
  ioc.run();
  size_t taken = 0;
  Clock::time_point first = Clock::time_point::max(), last = Clock::time_point::min();
  for (const TTally& t : tallies) {
    taken += t.taken;
    if (t.taken == 0) continue;
    first = std::min(first, t.first);
    last = std::max(last, t.last);
  }
  const double seconds = taken > 1 ? std::chrono::duration<double>(last - first).count() : 0;
  std::printf("accepted %zu in %.3f s: %.0f/s\n", taken, seconds, seconds > 0 ? taken / seconds : 0.0);
  return taken == count * expected ? 0 : 1;
}
