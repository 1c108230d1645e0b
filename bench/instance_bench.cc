// Entering, finding and enumerating instances.
//
// The main figures come from the systems-with-components model (see
// workloads.h), where half the instances are associations; the single-class
// "Item" workload shows what entering costs without them.

#include <random>

#include <benchmark/benchmark.h>

#include "bench/workloads.h"

namespace {

const TContext kNone;

// Entering the whole systems model with N association instances: N/10
// systems, N components and N associations, counted as 2.1N instances.
void BM_EnterSystems(benchmark::State& state) {
  const size_t n = static_cast<size_t>(state.range(0));
  size_t bytes = 0;
  size_t entered = 0;
  double associationSeconds = 0;
  for (auto _ : state) {
    state.PauseTiming();
    TSystemsModel model = SystemsSchema();
    size_t before = HeapInUse();
    state.ResumeTiming();
    associationSeconds = EnterSystems(&model, n, 10);
    state.PauseTiming();
    bytes = HeapInUse() - before;
    entered = model.systems.size() + model.components.size() + model.associations.size();
    model = TSystemsModel();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * entered));
  state.counters["bytes_per_instance"] = static_cast<double>(bytes) / static_cast<double>(entered);
  state.counters["us_per_association"] = associationSeconds * 1e6 / static_cast<double>(n);
}
BENCHMARK(BM_EnterSystems)->Arg(10000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond)->Iterations(1);

// Entering N instances of the single class "Item" (no associations).
void BM_EnterItems(benchmark::State& state) {
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
BENCHMARK(BM_EnterItems)->Arg(10000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond)->Iterations(1);

// GetInstance of random instances among all of the systems model with N
// association instances (2.1N instances of three classes). The paths are
// made beforehand, 65,536 of them, so that nearly every lookup reaches an
// instance that no recent lookup touched.
void BM_GetInstance(benchmark::State& state) {
  const size_t n = static_cast<size_t>(state.range(0));
  const TSystemsModel& model = CachedSystems(n, 10);
  const size_t all = model.systems.size() + model.components.size() + model.associations.size();
  std::mt19937_64 random(42);
  std::vector<TCIMReference> paths;
  for (int i = 0; i < 65536; ++i) {
    size_t pick = random() % all;
    const boost::shared_ptr<ICIMInstance>& instance =
        pick < model.systems.size() ? model.systems[pick]
        : (pick -= model.systems.size()) < model.components.size()
            ? model.components[pick]
            : model.associations[pick - model.components.size()];
    paths.push_back(instance->GetReference(kNone));
  }
  size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(model.ns->GetInstance(paths[i++ & 65535], kNone));
  }
}
BENCHMARK(BM_GetInstance)->Arg(10000)->Arg(100000)->Arg(1000000);

// One EnumerateInstances over the N components of the systems model.
void BM_EnumerateInstances(benchmark::State& state) {
  const size_t n = static_cast<size_t>(state.range(0));
  const TSystemsModel& model = CachedSystems(n, 10);
  boost::shared_ptr<ICIMClass> part = model.ns->GetClass("Part", kNone);
  for (auto _ : state) {
    size_t seen = 0;
    part->EnumerateInstances([&](boost::shared_ptr<ICIMInstance>) { return ++seen > 0; }, false, kNone);
    benchmark::DoNotOptimize(seen);
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * n));
}
BENCHMARK(BM_EnumerateInstances)->Arg(10000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);

}  // namespace
