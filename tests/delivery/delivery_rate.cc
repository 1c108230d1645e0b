// Measures how many indications a second TIndicationDelivery delivers to
// listeners on loopback that answer at once: 2 KiB bodies, to one listener
// and spread over ten. Not a test; run it by hand:
//   build/tests/delivery/delivery_rate [indications]

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <thread>
#include <vector>

#include "delivery/indication_delivery.h"
#include "tests/delivery/test_listener.h"

namespace {

void Measure(size_t listenerCount, size_t indications) {
  std::vector<std::unique_ptr<TTestListener>> listeners;
  for (size_t i = 0; i < listenerCount; ++i) {
    listeners.push_back(std::make_unique<TTestListener>());
    listeners.back()->KeepBodies(false);
  }
  TDeliveryConfig config;
  config.maxQueue = indications;
  TIndicationDelivery delivery(config, std::cerr);
  auto body = std::make_shared<const TExportBody>(std::string(2048, 'x'));
  std::vector<TDestination> destinations;
  for (size_t i = 0; i < listenerCount; ++i) {
    destinations.push_back(TDestination{"d" + std::to_string(i), listeners[i]->Url(), "", ""});
  }
  const auto start = std::chrono::steady_clock::now();
  for (size_t i = 0; i < indications; ++i) delivery.Send(destinations[i % listenerCount], body, "s");
  const double sendSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  for (size_t i = 0; i < listenerCount; ++i) {
    const size_t share = indications / listenerCount + (i < indications % listenerCount);
    if (!listeners[i]->WaitForAccepted(share, std::chrono::seconds(120))) {
      std::printf("listener %zu got only %zu of %zu\n", i, listeners[i]->AcceptedCount(), share);
    }
  }
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  std::printf("%2zu listener(s): %zu indications in %.3f s: %.0f/s (Send took %.1f ms)\n", listenerCount,
              indications, seconds, indications / seconds, sendSeconds * 1000);
}

}  // namespace

int main(int argc, char** argv) {
  const size_t indications = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 100000;
  Measure(1, indications);
  Measure(10, indications);
  return 0;
}
