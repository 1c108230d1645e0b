// Queries over the systems model (workloads.h): a WHERE on two properties
// evaluated during an enumeration of the components, next to the plain
// enumeration of the same instances, and what preparing a query costs.
//
// The components are "Part" instances, Id "part<c>" and Size c << 20. The
// condition keeps all but two of them, so that every instance is evaluated
// in full: both properties read, both comparisons made.

#include <benchmark/benchmark.h>

#include "bench/workloads.h"
#include "include/cim_property.h"
#include "query/bound_query.h"

namespace {

const TContext kNone;
const char kQuery[] = "SELECT * FROM Part WHERE Size >= 1048576 AND Id <> 'part7'";

// How one benchmark walks the N components of the model: `walk(query, part,
// count)` adds to `count` the instances it keeps. Reports items per second,
// and its inverse, the CPU time per instance.
template <typename Walk>
void Components(benchmark::State& state, size_t expected, const Walk& walk) {
  const size_t n = static_cast<size_t>(state.range(0));
  const TSystemsModel& model = CachedSystems(n, 10);
  boost::shared_ptr<ICIMClass> part = model.ns->GetClass("Part", kNone);
  const TBoundQuery query = TBoundQuery::Prepare("WQL", kQuery, model.ns);
  size_t kept = 0;
  for (auto _ : state) {
    kept = 0;
    walk(query, *part, kept);
    benchmark::DoNotOptimize(kept);
  }
  if (kept != n - expected) state.SkipWithError("the walk kept other instances than expected");
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * n));
  state.counters["per_instance"] = benchmark::Counter(
      static_cast<double>(n), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

// One EnumerateInstances over the N components, as BM_EnumerateInstances.
void BM_QueryPlainEnumeration(benchmark::State& state) {
  Components(state, 0, [](const TBoundQuery&, ICIMClass& part, size_t& kept) {
    part.EnumerateInstances([&](boost::shared_ptr<ICIMInstance>) { return ++kept > 0; }, false, kNone);
  });
}
BENCHMARK(BM_QueryPlainEnumeration)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

// The floor under any filter that reads two properties through the element
// interfaces: the same enumeration reading Id and Size of each instance
// (ICIMInstance::GetProperty, ICIMProperty::GetValue) and comparing them by
// hand, with no query at all.
void BM_QueryReadTwoProperties(benchmark::State& state) {
  Components(state, 2, [](const TBoundQuery&, ICIMClass& part, size_t& kept) {
    part.EnumerateInstances(
        [&](boost::shared_ptr<ICIMInstance> instance) {
          const uint64_t size =
              static_cast<unsigned long long>(instance->GetProperty("Size", kNone)->GetValue(kNone));
          const bool seven = instance->GetProperty("Id", kNone)->GetValue(kNone).GetString() == "part7";
          return size >= 1048576 && !seven && ++kept > 0;
        },
        false, kNone);
  });
}
BENCHMARK(BM_QueryReadTwoProperties)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

// The same enumeration with each instance put to the query (Matches, which
// also checks the instance's class), as a caller with its own walk does.
void BM_QueryFilteredEnumeration(benchmark::State& state) {
  Components(state, 2, [](const TBoundQuery& query, ICIMClass& part, size_t& kept) {
    part.EnumerateInstances(
        [&](boost::shared_ptr<ICIMInstance> instance) { return query.Matches(*instance) && ++kept > 0; }, false,
        kNone);
  });
}
BENCHMARK(BM_QueryFilteredEnumeration)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

// The query's own walk of the FROM class and its subclasses, as a server
// runs ExecQuery.
void BM_QueryEnumerateMatches(benchmark::State& state) {
  Components(state, 2, [](const TBoundQuery& query, ICIMClass&, size_t& kept) {
    query.EnumerateMatches([&](boost::shared_ptr<ICIMInstance>) { return ++kept > 0; });
  });
}
BENCHMARK(BM_QueryEnumerateMatches)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

// Parse and Bind of the query: what each request pays before the walk.
void BM_QueryPrepare(benchmark::State& state) {
  const TSystemsModel& model = CachedSystems(100000, 10);
  for (auto _ : state) benchmark::DoNotOptimize(TBoundQuery::Prepare("WQL", kQuery, model.ns));
}
BENCHMARK(BM_QueryPrepare);

}  // namespace
