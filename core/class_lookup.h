// Looking a class up where its absence is an answer, not an error.

#ifndef INMEM_CORE_CLASS_LOOKUP_H_
#define INMEM_CORE_CLASS_LOOKUP_H_

#include <string>

#include <boost/shared_ptr.hpp>

#include "core/tyl_exception.h"
#include "include/cim_class.h"
#include "include/cim_namespace.h"

// The class `name` in `ns`, or nullptr when there is none (or the name is
// empty or no valid name).
inline boost::shared_ptr<ICIMClass> FindClassOrNull(ICIMNamespace& ns, const std::string& name) {
  if (name.empty()) return nullptr;
  try {
    return ns.GetClass(name, TContext());
  } catch (const TTYLException&) {
    return nullptr;
  }
}

#endif  // INMEM_CORE_CLASS_LOOKUP_H_
