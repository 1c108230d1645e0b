// The repository browser's pages: the first page of a class with 10^5
// instances, and the class tree of a whole schema, each from the request to
// the last byte of the page.

#include <cstdlib>

#include <benchmark/benchmark.h>

#include "bench/workloads.h"
#include "browser/repository_pages.h"
#include "mof/mof_loader.h"
#include "server/namespace_registry.h"

namespace {

size_t PageBytes(TRepositoryPages& pages, const std::string& target) {
  THttpAnswer answer =
      pages.Answer(THttpRequest{boost::beast::http::verb::get, target, 11});
  std::string body;
  while (answer.body->Next(&body, 64u << 10)) {
  }
  return body.size();
}

// "Item" with 10^5 instances: its instances page, the first of them.
void BM_InstancesPage(benchmark::State& state) {
  boost::shared_ptr<ICIMNamespace> ns = ItemSchema();
  for (size_t i = 0; i < static_cast<size_t>(state.range(0)); ++i) NewItem(*ns, i)->AddToNamespace(TContext());
  TNamespaceRegistry namespaces(NewNamespace);
  namespaces.Add("root/cimv2", ns);
  TRepositoryPages pages(namespaces, "root/cimv2");
  size_t bytes = 0;
  for (auto _ : state) bytes = PageBytes(pages, "/class/Item/instances");
  state.counters["page_bytes"] = static_cast<double>(bytes);
}
BENCHMARK(BM_InstancesPage)->Arg(100000)->Unit(benchmark::kMillisecond);

// The class tree of the DMTF schema when INMEM_CIM_SCHEMA names it,
// otherwise of 1,500 generated classes.
void BM_ClassTreePage(benchmark::State& state) {
  boost::shared_ptr<ICIMNamespace> ns = NewNamespace();
  TMofLoader loader(ns);
  const char* file = std::getenv("INMEM_CIM_SCHEMA");
  const bool loaded = file != nullptr && *file != '\0' ? loader.LoadFile(file)
                                                      : loader.LoadText("generated.mof", GeneratedSchema(1500));
  if (!loaded) state.SkipWithError("the schema did not load");
  TNamespaceRegistry namespaces(NewNamespace);
  namespaces.Add("root/cimv2", ns);
  TRepositoryPages pages(namespaces, "root/cimv2");
  size_t bytes = 0;
  for (auto _ : state) bytes = PageBytes(pages, "/classes");
  state.counters["classes"] = static_cast<double>(loader.Counts().classes);
  state.counters["page_bytes"] = static_cast<double>(bytes);
}
BENCHMARK(BM_ClassTreePage)->Unit(benchmark::kMillisecond);

}  // namespace
