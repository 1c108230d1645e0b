// TCimOperations: Associators, AssociatorNames, References and
// ReferenceNames, on an instance and on a class.
//
// On an instance, the association instances come from the repository's
// references walk (indexed by the instances they point at); the far ends are
// every other reference of each, as DSP0200 defines an associator, each
// result once. On a class, the association classes are those the repository
// records on the class and its ancestors, and the far ends are the other
// ends from every end the class can stand at.

#include <algorithm>
#include <set>

#include "core/ascii.h"
#include "core/namespace_directory.h"
#include "core/printable_text.h"
#include "core/tyl_exception.h"
#include "include/cim_class.h"
#include "include/cim_instance.h"
#include "include/cim_property.h"
#include "include/cim_property_decl.h"
#include "server/cim_operations_internal.h"

namespace {

const TContext kNone;

// Adds `element` to `out` unless it is there already.
template <typename T>
void AddOnce(std::vector<boost::shared_ptr<T>>& out, std::set<const T*>& seen,
             boost::shared_ptr<T> element) {
  if (element && seen.insert(element.get()).second) out.push_back(std::move(element));
}

}  // namespace

// A class named by a filter parameter (AssocClass, ResultClass) of a walk
// from an instance: a class of the call's namespace, or of another one
// (associations may cross namespaces); empty when the parameter is left
// out. A name no namespace knows is refused.
struct TInstanceFilter {
  std::string name;
  boost::shared_ptr<ICIMClass> home;  // the class in the call's namespace, if it has one
};

static TInstanceFilter InstanceFilter(const TNamespaceRegistry& namespaces, ICIMNamespace& home,
                                      const TCimXmlReader& reader, const TXmlElement* parameter, const char* what) {
  TInstanceFilter filter{reader.ClassName(parameter), nullptr};
  if (filter.name.empty()) return filter;
  bool known = false;
  for (const TNamespaceRegistry::TEntry* entry : namespaces.Entries()) {
    try {
      boost::shared_ptr<ICIMClass> cls = entry->ns->GetClass(filter.name, kNone);
      if (entry->ns.get() == &home) filter.home = cls;
      known = known || cls != nullptr;
    } catch (const TTYLException&) {
    }
  }
  if (!known) throw TCimError(kCimInvalidParameter, "no class named " + Printable(filter.name) + " (" + what + ")");
  return filter;
}

// Whether `instance` is of the class named `className` in its own
// namespace, or of a subclass of it.
static bool IsOfClass(ICIMInstance& instance, const std::string& className) {
  boost::shared_ptr<ICIMClass> cls = instance.GetClass(kNone);
  try {
    return cls->IsSubclassOf(cls->GetNamespace(kNone)->GetClass(className, kNone), kNone);
  } catch (const TTYLException&) {
    return false;
  }
}

// A class named by a filter parameter of a walk from a class, which must
// exist in the call's namespace; empty when the parameter is left out.
static boost::shared_ptr<ICIMClass> FilterClass(ICIMNamespace& ns, const TCimXmlReader& reader,
                                                const TXmlElement* parameter, const char* what) {
  const std::string name = reader.ClassName(parameter);
  if (name.empty()) return boost::shared_ptr<ICIMClass>();
  try {
    return ns.GetClass(name, kNone);
  } catch (const TTYLException&) {
    throw TCimError(kCimInvalidParameter, "no class named " + Printable(name) + " (" + what + ")");
  }
}

// Whether an association instance holds a reference into another namespace
// than `ownKey` names.
static bool HasForeignReference(ICIMInstance& association, const std::string& ownKey) {
  bool foreign = false;
  association.EnumerateProperties(
      [&](boost::shared_ptr<ICIMProperty> property) {
        const TCIMValue& value = property->GetValue(kNone);
        if (value.IsReference() && !value.IsNull()) {
          const std::string& name = value.GetReference().GetNameSpaceName();
          foreign = !name.empty() && TNamespaceDirectory::Key(name) != ownKey;
        }
        return !foreign;
      },
      kNone);
  return foreign;
}

void TCimOperations::NamespaceChanged(std::string_view name) {
  std::lock_guard<std::mutex> lock(crossMutex_);
  crossReferrers_.erase(TNamespaceDirectory::Key(name));
}

