// Associators and references of random systems in a systems-with-components
// model, at a fixed degree while the number of association instances grows.

#include <cstdlib>
#include <random>

#include <benchmark/benchmark.h>

#include "bench/workloads.h"

namespace {

const TContext kNone;

template <typename Walk>
void RunWalk(benchmark::State& state, Walk walk) {
  const size_t total = static_cast<size_t>(state.range(0));
  const size_t degree = static_cast<size_t>(state.range(1));
  const TSystemsModel& model = CachedSystems(total, degree);
  std::mt19937 random(7);
  size_t reached = 0;
  for (auto _ : state) {
    const auto& system = model.systems[random() % model.systems.size()];
    walk(*system, [&](boost::shared_ptr<ICIMInstance>) { return ++reached > 0; });
  }
  state.counters["per_call"] =
      benchmark::Counter(static_cast<double>(reached), benchmark::Counter::kAvgIterations);
}

void BM_Associators(benchmark::State& state) {
  RunWalk(state, [](ICIMInstance& from, const TInstanceCallback& callback) {
    from.EnumerateAssociatedInstances(callback, "SysPart", "Part", "", "", kNone);
  });
}

void BM_References(benchmark::State& state) {
  RunWalk(state, [](ICIMInstance& from, const TInstanceCallback& callback) {
    from.EnumerateAssociationInstances(callback, "SysPart", "", kNone);
  });
}

// Totals from 10^3 to 10^5 by default; INMEM_BENCH_LARGE=1 adds 10^6.
void WalkSizes(benchmark::internal::Benchmark* b) {
  const char* large = std::getenv("INMEM_BENCH_LARGE");
  for (int degree : {10, 100}) {
    for (int total : {1000, 10000, 100000}) b->Args({total, degree});
    if (large != nullptr && *large == '1') b->Args({1000000, degree});
  }
}

BENCHMARK(BM_Associators)->Apply(WalkSizes)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_References)->Apply(WalkSizes)->Unit(benchmark::kMicrosecond);

}  // namespace
