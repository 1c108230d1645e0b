// Display text of values with units and value maps.

#include <benchmark/benchmark.h>

#include "bench/workloads.h"
#include "include/cim_class.h"
#include "include/cim_property.h"
#include "mof/mof_loader.h"

namespace {

const TContext kNone;

void BM_DisplayText(benchmark::State& state) {
  boost::shared_ptr<ICIMNamespace> ns = ItemSchema();
  boost::shared_ptr<ICIMInstance> item = NewItem(*ns, 123456);
  boost::shared_ptr<ICIMProperty> size = item->GetProperty("Size", kNone);
  for (auto _ : state) benchmark::DoNotOptimize(size->GetDisplayValue());
}
BENCHMARK(BM_DisplayText);

void BM_ValueMapText(benchmark::State& state) {
  boost::shared_ptr<ICIMNamespace> ns = NewNamespace();
  TMofLoader loader(ns);
  loader.LoadText("generated.mof", GeneratedSchema(10));
  boost::shared_ptr<ICIMInstance> instance = ns->GetClass("Gen_0", kNone)->AllocateInstance(kNone);
  instance->SetPropertyValue("State0", TCIMValue(static_cast<unsigned short>(2)), kNone);
  boost::shared_ptr<ICIMProperty> property = instance->GetProperty("State0", kNone);
  for (auto _ : state) benchmark::DoNotOptimize(property->GetDisplayValue());
}
BENCHMARK(BM_ValueMapText);

}  // namespace
