// Reading the properties of the subscription classes' instances, where a
// missing or null value has a meaning of its own (a default, or "none").
// Plain functions over instances the caller holds; the server's thread.

#ifndef INMEM_INDICATION_SUBSCRIPTION_VALUES_H_
#define INMEM_INDICATION_SUBSCRIPTION_VALUES_H_

#include <cstdint>
#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "core/class_lookup.h"
#include "include/cim_instance.h"
#include "include/cim_namespace.h"

// The string property `name`; empty when null or not there.
std::string StringValue(ICIMInstance& instance, const std::string& name);
// The unsigned property `name`; `fallback` when null or not there.
uint16_t Uint16Value(ICIMInstance& instance, const std::string& name, uint16_t fallback);
// The instance the reference property `name` points at in `ns`; nullptr
// when null, not there, or naming nothing.
boost::shared_ptr<ICIMInstance> Referenced(ICIMInstance& instance, const std::string& name, ICIMNamespace& ns);
// The namespaces a filter listens to: SourceNamespaces, else the older
// SourceNamespace, else the filter's own namespace `own`.
std::vector<std::string> SourceNamespacesOf(ICIMInstance& filter, const std::string& own);

#endif  // INMEM_INDICATION_SUBSCRIPTION_VALUES_H_