TCIMReference TCimOperations::PathIn(const ICIMNamespace* home, ICIMInstance& instance) const {
  TCIMReference path = instance.GetReference(kNone);
  boost::shared_ptr<ICIMNamespace> ns = instance.GetClass(kNone)->GetNamespace(kNone);
  if (ns.get() != home) {
    if (const TNamespaceRegistry::TEntry* entry = namespaces_.FindByRepository(ns.get())) {
      path.SetNameSpaceName(entry->name);
    }
  }
  return path;
}

boost::shared_ptr<ICIMInstance> TCimOperations::Resolve(ICIMNamespace& base, const TCIMReference& path) const {
  ICIMNamespace* ns = &base;
  TCIMReference local = path;
  if (!path.GetNameSpaceName().empty()) {
    const TNamespaceRegistry::TEntry* entry = namespaces_.Find(path.GetNameSpaceName());
    if (entry == nullptr) return boost::shared_ptr<ICIMInstance>();
    ns = entry->ns.get();
    local.SetNameSpaceName("");  // filed under its text within its namespace
  }
  try {
    return ns->GetInstance(local, kNone);
  } catch (const TTYLException& e) {
    if (e.GetStatusCode() != kStatusNotFound && e.GetStatusCode() != kStatusInvalidName) throw;
  }
  return boost::shared_ptr<ICIMInstance>();
}

std::vector<boost::shared_ptr<ICIMInstance>> TCimOperations::ForeignReferrers(TCall& call, ICIMInstance& source,
                                                                              const std::string& assocClass,
                                                                              const std::string& role) {
  const std::string home = TNamespaceDirectory::Key(call.namespaceName);
  const std::string sourcePath = source.GetReference(kNone).PathText();
  std::vector<boost::shared_ptr<ICIMInstance>> out;
  for (const TNamespaceRegistry::TEntry* entry : namespaces_.Entries()) {
    const std::string key = TNamespaceDirectory::Key(entry->name);
    if (key == home) continue;
    std::shared_ptr<const std::vector<boost::weak_ptr<ICIMInstance>>> associations;
    {
      // Made by the first walk that needs it; the others wait for it.
      std::lock_guard<std::mutex> lock(crossMutex_);
      TCrossReferrers& cross = crossReferrers_[key];
      if (cross.repository != entry->ns.get() || !cross.associations) {
        auto made = std::make_shared<std::vector<boost::weak_ptr<ICIMInstance>>>();
        entry->ns->GetClass("", kNone)->EnumerateSubclasses(
            [&](boost::shared_ptr<ICIMClass> cls) {
              if (!cls->IsAssociation(kNone)) return true;
              cls->EnumerateInstances(
                  [&](boost::shared_ptr<ICIMInstance> a) {
                    if (HasForeignReference(*a, key)) made->push_back(a);
                    return true;
                  },
                  false, kNone);
              return true;
            },
            true, kNone);
        cross.repository = entry->ns.get();
        cross.associations = std::move(made);
      }
      associations = cross.associations;
    }
    for (const auto& weak : *associations) {
      boost::shared_ptr<ICIMInstance> a = weak.lock();
      if (!a || !StillThere(a) || (!assocClass.empty() && !IsOfClass(*a, assocClass))) continue;
      bool pointsHere = false;
      a->EnumerateProperties(
          [&](boost::shared_ptr<ICIMProperty> property) {
            const TCIMValue& value = property->GetValue(kNone);
            if (!value.IsReference() || value.IsNull()) return true;
            const TCIMReference& path = value.GetReference();
            if (TNamespaceDirectory::Key(path.GetNameSpaceName()) != home) return true;
            if (!role.empty() && !EqualsFoldingAscii(property->GetDecl(kNone)->GetName(kNone), role)) return true;
            TCIMReference local = path;
            local.SetNameSpaceName("");
            pointsHere = local.PathText() == sourcePath;
            return !pointsHere;
          },
          kNone);
      if (pointsHere) out.push_back(std::move(a));
    }
  }
  return out;
}

