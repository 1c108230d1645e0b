// Loading a schema from MOF, and class lookups.

#include <cstdlib>
#include <fstream>
#include <sstream>

#include <benchmark/benchmark.h>

#include "bench/workloads.h"
#include "include/inmem_namespace.h"
#include "mof/mof_loader.h"

namespace {

// The DMTF schema when INMEM_CIM_SCHEMA names it, else 1,500 generated classes.
void BM_LoadSchema(benchmark::State& state) {
  const char* schema = std::getenv("INMEM_CIM_SCHEMA");
  bool real = schema != nullptr && *schema != '\0';
  std::string generated = real ? std::string() : GeneratedSchema(1500);
  int classes = 0;
  size_t bytes = 0;
  for (auto _ : state) {
    size_t before = HeapInUse();
    boost::shared_ptr<ICIMNamespace> ns = NewNamespace();
    TMofLoader loader(ns);
    bool ok = real ? loader.LoadFile(schema) : loader.LoadText("generated.mof", generated);
    if (!ok) state.SkipWithError("the schema did not load");
    classes = loader.Counts().classes;
    bytes = HeapInUse() - before;
    state.PauseTiming();
    ns.reset();
    state.ResumeTiming();
  }
  state.SetLabel(real ? "CIM schema" : "generated schema");
  state.counters["classes"] = classes;
  state.counters["heap_MiB"] = static_cast<double>(bytes) / (1024 * 1024);
}
BENCHMARK(BM_LoadSchema)->Unit(benchmark::kMillisecond)->Iterations(5);

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

void BM_NormalizeName(benchmark::State& state) {
  const std::string name = "CIM_ComputerSystemPackage";
  for (auto _ : state) benchmark::DoNotOptimize(TInmemNamespace::NormalizeName(name));
}
BENCHMARK(BM_NormalizeName);

}  // namespace
