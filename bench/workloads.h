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
TCIMReference ItemPath(ICIMNamespace& ns, size_t i);

// Systems with components: `total` association instances, `degree` per
// system, so total/degree systems and `total` components.
struct TSystemsModel {
  boost::shared_ptr<ICIMNamespace> ns;
  std::vector<boost::shared_ptr<ICIMInstance>> systems;
  std::vector<boost::shared_ptr<ICIMInstance>> components;
};
TSystemsModel SystemsWithComponents(size_t total, size_t degree);

// Bytes the heap holds now (for memory per instance).
size_t HeapInUse();

#endif  // INMEM_BENCH_WORKLOADS_H_
