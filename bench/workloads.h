// The repositories the benchmarks run on, built through the element
// interfaces as a host builds them.

#ifndef INMEM_BENCH_WORKLOADS_H_
#define INMEM_BENCH_WORKLOADS_H_

#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "include/cim_class.h"
#include "include/cim_instance.h"
#include "include/cim_namespace.h"

// A fresh namespace from the provider.
boost::shared_ptr<ICIMNamespace> NewNamespace();

// MOF text of a generated schema: `classes` classes in inheritance chains,
// each with a key, qualifiers and a few properties, one in ten an
// association between two earlier classes.
std::string GeneratedSchema(int classes);

// A namespace holding "Item": a key "Id" (string) and four more properties
// (uint32, uint64 with units, string, boolean).
boost::shared_ptr<ICIMNamespace> ItemSchema();
// An Item with key "item<i>" and its other properties set, not yet entered.
boost::shared_ptr<ICIMInstance> NewItem(ICIMNamespace& ns, size_t i);

// Systems with components, the shape of a machine inventory: `total`
// association instances, `degree` components per system, so total/degree
// systems, `total` components and one association instance per component.
// The instances are entered class by class (systems, then components, then
// associations), as a loader reading an exported repository enters them, so
// an association does not lie beside the instances it links.
struct TSystemsModel {
  boost::shared_ptr<ICIMNamespace> ns;
  std::vector<boost::shared_ptr<ICIMInstance>> systems;
  std::vector<boost::shared_ptr<ICIMInstance>> components;
  std::vector<boost::shared_ptr<ICIMInstance>> associations;
};
// The schema of the model, with no instances yet.
TSystemsModel SystemsSchema();
// Enters the instances of the model into `model`, which SystemsSchema made,
// and returns the seconds that entering the associations took (building
// their references included).
double EnterSystems(TSystemsModel* model, size_t total, size_t degree);
TSystemsModel SystemsWithComponents(size_t total, size_t degree);
// The model of that size, built once and kept until a model of another
// size is asked for (one at a time keeps memory down).
const TSystemsModel& CachedSystems(size_t total, size_t degree);

// Bytes the heap holds now (for memory per instance), the blocks malloc
// maps apart included.
size_t HeapInUse();

#endif  // INMEM_BENCH_WORKLOADS_H_
