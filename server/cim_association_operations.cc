// TCimOperations: Associators, AssociatorNames, References and
// ReferenceNames, on an instance and on a class.
//
// On an instance, the association instances come from the repository's
// references walk (indexed by the instances they point at); the far ends are
// every other reference of each, as DSP0200 defines an associator, each
// result once. On a class, the association classes are those the repository
// records on the class and its ancestors.

#include <set>

#include "core/ascii.h"
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

// A class named by a filter parameter (AssocClass, ResultClass), which must
// exist; empty when the parameter is left out.
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

std::vector<boost::shared_ptr<ICIMInstance>> TCimOperations::ReferencesOf(ICIMInstance& source, TCall& call,
                                                                          const char* resultClassParameter) {
  boost::shared_ptr<ICIMClass> filter =
      FilterClass(*ns_, call.reader, call.Parameter(resultClassParameter), resultClassParameter);
  const std::string role = call.reader.String(call.Parameter("Role")).value_or("");
  std::vector<boost::shared_ptr<ICIMInstance>> out;
  std::set<const ICIMInstance*> seen;
  source.EnumerateAssociationInstances([&](boost::shared_ptr<ICIMInstance> a) {
    AddOnce(out, seen, std::move(a));
    return true;
  }, filter ? filter->GetName(kNone) : std::string(), role, kNone);
  return out;
}

std::vector<boost::shared_ptr<ICIMInstance>> TCimOperations::AssociatorsOf(ICIMInstance& source, TCall& call) {
  boost::shared_ptr<ICIMClass> resultClass =
      FilterClass(*ns_, call.reader, call.Parameter("ResultClass"), "ResultClass");
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
          boost::shared_ptr<ICIMInstance> far;
          try {
            far = ns_->GetInstance(value.GetReference(), kNone);
          } catch (const TTYLException& e) {
            if (e.GetStatusCode() != kStatusNotFound) throw;
          }
          if (!far || (role.empty() && far.get() == &source)) return true;
          if (resultClass && !far->GetClass(kNone)->IsSubclassOf(resultClass, kNone)) return true;
          AddOnce(out, seen, std::move(far));
          return true;
        },
        kNone);
  }
  return out;
}

std::vector<boost::shared_ptr<ICIMClass>> TCimOperations::ReferenceClassesOf(ICIMClass& source, TCall& call,
                                                                             const char* resultClassParameter) {
  boost::shared_ptr<ICIMClass> filter =
      FilterClass(*ns_, call.reader, call.Parameter(resultClassParameter), resultClassParameter);
  const std::string role = call.reader.String(call.Parameter("Role")).value_or("");
  std::vector<boost::shared_ptr<ICIMClass>> out;
  std::set<const ICIMClass*> seen;
  source.EnumerateAssociationClasses([&](boost::shared_ptr<ICIMClass> a) {
    AddOnce(out, seen, std::move(a));
    return true;
  }, filter ? filter->GetName(kNone) : std::string(), role, kNone);
  return out;
}

std::vector<boost::shared_ptr<ICIMClass>> TCimOperations::AssociatorClassesOf(ICIMClass& source, TCall& call) {
  boost::shared_ptr<ICIMClass> resultClass =
      FilterClass(*ns_, call.reader, call.Parameter("ResultClass"), "ResultClass");
  const std::string role = call.reader.String(call.Parameter("Role")).value_or("");
  const std::string resultRole = call.reader.String(call.Parameter("ResultRole")).value_or("");
  std::vector<boost::shared_ptr<ICIMClass>> out;
  std::set<const ICIMClass*> seen;
  for (const auto& association : ReferenceClassesOf(source, call, "AssocClass")) {
    bool ownEndSeen = false;
    association->EnumeratePropertyDecls(
        [&](boost::shared_ptr<ICIMPropertyDecl> decl) {
          const TCIMValue& prototype = decl->GetDefaultValue(kNone);
          if (!prototype.IsReference()) return true;
          boost::shared_ptr<ICIMClass> target = prototype.GetReferencedClass();
          if (!target) return true;
          const std::string& name = decl->GetName(kNone);
          // The source's own end: the Role property, or else the first
          // reference to the source class or an ancestor of it.
          const bool ownEnd = role.empty() ? !ownEndSeen && source.IsSubclassOf(target, kNone)
                                           : EqualsFoldingAscii(name, role);
          if (ownEnd) {
            ownEndSeen = true;
            return true;
          }
          if (!resultRole.empty() && !EqualsFoldingAscii(name, resultRole)) return true;
          if (resultClass && !target->IsSubclassOf(resultClass, kNone)) return true;
          AddOnce(out, seen, std::move(target));
          return true;
        },
        kNone);
  }
  return out;
}

std::unique_ptr<TResponseBody> TCimOperations::Walk(TCall& call, bool associators, bool namesOnly) {
  const TXmlElement* object = call.Parameter("ObjectName");
  if (object != nullptr && !object->children.empty() && object->children.front()->name == "CLASSNAME") {
    const std::string name = call.reader.ClassName(object);
    call.record->target = name;
    boost::shared_ptr<ICIMClass> source = FindClass(name, kCimInvalidParameter);
    std::vector<boost::shared_ptr<ICIMClass>> classes =
        associators ? AssociatorClassesOf(*source, call) : ReferenceClassesOf(*source, call, "ResultClass");
    auto options = ReadObjectOptions(call.reader, call.request, false, false);
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
  return std::make_unique<TCimMethodResponse>(
      call.head, EachOf(std::move(instances), [options, namesOnly](TCimXmlWriter& w,
                                                                   const boost::shared_ptr<ICIMInstance>& i) {
        w.Open(namesOnly ? "OBJECTPATH" : "VALUE.OBJECTWITHPATH");
        w.InstancePath(i->GetReference(kNone));
        if (!namesOnly) w.Instance(*i, options->options);
        w.Close();
      }));
}

std::unique_ptr<TResponseBody> TCimOperations::Associators(TCall& call) { return Walk(call, true, false); }
std::unique_ptr<TResponseBody> TCimOperations::AssociatorNames(TCall& call) { return Walk(call, true, true); }
std::unique_ptr<TResponseBody> TCimOperations::References(TCall& call) { return Walk(call, false, false); }
std::unique_ptr<TResponseBody> TCimOperations::ReferenceNames(TCall& call) { return Walk(call, false, true); }
