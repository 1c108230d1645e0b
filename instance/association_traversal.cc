// TInmemInstance: references and associators.
//
// The class side names the association classes that can point at this
// instance's class (or an ancestor); their instances are examined for a
// reference that resolves to this very instance (only those that may hold
// one, as the class's referrer index tells). Walks go on whatever the
// user callback returns, report duplicates as they come, and skip references
// that point nowhere (status 15); any other failure ends the walk.

#include <typeinfo>

#include "core/tyl_exception.h"
#include "include/cim_class.h"
#include "include/cim_namespace.h"
#include "include/cim_property.h"
#include "include/inmem_instance.h"
#include "include/inmem_namespace.h"
#include "instance/association_callbacks.h"
#include "property/inmem_property.h"
#include "schema/inmem_class.h"
#include "schema/property_layout.h"

namespace {

// The element a reference value resolves to; status 15 when it resolves to
// nothing (a null reference included).
boost::shared_ptr<ICIMElement> Resolve(const TCIMValue& reference) {
  if (reference.IsNull()) throw TTYLException(kStatusNotFound);
  return reference.GetReference().GetCIMElement(false);
}

// Runs `examine`; a status-15 failure is no match, any other is thrown on.
template <typename F>
void UnlessNotFound(F examine) {
  try {
    examine();
  } catch (const TTYLException& e) {
    if (e.GetStatusCode() != kStatusNotFound) throw TTYLException(e.GetStatus());
  }
}

}  // namespace

void TInmemInstance::PrefetchForWalk(const TInmemInstance* const* instances, size_t count) {
  for (size_t i = 0; i < count; ++i) __builtin_prefetch(instances[i]);
  for (size_t i = 0; i < count; ++i) __builtin_prefetch(instances[i]->properties.data());
  for (size_t i = 0; i < count; ++i) {
    for (const TInmemProperty& property : instances[i]->properties) property.PrefetchValue();
  }
  for (size_t i = 0; i < count; ++i) {
    for (const TInmemProperty& property : instances[i]->properties) property.PrefetchValueText();
  }
}

bool TInmemInstance::IsThis(const boost::shared_ptr<ICIMElement>& element) const {
  return element.get() == static_cast<const ICIMElement*>(this);
}

bool TInmemInstance::ResolvesToThis(const TCIMValue& reference) const {
  if (reference.IsNull()) return false;
  const TCIMReference& path = reference.GetReference();
  boost::shared_ptr<ICIMNamespace> ns = path.ResolvingNamespace();
  if (path.GetClassName().empty() || !ns) return false;
  const ICIMNamespace& resolver = *ns;  // dereferenced apart: typeid's operand has no side effects
  if (typeid(resolver) != typeid(TInmemNamespace)) {
    bool resolved = false;
    UnlessNotFound([&] { resolved = IsThis(path.GetCIMElement(false)); });
    return resolved;
  }
  // The repository's namespace looks the class up by name, then the
  // instance filed there under the path's text; that is this instance
  // exactly when this instance is filed in that class under that text.
  boost::shared_ptr<ICIMClass> filer = ns->GetClass(path.GetClassName(), TContext());
  bool filedThere = false;
  ForEachFiling([&](const TFiling& filing) {
    filedThere = filedThere || (static_cast<ICIMClass*>(filing.cls) == filer.get() &&
                                *filing.key == path.PathText());
  });
  return filedThere;
}

void TInmemInstance::EnumerateAssociationInstances(const TInstanceCallback& callback,
                                                   const std::string& resultClass,
                                                   const std::string& role, TContext) {
  TReferencesCallback examineClass(shared_from_this(), callback, role);
  cls->EnumerateAssociationClasses(examineClass, resultClass, role, TContext());
}

bool TInmemInstance::ExamineCandidateClass(const TInstanceCallback& callback,
                                           const std::string& role,
                                           boost::shared_ptr<ICIMClass> assocClass) {
  TInstanceCallback examine;
  if (!role.empty()) {
    examine = TExamineInstanceWithRoleCallback(shared_from_this(), callback, role);
  } else {
    examine = TExamineInstanceCallback(shared_from_this(), callback);
  }
  // Only instances that point at this one can be reported, so a repository
  // class passes just those, from its referrer index. Every instance is
  // examined when examining one that does not point here can still be seen:
  // asking such an instance for a role it lacks may add a declaration to
  // its class.
  auto* repositoryClass = dynamic_cast<TInmemClass*>(assocClass.get());
  if (repositoryClass != nullptr && (role.empty() || !HasFallback(role))) {
    repositoryClass->EnumerateReferrers(*this, examine);
  } else {
    assocClass->EnumerateInstances(examine, false, TContext());
  }
  return true;  // the class enumeration always goes on
}