std::vector<boost::shared_ptr<ICIMInstance>> TCimOperations::ReferencesOf(ICIMInstance& source, TCall& call,
                                                                          const char* resultClassParameter) {
  const TInstanceFilter filter =
      InstanceFilter(namespaces_, *call.ns, call.reader, call.Parameter(resultClassParameter), resultClassParameter);
  const std::string role = call.reader.String(call.Parameter("Role")).value_or("");
  std::vector<boost::shared_ptr<ICIMInstance>> out;
  std::set<const ICIMInstance*> seen;
  if (filter.name.empty() || filter.home) {
    source.EnumerateAssociationInstances([&](boost::shared_ptr<ICIMInstance> a) {
      AddOnce(out, seen, std::move(a));
      return true;
    }, filter.home ? filter.home->GetName(kNone) : std::string(), role, kNone);
  }
  for (auto& a : ForeignReferrers(call, source, filter.name, role)) AddOnce(out, seen, std::move(a));
  return out;
}

std::vector<boost::shared_ptr<ICIMInstance>> TCimOperations::AssociatorsOf(ICIMInstance& source, TCall& call) {
  const TInstanceFilter resultClass =
      InstanceFilter(namespaces_, *call.ns, call.reader, call.Parameter("ResultClass"), "ResultClass");
  const std::string role = call.reader.String(call.Parameter("Role")).value_or("");
  const std::string resultRole = call.reader.String(call.Parameter("ResultRole")).value_or("");
  std::vector<boost::shared_ptr<ICIMInstance>> out;
  std::set<const ICIMInstance*> seen;
  for (const auto& association : ReferencesOf(source, call, "AssocClass")) {
    association->EnumerateProperties(
        [&](boost::shared_ptr<ICIMProperty> property) {
          const TCIMValue& value = property->GetValue(kNone);
          if (!value.IsReference() || value.IsNull()) return true;
          const std::string& name = property->GetDecl(kNone)->GetName(kNone);
          if (!role.empty() && EqualsFoldingAscii(name, role)) return true;  // the source's own end
          if (!resultRole.empty() && !EqualsFoldingAscii(name, resultRole)) return true;
          boost::shared_ptr<ICIMInstance> far =
              Resolve(*association->GetClass(kNone)->GetNamespace(kNone), value.GetReference());
          if (!far || (role.empty() && far.get() == &source)) return true;
          if (!resultClass.name.empty() && !IsOfClass(*far, resultClass.name)) return true;
          AddOnce(out, seen, std::move(far));
          return true;
        },
        kNone);
  }
  return out;
}

// The ends of an association class: each reference declaration with the
// class it refers to.
struct TAssociationEnd {
  std::string name;
  boost::shared_ptr<ICIMClass> target;
};

static std::vector<TAssociationEnd> EndsOf(ICIMClass& association) {
  std::vector<TAssociationEnd> ends;
  association.EnumeratePropertyDecls(
      [&](boost::shared_ptr<ICIMPropertyDecl> decl) {
        const TCIMValue& prototype = decl->GetDefaultValue(kNone);
        if (!prototype.IsReference() || !prototype.GetReferencedClass()) return true;
        ends.push_back(TAssociationEnd{decl->GetName(kNone), prototype.GetReferencedClass()});
        return true;
      },
      kNone);
  return ends;
}

// Whether `source` can stand at `end`: the end refers to it or to an
// ancestor, and is the `role` named (any when empty).
static bool CanPlay(ICIMClass& source, const TAssociationEnd& end, const std::string& role) {
  return (role.empty() || EqualsFoldingAscii(end.name, role)) && source.IsSubclassOf(end.target, kNone);
}

std::vector<boost::shared_ptr<ICIMClass>> TCimOperations::ReferenceClassesOf(ICIMClass& source, TCall& call,
                                                                             const char* resultClassParameter) {
  boost::shared_ptr<ICIMClass> filter =
      FilterClass(*call.ns, call.reader, call.Parameter(resultClassParameter), resultClassParameter);
  const std::string role = call.reader.String(call.Parameter("Role")).value_or("");
  std::vector<boost::shared_ptr<ICIMClass>> out;
  std::set<const ICIMClass*> seen;
  // The repository finds the associations of the class and its ancestors;
  // the role is checked here against every end the source can stand at (a
  // class may stand at several: a capabilities class is a managed element
  // too), where the repository looks only at the ancestor the association
  // was filed under.
  source.EnumerateAssociationClasses([&](boost::shared_ptr<ICIMClass> a) {
    const std::vector<TAssociationEnd> ends = EndsOf(*a);
    if (std::any_of(ends.begin(), ends.end(), [&](const TAssociationEnd& end) { return CanPlay(source, end, role); })) {
      AddOnce(out, seen, std::move(a));
    }
    return true;
  }, filter ? filter->GetName(kNone) : std::string(), std::string(), kNone);
  return out;
}

