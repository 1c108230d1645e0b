// Loading a schema from MOF, and class lookups.

#include <cstdlib>
#include <fstream>
#include <sstream>

#include <benchmark/benchmark.h>

#include "bench/workloads.h"
#include "include/inmem_namespace.h"
#include "mof/mof_loader.h"

namespace {

// The schema to load: the DMTF schema when INMEM_CIM_SCHEMA names it, else
// 1,500 generated classes.
struct TSchemaSource {
  TSchemaSource() : file(std::getenv("INMEM_CIM_SCHEMA")) {
    if (file != nullptr && *file == '\0') file = nullptr;
    if (file == nullptr) generated = GeneratedSchema(1500);
  }
  // Loads it into a fresh namespace; the loader (which holds the namespace
  // too) is gone when this returns.
  boost::shared_ptr<ICIMNamespace> Load(benchmark::State& state, int* classes) const {
    boost::shared_ptr<ICIMNamespace> ns = NewNamespace();
    TMofLoader loader(ns);
    bool ok = file != nullptr ? loader.LoadFile(file) : loader.LoadText("generated.mof", generated);
    if (!ok) state.SkipWithError("the schema did not load");
    *classes = loader.Counts().classes;
    return ns;
  }
  const char* Label() const { return file != nullptr ? "CIM schema" : "generated schema"; }

  const char* file;
  std::string generated;
};

// Loading the schema, from reading the MOF to the last class entered. The
// namespace is dropped outside the timing.
void BM_LoadSchema(benchmark::State& state) {
  TSchemaSource source;
  int classes = 0;
  size_t bytes = 0;
  for (auto _ : state) {
    size_t before = HeapInUse();
    boost::shared_ptr<ICIMNamespace> ns = source.Load(state, &classes);
    state.PauseTiming();
    bytes = HeapInUse() - before;
    ns.reset();
    state.ResumeTiming();
  }
  state.SetLabel(source.Label());
  state.counters["classes"] = classes;
  state.counters["heap_MiB"] = static_cast<double>(bytes) / (1024 * 1024);
}
BENCHMARK(BM_LoadSchema)->Unit(benchmark::kMillisecond)->Iterations(5);

// Dropping the last pointer to a loaded schema's namespace: the whole
// repository is freed.
void BM_DropSchema(benchmark::State& state) {
  TSchemaSource source;
  int classes = 0;
  size_t left = 0;
  for (auto _ : state) {
    state.PauseTiming();
    size_t before = HeapInUse();
    boost::shared_ptr<ICIMNamespace> ns = source.Load(state, &classes);
    state.ResumeTiming();
    ns.reset();
    state.PauseTiming();
    // What the drop did not give back (0 when the namespace freed it all).
    left = HeapInUse() > before ? HeapInUse() - before : 0;
    state.ResumeTiming();
  }
  state.SetLabel(source.Label());
  state.counters["heap_left_KiB"] = static_cast<double>(left) / 1024;
}
BENCHMARK(BM_DropSchema)->Unit(benchmark::kMillisecond)->Iterations(5);

void BM_GetClass(benchmark::State& state) {
  boost::shared_ptr<ICIMNamespace> ns = NewNamespace();
  TMofLoader loader(ns);
  loader.LoadText("generated.mof", GeneratedSchema(1500));
  std::vector<std::string> names;
  for (int i = 0; i < 1500; i += 7) names.push_back("GEN_" + std::to_string(i));
  size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(ns->GetClass(names[i++ % names.size()], TContext()));
  }
}
BENCHMARK(BM_GetClass);

// Entering N classes that all sit at the top, each registered with the root
// class: the time per class stays flat as N grows while registering does
// not search the root's list of subclasses (it once did, and 64,000 such
// classes took 10 to 20 s).
void BM_EnterTopLevelClasses(benchmark::State& state) {
  std::string mof = "Qualifier Abstract : boolean = false, Scope(class), Flavor(Restricted);\n";
  for (int i = 0; i < state.range(0); ++i) mof += "[Abstract] class Top_" + std::to_string(i) + " {};\n";
  for (auto _ : state) {
    state.PauseTiming();
    boost::shared_ptr<ICIMNamespace> ns = NewNamespace();
    TMofLoader loader(ns);
    state.ResumeTiming();
    if (!loader.LoadText("top.mof", mof)) state.SkipWithError("the classes did not load");
    state.PauseTiming();
    ns.reset();
    state.ResumeTiming();
  }
  state.counters["classes_per_s"] =
      benchmark::Counter(static_cast<double>(state.range(0)), benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_EnterTopLevelClasses)->Arg(8000)->Arg(64000)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_NormalizeName(benchmark::State& state) {
  const std::string name = "CIM_ComputerSystemPackage";
  for (auto _ : state) benchmark::DoNotOptimize(TInmemNamespace::NormalizeName(name));
}
BENCHMARK(BM_NormalizeName);

}  // namespace