bool TInmemInstance::ExamineCandidateClassInstance(const TInstanceCallback& callback,
                                                   boost::shared_ptr<ICIMInstance> candidate) {
  TInmemInstance& association = static_cast<TInmemInstance&>(*candidate);
  for (const TInmemProperty& property : association.properties) {
    const TCIMValue& value = property.GetValue(TContext());
    if (!value.IsReference()) continue;
    bool reported = false;
    UnlessNotFound([&] {
      if (ResolvesToThis(value)) {
        callback(candidate);
        reported = true;
      }
    });
    if (reported) break;
  }
  return true;
}

bool TInmemInstance::ExamineCandidateClassInstanceWithRole(
    const TInstanceCallback& callback, const std::string& role,
    boost::shared_ptr<ICIMInstance> candidate) {
  UnlessNotFound([&] {
    const TCIMValue& value = candidate->GetProperty(role, TContext())->GetValue(TContext());
    if (value.IsReference() && ResolvesToThis(value)) callback(candidate);
  });
  return true;
}

void TInmemInstance::EnumerateAssociatedInstances(const TInstanceCallback& callback,
                                                  const std::string& assocClass,
                                                  const std::string& resultClass,
                                                  const std::string& role,
                                                  const std::string& resultRole, TContext) {
  boost::shared_ptr<ICIMClass> result;
  try {
    result = cls->GetNamespace(TContext())->GetClass(resultClass, TContext());
  } catch (const TTYLException& e) {
    if (e.GetStatusCode() == kStatusNotFound) return;  // an unknown result class yields nothing
    throw TTYLException(e.GetStatus());
  }
  // With a result role the role is not used at all.
  if (!resultRole.empty()) {
    EnumerateAssociationInstances(
        TAssociatorsExamineWithResultRoleCallback(this, callback, resultRole, result), assocClass,
        "", TContext());
  } else {
    EnumerateAssociationInstances(TAssociatorsExamineCallback(this, callback, role, result),
                                  assocClass, "", TContext());
  }
}

bool TInmemInstance::ExamineCandidateWithResultRole(
    const TInstanceCallback& callback, boost::shared_ptr<ICIMClass> resultClass,
    const std::string& resultRole, boost::shared_ptr<TInmemInstance> association) {
  UnlessNotFound([&] {
    const TCIMValue& value = association->GetProperty(resultRole, TContext())->GetValue(TContext());
    if (!value.IsReference()) return;
    boost::shared_ptr<ICIMClass> farClass = value.GetReferencedClass();
    if (farClass && farClass->IsSubclassOf(resultClass, TContext())) {
      callback(boost::dynamic_pointer_cast<ICIMInstance>(Resolve(value)));
    }
  });
  return true;
}

bool TInmemInstance::ExamineCandidate(const TInstanceCallback& callback,
                                      boost::shared_ptr<ICIMClass> resultClass,
                                      const std::string& role,
                                      boost::shared_ptr<TInmemInstance> association) {
  const std::string roleKey = TInmemNamespace::NormalizeName(role);
  bool ownEndFound = false;
  for (size_t slot = 0; slot < association->properties.size(); ++slot) {
    const TCIMValue& value = association->properties[slot].GetValue(TContext());
    if (!value.IsReference()) continue;
    bool done = false, result = true;
    UnlessNotFound([&] {
      boost::shared_ptr<ICIMClass> farClass = value.GetReferencedClass();
      if (!ownEndFound) {
        // Only the first end that is this instance (or the named role) is
        // the own end; a second self-reference is a far end like any other.
        if (!roleKey.empty() ? association->layout->Name(slot) == roleKey
                             : farClass == cls && ResolvesToThis(value)) {
          ownEndFound = true;
          return;
        }
      }
      if (!farClass || !farClass->IsSubclassOf(resultClass, TContext())) return;
      result = callback(boost::dynamic_pointer_cast<ICIMInstance>(Resolve(value)));
      done = true;  // at most one far end per association instance
    });
    if (done) return result;
  }
  return true;
}