std::vector<boost::shared_ptr<ICIMClass>> TCimOperations::AssociatorClassesOf(ICIMClass& source, TCall& call) {
  boost::shared_ptr<ICIMClass> resultClass =
      FilterClass(*call.ns, call.reader, call.Parameter("ResultClass"), "ResultClass");
  const std::string role = call.reader.String(call.Parameter("Role")).value_or("");
  const std::string resultRole = call.reader.String(call.Parameter("ResultRole")).value_or("");
  std::vector<boost::shared_ptr<ICIMClass>> out;
  std::set<const ICIMClass*> seen;
  for (const auto& association : ReferenceClassesOf(source, call, "AssocClass")) {
    const std::vector<TAssociationEnd> ends = EndsOf(*association);
    // Every end the source can stand at, and from each every other end.
    for (const TAssociationEnd& own : ends) {
      if (!CanPlay(source, own, role)) continue;
      for (const TAssociationEnd& far : ends) {
        if (&far == &own || (!resultRole.empty() && !EqualsFoldingAscii(far.name, resultRole))) continue;
        if (resultClass && !far.target->IsSubclassOf(resultClass, kNone)) continue;
        AddOnce(out, seen, far.target);
      }
    }
  }
  return out;
}

std::unique_ptr<TResponseBody> TCimOperations::Walk(TCall& call, bool associators, bool namesOnly) {
  const TXmlElement* object = call.Parameter("ObjectName");
  if (object != nullptr && !object->children.empty() && object->children.front()->name == "CLASSNAME") {
    const std::string name = call.reader.ClassName(object);
    call.record->target = name;
    boost::shared_ptr<ICIMClass> source = FindClass(call, name, kCimInvalidParameter);
    std::vector<boost::shared_ptr<ICIMClass>> classes =
        associators ? AssociatorClassesOf(*source, call) : ReferenceClassesOf(*source, call, "ResultClass");
    auto options = call.ClassOptions(false, false);
    return std::make_unique<TCimMethodResponse>(
        call.head, EachOf(std::move(classes), [options, namesOnly](TCimXmlWriter& w,
                                                                   const boost::shared_ptr<ICIMClass>& c) {
          w.Open(namesOnly ? "OBJECTPATH" : "VALUE.OBJECTWITHPATH");
          w.ClassPath(c->GetName(kNone));
          if (!namesOnly) w.Class(*c, options->options);
          w.Close();
        }));
  }
  boost::shared_ptr<ICIMInstance> source = NamedInstance(call, "ObjectName");
  std::vector<boost::shared_ptr<ICIMInstance>> instances =
      associators ? AssociatorsOf(*source, call) : ReferencesOf(*source, call, "ResultClass");
  auto options = ReadObjectOptions(call.reader, call.request, false, false);
  const ICIMNamespace* home = call.ns.get();
  return std::make_unique<TCimMethodResponse>(
      call.head, EachOf(std::move(instances), [this, home, options, namesOnly](TCimXmlWriter& w,
                                                                               const boost::shared_ptr<ICIMInstance>& i) {
        w.Open(namesOnly ? "OBJECTPATH" : "VALUE.OBJECTWITHPATH");
        w.InstancePath(PathIn(home, *i));
        if (!namesOnly) w.Instance(*i, options->options);
        w.Close();
      }));
}

std::unique_ptr<TResponseBody> TCimOperations::Associators(TCall& call) { return Walk(call, true, false); }
std::unique_ptr<TResponseBody> TCimOperations::AssociatorNames(TCall& call) { return Walk(call, true, true); }
std::unique_ptr<TResponseBody> TCimOperations::References(TCall& call) { return Walk(call, false, false); }
std::unique_ptr<TResponseBody> TCimOperations::ReferenceNames(TCall& call) { return Walk(call, false, true); }
