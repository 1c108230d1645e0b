// Listeners that take export requests and answer at once, for measuring how
// fast inmem serve delivers: COUNT listeners on loopback, their ports on the
// first line of standard output. They stay down until a line comes on
// standard input (so that the server can queue indications for them), then
// come up; once each has accepted EXPECTED requests (or a minute has
// passed), the time from the first request read to the last, and the rate.
// Not a test; bench/indication_bench.py runs it.
//   export_sink COUNT EXPECTED

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

#include "tests/delivery/test_listener.h"

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: export_sink COUNT EXPECTED\n");
    return 2;
  }
  const size_t count = std::strtoul(argv[1], nullptr, 10);
  const size_t expected = std::strtoul(argv[2], nullptr, 10);
  std::vector<std::unique_ptr<TTestListener>> listeners;
  for (size_t i = 0; i < count; ++i) {
    listeners.push_back(std::make_unique<TTestListener>());
    listeners.back()->KeepBodies(false);
    listeners.back()->Down();
    std::printf("%s%u", i == 0 ? "ports " : " ", listeners.back()->Port());
  }
  std::printf("\n");
  std::fflush(stdout);
  char line[16];
  if (std::fgets(line, sizeof line, stdin) == nullptr) return 2;
  for (auto& listener : listeners) listener->Up();
  size_t accepted = 0;
  auto first = std::chrono::steady_clock::time_point::max();
  auto last = std::chrono::steady_clock::time_point::min();
  for (auto& listener : listeners) {
    listener->WaitForAccepted(expected, std::chrono::seconds(60));
    for (const TReceived& r : listener->Received()) {
      if (!r.accepted) continue;
      ++accepted;
      first = std::min(first, r.at);
      last = std::max(last, r.at);
    }
  }
  const double seconds = accepted > 1 ? std::chrono::duration<double>(last - first).count() : 0;
  std::printf("accepted %zu in %.3f s: %.0f/s\n", accepted, seconds, seconds > 0 ? accepted / seconds : 0.0);
  return accepted == count * expected ? 0 : 1;
}
