// Entering, finding and enumerating instances of a keyed 5-property class.

#include <random>

#include <benchmark/benchmark.h>

#include "bench/workloads.h"

namespace {

const TContext kNone;

void BM_AddInstances(benchmark::State& state) {
  const size_t n = static_cast<size_t>(state.range(0));
  size_t bytes = 0;
  for (auto _ : state) {
    state.PauseTiming();
    boost::shared_ptr<ICIMNamespace> ns = ItemSchema();
    size_t before = HeapInUse();
    state.ResumeTiming();
    for (size_t i = 0; i < n; ++i) NewItem(*ns, i)->AddToNamespace(kNone);
    state.PauseTiming();
    bytes = HeapInUse() - before;
    ns.reset();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * n));
  state.counters["bytes_per_instance"] = static_cast<double>(bytes) / static_cast<double>(n);
}
BENCHMARK(BM_AddInstances)->Arg(10000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond)->Iterations(1);

// A namespace of `n` items, kept between benchmarks of the same size.
ICIMNamespace& Items(size_t n) {
  static std::map<size_t, boost::shared_ptr<ICIMNamespace>> cache;
  boost::shared_ptr<ICIMNamespace>& ns = cache[n];
  if (!ns) {
    cache.clear();  // one size at a time keeps memory down
    boost::shared_ptr<ICIMNamespace>& fresh = cache[n];
    fresh = ItemSchema();
    for (size_t i = 0; i < n; ++i) NewItem(*fresh, i)->AddToNamespace(kNone);
    return *fresh;
  }
  return *ns;
}

void BM_GetInstance(benchmark::State& state) {
  const size_t n = static_cast<size_t>(state.range(0));
  ICIMNamespace& ns = Items(n);
  std::mt19937 random(42);
  std::vector<TCIMReference> paths;
  for (int i = 0; i < 1024; ++i) paths.push_back(ItemPath(ns, random() % n));
  size_t i = 0;
  for (auto _ : state) benchmark::DoNotOptimize(ns.GetInstance(paths[i++ % paths.size()], kNone));
}
BENCHMARK(BM_GetInstance)->Arg(10000)->Arg(100000)->Arg(1000000);

void BM_EnumerateInstances(benchmark::State& state) {
  const size_t n = static_cast<size_t>(state.range(0));
  ICIMNamespace& ns = Items(n);
  boost::shared_ptr<ICIMClass> item = ns.GetClass("Item", kNone);
  for (auto _ : state) {
    size_t seen = 0;
    item->EnumerateInstances([&](boost::shared_ptr<ICIMInstance>) { return ++seen > 0; }, false, kNone);
    benchmark::DoNotOptimize(seen);
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * n));
}
BENCHMARK(BM_EnumerateInstances)->Arg(10000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);

}  // namespace
