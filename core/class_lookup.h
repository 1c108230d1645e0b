// Looking a class up where its absence is an answer, not an error.

#ifndef INMEM_CORE_CLASS_LOOKUP_H_
#define INMEM_CORE_CLASS_LOOKUP_H_

#include <string>
#include <string_view>

#include <boost/shared_ptr.hpp>

#include "core/ascii.h"
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

// Whether `cls` is named `ancestor` (any letter case) or derives from a
// class of that name: a test by name, for a class that may live in another
// namespace than the one the name was written for.
inline bool IsOrDerivesFrom(ICIMClass& cls, std::string_view ancestor) {
  const TContext none;
  if (EqualsFoldingAscii(cls.GetName(none), ancestor)) return true;
  for (boost::shared_ptr<ICIMClass> at = cls.IsTopLevel(none) ? nullptr : cls.GetSuperClass(none); at;
       at = at->IsTopLevel(none) ? nullptr : at->GetSuperClass(none)) {
    if (EqualsFoldingAscii(at->GetName(none), ancestor)) return true;
  }
  return false;
}

#endif  // INMEM_CORE_CLASS_LOOKUP_H_
