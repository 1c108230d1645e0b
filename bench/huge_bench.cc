// The systems model at one size, up to tens of millions of instances:
// entering, memory, lookups, walks and the MOF snapshot, measured in one
// process so that its memory figures are its own. bench/huge_bench.py runs
// it once per size and adds the server's figures.
//
//   inmem_huge_bench INSTANCES DIR
//
// INSTANCES counts every instance: for N associations (one per component,
// ten components per system) the model holds N/10 systems, N components
// and N associations, 2.1N in all. DIR receives the snapshot (huge.mof),
// kept when it fits what a snapshot may hold (kMaxSnapshotBytes). It is
// parsed and loaded again here only when it also fits the limit of MOF a
// user loads: a larger one would need the model's memory twice in this
// process, and the script loads it in inmem serve instead.
//
// Prints one "name value" line per figure, for the script to read.

#include <malloc.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "bench/workloads.h"
#include "core/cim_reference.h"
#include "mof/mof_loader.h"
#include "mof/mof_parser.h"
#include "mof/mof_source.h"
#include "mof/mof_writer.h"
#include "server/snapshot.h"

namespace {

const TContext kNone;
const size_t kDegree = 10;

double Seconds(std::chrono::steady_clock::time_point since) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - since).count();
}

size_t RssBytes() {
  std::ifstream statm("/proc/self/statm");
  size_t pages = 0, resident = 0;
  statm >> pages >> resident;
  return resident * static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

void Print(const char* name, double value) { std::printf("%s %.6g\n", name, value); }

TCIMReference PathOf(const boost::shared_ptr<ICIMClass>& cls, const char* key,
                     const std::string& value) {
  return TCIMReference(cls, std::string(), {{key, TCIMValue(value)}});
}

std::string SystemName(size_t s) { return "sys" + std::to_string(s); }
std::string PartId(size_t c) { return "part" + std::to_string(c); }

// Enters the model without keeping handles on its instances (a loader keeps
// none): systems, then components, then associations, whose references are
// made from the keys, as a loader makes them from path text. Prints the
// heap each kind took per instance.
void Enter(ICIMNamespace& ns, size_t associations) {
  const double systems = static_cast<double>(associations / kDegree);
  size_t heap = HeapInUse();
  auto perInstance = [&heap](const char* name, double count) {
    const size_t now = HeapInUse();
    Print(name, static_cast<double>(now - heap) / count);
    heap = now;
  };
  auto sys = ns.GetClass("Sys", kNone);
  auto part = ns.GetClass("Part", kNone);
  auto link = ns.GetClass("SysPart", kNone);
  for (size_t s = 0; s < associations / kDegree; ++s) {
    auto system = sys->AllocateInstance(kNone);
    system->SetPropertyValue("Name", TCIMValue(SystemName(s)), kNone);
    system->AddToNamespace(kNone);
  }
  perInstance("heap_per_system", systems);
  for (size_t c = 0; c < associations; ++c) {
    auto component = part->AllocateInstance(kNone);
    component->SetPropertyValue("Id", TCIMValue(PartId(c)), kNone);
    component->SetPropertyValue("Size", TCIMValue(static_cast<unsigned long long>(c) << 20), kNone);
    component->AddToNamespace(kNone);
  }
  perInstance("heap_per_component", static_cast<double>(associations));
  for (size_t c = 0; c < associations; ++c) {
    auto association = link->AllocateInstance(kNone);
    association->SetPropertyValue("Group", TCIMValue(PathOf(sys, "Name", SystemName(c / kDegree))),
                                  kNone);
    association->SetPropertyValue("Member", TCIMValue(PathOf(part, "Id", PartId(c))), kNone);
    association->AddToNamespace(kNone);
  }
  perInstance("heap_per_association", static_cast<double>(associations));
}

// Random GetInstance over every instance, from 65,536 paths made beforehand.
void MeasureGetInstance(ICIMNamespace& ns, size_t associations) {
  auto sys = ns.GetClass("Sys", kNone);
  auto part = ns.GetClass("Part", kNone);
  auto link = ns.GetClass("SysPart", kNone);
  const size_t systems = associations / kDegree;
  std::mt19937_64 random(42);
  std::vector<TCIMReference> paths;
  for (int i = 0; i < 65536; ++i) {
    size_t pick = random() % (systems + 2 * associations);
    if (pick < systems) {
      paths.push_back(PathOf(sys, "Name", SystemName(pick)));
    } else if ((pick -= systems) < associations) {
      paths.push_back(PathOf(part, "Id", PartId(pick)));
    } else {
      pick -= associations;
      paths.push_back(TCIMReference(link, std::string(),
                                    {{"Group", TCIMValue(PathOf(sys, "Name", SystemName(pick / kDegree)))},
                                     {"Member", TCIMValue(PathOf(part, "Id", PartId(pick)))}}));
    }
  }
  const size_t lookups = 2000000;
  size_t found = 0;
  const auto start = std::chrono::steady_clock::now();
  for (size_t i = 0; i < lookups; ++i) found += ns.GetInstance(paths[i & 65535], kNone) ? 1 : 0;
  const double seconds = Seconds(start);
  if (found != lookups) {
    std::fprintf(stderr, "GetInstance found %zu of %zu\n", found, lookups);
    std::exit(1);
  }
  Print("get_instance_ns", seconds * 1e9 / static_cast<double>(lookups));
}

// Associators and references of random systems (ten each).
void MeasureWalks(ICIMNamespace& ns, size_t associations) {
  auto sys = ns.GetClass("Sys", kNone);
  std::mt19937_64 random(7);
  std::vector<boost::shared_ptr<ICIMInstance>> from;
  for (int i = 0; i < 4096; ++i) {
    from.push_back(ns.GetInstance(PathOf(sys, "Name", SystemName(random() % (associations / kDegree))), kNone));
  }
  const size_t walks = 200000;
  size_t seen = 0;
  auto count = [&seen](boost::shared_ptr<ICIMInstance>) { return ++seen > 0; };
  auto start = std::chrono::steady_clock::now();
  for (size_t i = 0; i < walks; ++i) {
    from[i & 4095]->EnumerateAssociatedInstances(count, "", "", "", "", kNone);
  }
  Print("associators_us", Seconds(start) * 1e6 / static_cast<double>(walks));
  start = std::chrono::steady_clock::now();
  for (size_t i = 0; i < walks; ++i) from[i & 4095]->EnumerateAssociationInstances(count, "", "", kNone);
  Print("references_us", Seconds(start) * 1e6 / static_cast<double>(walks));
  if (seen != 2 * walks * kDegree) {
    std::fprintf(stderr, "walks saw %zu instances, not %zu\n", seen, 2 * walks * kDegree);
    std::exit(1);
  }
}

// Writes the snapshot, keeps it when it fits what a snapshot may hold, and
// reads it when it fits the limit of MOF a user loads (the parser alone,
// then a whole load into a fresh namespace).
void MeasureSnapshot(ICIMNamespace& ns, size_t instances, const std::string& dir) {
  const std::string path = dir + "/huge.mof";
  auto start = std::chrono::steady_clock::now();
  size_t bytes = 0;
  {
    std::ofstream mof(path, std::ios::binary);
    TMofWriter(mof).WriteNamespace(ns);
    bytes = static_cast<size_t>(mof.tellp());
  }
  Print("mof_write_s", Seconds(start));
  Print("mof_bytes", static_cast<double>(bytes));
  if (bytes > kMaxSnapshotBytes) {
    Print("mof_over_limit", 1);
    std::remove(path.c_str());
    return;
  }
  if (bytes > kMaxMofFileBytes) return;
  std::string text;
  {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream all;
    all << in.rdbuf();
    text = all.str();
  }

  start = std::chrono::steady_clock::now();
  TMofParser parser(std::make_shared<TMofSource>(path, text));
  TMofProduction production;
  size_t productions = 0;
  while (parser.Next(&production)) ++productions;
  Print("mof_parse_s", Seconds(start));

  const size_t heapBefore = HeapInUse();
  const size_t rssBefore = RssBytes();
  boost::shared_ptr<ICIMNamespace> loaded = NewNamespace();
  start = std::chrono::steady_clock::now();
  TMofLoader loader(loaded);
  const bool ok = loader.LoadFile(path);
  const double seconds = Seconds(start);
  if (!ok || static_cast<size_t>(loader.Counts().instances) != instances) {
    std::fprintf(stderr, "the snapshot loaded %d of %zu instances\n", loader.Counts().instances, instances);
    std::exit(1);
  }
  Print("mof_load_s", seconds);
  Print("mof_load_heap_per_instance", static_cast<double>(HeapInUse() - heapBefore) / instances);
  Print("mof_load_rss_per_instance", static_cast<double>(RssBytes() - rssBefore) / instances);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: %s INSTANCES DIR\n", argv[0]);
    return 2;
  }
  const size_t associations = std::strtoull(argv[1], nullptr, 10) * 10 / 21 / kDegree * kDegree;
  if (associations < kDegree) {
    std::fprintf(stderr, "INSTANCES must be at least 21\n");
    return 2;
  }
  const size_t instances = associations / kDegree + 2 * associations;
  Print("instances", static_cast<double>(instances));

  TSystemsModel model = SystemsSchema();
  const size_t heapBefore = HeapInUse();
  const size_t rssBefore = RssBytes();
  const auto start = std::chrono::steady_clock::now();
  Enter(*model.ns, associations);
  const double seconds = Seconds(start);
  Print("enter_per_s", instances / seconds);
  Print("heap_per_instance", static_cast<double>(HeapInUse() - heapBefore) / instances);
  Print("rss_per_instance", static_cast<double>(RssBytes() - rssBefore) / instances);

  MeasureGetInstance(*model.ns, associations);
  MeasureWalks(*model.ns, associations);
  MeasureSnapshot(*model.ns, instances, argv[2]);
  std::fflush(stdout);
  // The process ends here without tearing the model down: freeing tens of
  // millions of instances one by one takes longer than the run.
  _exit(0);
}
