// TCimOperations: the write operations, through the repository's own rules.
//
// Instances are made as a host makes them (AllocateInstance,
// SetPropertyValue, a validation, AddToNamespace), classes and qualifier
// declarations are entered by the MOF loader from the productions the
// request reads to. Every value is read and checked against its declaration
// before the first change, so a refused request changes nothing.

#include "core/ascii.h"
#include "core/collected.h"
#include "core/log_capture.h"
#include "core/printable_text.h"
#include "core/tyl_exception.h"
#include "include/cim_class.h"
#include "include/cim_instance.h"
#include "include/cim_property.h"
#include "include/cim_property_decl.h"
#include "include/processor_cache_state.h"
#include "mof/mof_loader.h"
#include "server/cim_operations_internal.h"
#include "server/interop_namespace.h"
#include "server/schema_rebuild.h"

namespace {

const TContext kNone;

typedef std::vector<std::pair<std::string, TCIMValue>> TValues;

std::set<std::string> KeyNames(ICIMClass& cls) {
  std::set<std::string> keys;
  cls.EnumerateKeys(
      [&](const std::string& key) {
        std::string lower = key;
        for (char& c : lower) c = ToLowerAscii(c);
        keys.insert(lower);
        return true;
      },
      kNone);
  return keys;
}

// The repository corrects the processor classes' cache states as their
// instances are enumerated. A write to one is corrected here, while the
// write holds the lock alone, so that enumerations, which run side by
// side, find nothing to change.
void CorrectProcessors(ICIMClass& cls) {
  if (!CorrectsProcessorCaches(cls.GetName(kNone))) return;
  cls.EnumerateInstances([](const boost::shared_ptr<ICIMInstance>&) { return true; }, false, kNone);
}

boost::shared_ptr<ICIMPropertyDecl> DeclOf(ICIMClass& cls, const std::string& name) {
  try {
    return cls.GetPropertyDecl(name, kNone);
  } catch (const TTYLException&) {
    throw TCimError(kCimNoSuchProperty,
                    "class " + cls.GetName(kNone) + " has no property " + Printable(name));
  }
}

// Runs `change`; a refusal of the repository becomes the CIM error of
// `missing`, with the lines the repository logged.
template <typename F>
void Guarded(EMissing missing, F change) {
  TLogCapture capture;
  try {
    change();
  } catch (const TTYLException& e) {
    throw CimErrorOf(e, capture, missing);
  }
}

// A production as a refusal names it: "class X", "an instance of X".
std::string What(const TMofProduction& p) {
  switch (p.kind) {
    case TMofProduction::kClass:
      return "class " + p.cls.name;
    case TMofProduction::kInstance:
      return "an instance of " + p.instance.className;
    case TMofProduction::kQualifierDecl:
      return "qualifier declaration " + p.qualifierDecl.name;
    case TMofProduction::kPragma:
      break;
  }
  return "a pragma";
}

// The first error of a load that failed.
std::string FirstError(const TMofLoader& loader) {
  for (const TMofDiagnostic& d : loader.Diagnostics()) {
    if (d.severity == TMofDiagnostic::kError) return d.message;
  }
  return "refused";
}

// A copy of `instance` as it is now, filed nowhere: what a modification
// indication shows as the instance before.
boost::shared_ptr<ICIMInstance> CopyOf(ICIMInstance& instance) {
  boost::shared_ptr<ICIMInstance> copy = instance.GetClass(kNone)->AllocateInstance(kNone);
  instance.EnumerateProperties(
      [&](boost::shared_ptr<ICIMProperty> property) {
        const TCIMValue& value = property->GetValue(kNone);
        if (!value.IsNull()) copy->SetPropertyValue(property->GetDecl(kNone)->GetName(kNone), value, kNone);
        return true;
      },
      kNone);
  return copy;
}

}  // namespace

void TCimOperations::RequireWritable(const TCall& call) const {
  if (config_.readOnly) {
    throw TCimError(kCimAccessDenied, call.request.method + " is refused: this server is read-only");
  }
}

bool TCimOperations::InInterop(const TCall& call) const {
  return config_.interop != nullptr && config_.interop->IsInterop(call.namespaceName);
}

bool TCimOperations::IsSubscriptionClass(const TCall& call, ICIMClass& cls) const {
  return config_.subscriptions != nullptr && InInterop(call) && config_.subscriptions->Guards(cls);
}

IInstanceChanges* TCimOperations::Watcher(const TCall& call, ICIMClass& cls) const {
  if (config_.changes == nullptr || !config_.changes->Watches(call.namespaceName, cls)) return nullptr;
  return config_.changes;
}

void TCimOperations::RequireClientOwned(const TCall& call, const TCIMReference& path) const {
  if (InInterop(call) && config_.interop->Owns(path)) {
    throw TCimError(kCimAccessDenied, Printable(path.GetPath()) + " is the server's own: it describes the server "
                                                                  "and follows it");
  }
}

std::unique_ptr<TResponseBody> TCimOperations::CreateInstance(TCall& call) {
  RequireWritable(call);
  const TXmlElement& element = call.Content("NewInstance", "INSTANCE");
  std::vector<TCimPropertyElement> properties;
  const std::string className = call.reader.InstanceProperties(element, &properties);
  call.record->target = className;
  boost::shared_ptr<ICIMClass> cls = FindClass(call, className, kCimInvalidClass);
  if (cls->IsAbstract(kNone)) {
    throw TCimError(kCimInvalidParameter, "class " + cls->GetName(kNone) + " is abstract: it has no instances");
  }
  TValues values;
  for (const TCimPropertyElement& p : properties) {
    boost::shared_ptr<ICIMPropertyDecl> decl = DeclOf(*cls, p.name);
    values.emplace_back(decl->GetName(kNone), call.reader.PropertyValue(*p.element, *decl));
  }
  const bool subscription = IsSubscriptionClass(call, *cls);
  if (subscription) config_.subscriptions->PrepareCreate(*cls, &values);
  if (InInterop(call) && config_.interop->IsNamespaceClass(cls->GetName(kNone))) {
    // A new CIM_Namespace is a new namespace.
    const TCIMReference path = config_.interop->CreateNamespace(values);
    call.record->target = path.GetPath();
    ++changes_;
    return std::make_unique<TCimMethodResponse>(call.head,
                                                OneItem([path](TCimXmlWriter& w) { w.InstanceName(path); }));
  }
  boost::shared_ptr<ICIMInstance> instance = cls->AllocateInstance(kNone);
  TCIMReference path;
  Guarded(EMissing::kInstance, [&] {
    for (const auto& v : values) instance->SetPropertyValue(v.first, v.second, kNone);
  });
  {
    // A reference that resolves to nothing is a bad value, not a missing
    // instance of the request's own.
    TLogCapture capture;
    try {
      instance->Validate(kNone);
      path = instance->GetReference(kNone);
    } catch (const TTYLException& e) {
      TCimError error = CimErrorOf(e, capture, EMissing::kInstance);
      throw TCimError(kCimInvalidParameter, error.what());
    }
  }
  call.record->target = path.GetPath();
  boost::shared_ptr<ICIMInstance> existing;
  try {
    existing = call.ns->GetInstance(path, kNone);
  } catch (const TTYLException&) {
  }
  if (existing) throw TCimError(kCimAlreadyExists, "an instance " + Printable(path.GetPath()) + " is already there");
  Guarded(EMissing::kInstance, [&] { instance->AddToNamespace(kNone); });
  if (!StillThere(instance)) throw TCimError(kCimFailed, "the repository did not file the instance");
  if (cls->IsAssociation(kNone)) NamespaceChanged(call.namespaceName);  // it may point into another namespace
  CorrectProcessors(*cls);
  ++changes_;
  if (subscription) config_.subscriptions->Changed();
  if (IInstanceChanges* watcher = Watcher(call, *cls)) watcher->Created(call.namespaceName, instance);
  return std::make_unique<TCimMethodResponse>(call.head,
                                              OneItem([path](TCimXmlWriter& w) { w.InstanceName(path); }));
}

std::unique_ptr<TResponseBody> TCimOperations::ModifyInstance(TCall& call) {
  RequireWritable(call);
  const TXmlElement& named = call.Content("ModifiedInstance", "VALUE.NAMEDINSTANCE");
  if (named.children.size() != 2) {
    throw TCimError(kCimInvalidParameter, "VALUE.NAMEDINSTANCE must hold INSTANCENAME and INSTANCE");
  }
  const TCIMReference path = call.reader.InstanceName(*named.children[0]);
  call.record->target = path.GetPath();
  RequireClientOwned(call, path);
  boost::shared_ptr<ICIMInstance> instance = FindInstance(call, path);
  std::vector<TCimPropertyElement> properties;
  const std::string className = call.reader.InstanceProperties(*named.children[1], &properties);
  boost::shared_ptr<ICIMClass> cls = instance->GetClass(kNone);
  if (!EqualsFoldingAscii(className, cls->GetName(kNone))) {
    throw TCimError(kCimInvalidParameter, "the instance is of class " + Printable(className) +
                                              ", its name of class " + cls->GetName(kNone));
  }
  const std::optional<std::set<std::string>> list = call.reader.PropertyList(call.Parameter("PropertyList"));
  const std::set<std::string> keys = KeyNames(*cls);
  std::set<std::string> given;
  TValues values;
  auto change = [&](const ICIMPropertyDecl& decl, TCIMValue value) {
    const std::string lower = LowerAscii(decl.GetName(kNone));
    if (keys.count(lower) > 0) {
      if (value != instance->GetProperty(decl.GetName(kNone), kNone)->GetValue(kNone)) {
        throw TCimError(kCimInvalidParameter, "key property " + decl.GetName(kNone) + " cannot change");
      }
      return;
    }
    values.emplace_back(decl.GetName(kNone), std::move(value));
  };
  for (const TCimPropertyElement& p : properties) {
    given.insert(LowerAscii(p.name));
    if (list && list->count(LowerAscii(p.name)) == 0) continue;
    boost::shared_ptr<ICIMPropertyDecl> decl = DeclOf(*cls, p.name);
    change(*decl, call.reader.PropertyValue(*p.element, *decl));
  }
  // A property the list names and the instance leaves out goes back to its
  // default.
  if (list) {
    for (const std::string& name : *list) {
      if (given.count(name) > 0) continue;
      boost::shared_ptr<ICIMPropertyDecl> decl = DeclOf(*cls, name);
      change(*decl, decl->GetDefaultValue(kNone));
    }
  }
  ChangeInstance(call, instance, values);
  return std::make_unique<TCimMethodResponse>(call.head, TCimMethodResponse::TItems());
}

void TCimOperations::ProcessorStatesChanged() {
  for (const TNamespaceRegistry::TEntry* entry : namespaces_.Entries()) {
    entry->ns->GetClass("", kNone)->EnumerateSubclasses(
        [](boost::shared_ptr<ICIMClass> cls) {
          CorrectProcessors(*cls);
          return true;
        },
        true, kNone);
  }
}

void TCimOperations::ChangeInstance(TCall& call, const boost::shared_ptr<ICIMInstance>& instance,
                                    const TValues& values) {
  ICIMClass& cls = *instance->GetClass(kNone);
  const bool subscription = IsSubscriptionClass(call, cls);
  if (subscription) config_.subscriptions->PrepareModify(*instance, values);
  IInstanceChanges* watcher = Watcher(call, cls);
  const boost::shared_ptr<ICIMInstance> previous = watcher != nullptr ? CopyOf(*instance) : nullptr;
  Guarded(EMissing::kProperty, [&] {
    for (const auto& v : values) instance->SetPropertyValue(v.first, v.second, kNone);
  });
  CorrectProcessors(cls);
  ++changes_;
  if (subscription) config_.subscriptions->Changed();
  if (watcher != nullptr) watcher->Modified(call.namespaceName, previous, instance);
}

std::unique_ptr<TResponseBody> TCimOperations::DeleteInstance(TCall& call) {
  RequireWritable(call);
  boost::shared_ptr<ICIMInstance> instance = NamedInstance(call, "InstanceName");
  const TCIMReference path = instance->GetReference(kNone);
  if (InInterop(call) && config_.interop->IsNamespaceClass(instance->GetClass(kNone)->GetName(kNone))) {
    config_.interop->DeleteNamespace(path);  // deleting a CIM_Namespace deletes its namespace
    ++changes_;
    return std::make_unique<TCimMethodResponse>(call.head, TCimMethodResponse::TItems());
  }
  RequireClientOwned(call, path);
  const bool subscription = IsSubscriptionClass(call, *instance->GetClass(kNone));
  if (subscription) config_.subscriptions->PrepareDelete(*instance);
  // An association cannot stand without its ends: those that point at the
  // instance go with it, in its namespace and in others, so that what is
  // left still loads as MOF.
  std::vector<boost::shared_ptr<ICIMInstance>> associations = Collected<ICIMInstance>(
      [&](const auto& callback) { instance->EnumerateAssociationInstances(callback, "", "", kNone); });
  for (auto& a : ForeignReferrers(call, *instance, "", "")) associations.push_back(std::move(a));
  std::vector<boost::shared_ptr<ICIMInstance>> deleted;
  Guarded(EMissing::kInstance, [&] {
    for (const auto& a : associations) {
      if (!StillThere(a)) continue;
      a->Delete(kNone);
      deleted.push_back(a);
    }
    instance->Delete(kNone);
    deleted.push_back(instance);
  });
  ++changes_;
  if (subscription) config_.subscriptions->Changed();
  for (const auto& gone : deleted) {
    // An association from another namespace is told as of its own.
    const TNamespaceRegistry::TEntry* home = namespaces_.FindByRepository(gone->GetClass(kNone)->GetNamespace(kNone).get());
    if (config_.changes == nullptr || home == nullptr) continue;
    if (config_.changes->Watches(home->name, *gone->GetClass(kNone))) config_.changes->Deleted(home->name, gone);
  }
  return std::make_unique<TCimMethodResponse>(call.head, TCimMethodResponse::TItems());
}

std::unique_ptr<TResponseBody> TCimOperations::SetProperty(TCall& call) {
  RequireWritable(call);
  boost::shared_ptr<ICIMInstance> instance = NamedInstance(call, "InstanceName");
  RequireClientOwned(call, instance->GetReference(kNone));
  const std::string name = call.RequiredString("PropertyName");
  boost::shared_ptr<ICIMClass> cls = instance->GetClass(kNone);
  boost::shared_ptr<ICIMPropertyDecl> decl = DeclOf(*cls, name);
  if (KeyNames(*cls).count(LowerAscii(name)) > 0) {
    throw TCimError(kCimInvalidParameter, "key property " + decl->GetName(kNone) + " cannot change");
  }
  const TXmlElement* newValue = call.Parameter("NewValue");
  const TXmlElement* element =
      newValue == nullptr || newValue->children.empty() ? nullptr : newValue->children.front().get();
  ChangeInstance(call, instance, {{decl->GetName(kNone), call.reader.DeclaredValue(element, *decl)}});
  return std::make_unique<TCimMethodResponse>(call.head, TCimMethodResponse::TItems());
}

std::unique_ptr<TResponseBody> TCimOperations::CreateClass(TCall& call) {
  RequireWritable(call);
  const TMofProduction production = call.reader.Class(call.Content("NewClass", "CLASS"));
  const TMofClass& c = production.cls;
  call.record->target = c.name;
  try {
    call.ns->GetClass(c.name, kNone);
    throw TCimError(kCimAlreadyExists, "class " + Printable(c.name) + " is already defined");
  } catch (const TTYLException&) {
  }
  if (!c.superName.empty()) {
    try {
      call.ns->GetClass(c.superName, kNone);
    } catch (const TTYLException&) {
      throw TCimError(kCimInvalidSuperclass, "no superclass named " + Printable(c.superName));
    }
  }
  TMofLoadOptions options;
  options.notes = call.notes.get();
  TMofLoader loader(call.ns, options);
  if (!loader.Enter(production)) throw TCimError(kCimInvalidParameter, FirstError(loader));
  ++changes_;
  return std::make_unique<TCimMethodResponse>(call.head, TCimMethodResponse::TItems());
}

std::unique_ptr<TResponseBody> TCimOperations::SetQualifier(TCall& call) {
  RequireWritable(call);
  const TMofProduction production =
      call.reader.QualifierDecl(call.Content("QualifierDeclaration", "QUALIFIER.DECLARATION"));
  const std::string& name = production.qualifierDecl.name;
  call.record->target = name;
  boost::shared_ptr<ICIMQualifierDecl> existing;
  try {
    existing = call.ns->GetQualifierDecl(name, kNone);
  } catch (const TTYLException&) {
  }
  if (existing) {
    // Changed, the declaration must still fit every use of it.
    TSchemaRebuild rebuild(*call.ns, *call.notes, nullptr, nullptr);
    rebuild.ReplaceQualifierDecl(production);
    SwapRebuilt(call, rebuild, [&](const TSchemaRebuild::TFailure& failure) {
      return TCimError(kCimFailed, "qualifier " + Printable(name) + " changed so would not fit " +
                                       What(failure.production) + ": " + failure.reason);
    });
    return std::make_unique<TCimMethodResponse>(call.head, TCimMethodResponse::TItems());
  }
  TMofLoader loader(call.ns);
  if (!loader.Enter(production)) throw TCimError(kCimInvalidParameter, FirstError(loader));
  ++changes_;
  return std::make_unique<TCimMethodResponse>(call.head, TCimMethodResponse::TItems());
}

void TCimOperations::SwapRebuilt(TCall& call, TSchemaRebuild& rebuild,
                                 const std::function<TCimError(const TSchemaRebuild::TFailure&)>& refusal,
                                 const std::function<bool(const TMofProduction&, const std::string&)>& refuses) {
  boost::shared_ptr<ICIMNamespace> fresh = namespaces_.NewRepository();
  auto notes = std::make_shared<TSchemaNotes>();
  if (std::optional<TSchemaRebuild::TFailure> failure = rebuild.Build(fresh, notes.get(), refuses)) {
    throw refusal(*failure);
  }
  namespaces_.Replace(call.namespaceName, fresh, notes);
  ++changes_;
}

std::unique_ptr<TResponseBody> TCimOperations::ModifyClass(TCall& call) {
  RequireWritable(call);
  const TMofProduction production = call.reader.Class(call.Content("ModifiedClass", "CLASS"));
  const TMofClass& c = production.cls;
  call.record->target = c.name;
  boost::shared_ptr<ICIMClass> existing = FindClass(call, c.name, kCimNotFound);
  if (!c.superName.empty()) {
    try {
      call.ns->GetClass(c.superName, kNone);
    } catch (const TTYLException&) {
      throw TCimError(kCimInvalidSuperclass, "no superclass named " + Printable(c.superName));
    }
  }
  // What the class's change may break: its subclasses and the instances of
  // it and of them.
  std::set<std::string> family = {LowerAscii(existing->GetName(kNone))};
  existing->EnumerateSubclasses(
      [&](boost::shared_ptr<ICIMClass> sub) {
        family.insert(LowerAscii(sub->GetName(kNone)));
        return true;
      },
      true, kNone);
  // The properties the change takes away or retypes: a subclass that
  // overrides one of them no longer fits (the repository enters it all the
  // same, with a warning that names the property).
  std::set<std::string> changed;
  existing->EnumeratePropertyDecls(
      [&](boost::shared_ptr<ICIMPropertyDecl> decl) {
        const TMofFeature* kept = nullptr;
        for (const TMofFeature& f : c.features) {
          if (f.kind == TMofFeature::kProperty && EqualsFoldingAscii(f.name, decl->GetName(kNone))) kept = &f;
        }
        const ECIMType type = decl->GetType(kNone);
        if (kept == nullptr || kept->type.isArray != IsArrayType(type) ||
            kept->type.type != (IsArrayType(type) ? ElementTypeOf(type) : type)) {
          changed.insert(LowerAscii(decl->GetName(kNone)));
        }
        return true;
      },
      kNone);
  TSchemaRebuild rebuild(*call.ns, *call.notes, nullptr, nullptr);
  rebuild.ReplaceClass(production);
  auto overridesChanged = [&](const TMofProduction& p, const std::string& warning) {
    if (p.kind != TMofProduction::kClass || family.count(LowerAscii(p.cls.name)) == 0) return false;
    for (const TMofFeature& f : p.cls.features) {
      if (changed.count(LowerAscii(f.name)) != 0 && warning.find("property " + f.name) != std::string::npos) return true;
    }
    return false;
  };
  SwapRebuilt(call, rebuild, [&](const TSchemaRebuild::TFailure& failure) {
    const TMofProduction& p = failure.production;
    if (p.kind == TMofProduction::kClass && EqualsFoldingAscii(p.cls.name, c.name)) {
      return TCimError(kCimInvalidParameter, failure.reason);
    }
    if (p.kind == TMofProduction::kClass && family.count(LowerAscii(p.cls.name)) != 0) {
      return TCimError(kCimClassHasChildren, "subclass " + p.cls.name + " would not fit the changed class: " +
                                                 failure.reason);
    }
    if (p.kind == TMofProduction::kInstance && family.count(LowerAscii(p.instance.className)) != 0) {
      return TCimError(kCimClassHasInstances, "an instance of " + p.instance.className +
                                                  " would not fit the changed class: " + failure.reason);
    }
    return TCimError(kCimFailed, What(p) + " would not fit the changed class: " + failure.reason);
  }, overridesChanged);
  return std::make_unique<TCimMethodResponse>(call.head, TCimMethodResponse::TItems());
}

std::unique_ptr<TResponseBody> TCimOperations::DeleteClass(TCall& call) {
  RequireWritable(call);
  const std::string name = call.reader.ClassName(call.Parameter("ClassName"));
  call.record->target = name;
  boost::shared_ptr<ICIMClass> doomed = FindClass(call, name, kCimNotFound);
  // The class goes with its subclasses, the instances of all of them, and
  // the associations that point at those instances (in this namespace and
  // in others).
  std::set<const ICIMClass*> classes = {doomed.get()};
  doomed->EnumerateSubclasses(
      [&](boost::shared_ptr<ICIMClass> sub) {
        classes.insert(sub.get());
        return true;
      },
      true, kNone);
  std::set<const ICIMInstance*> instances;
  std::vector<boost::shared_ptr<ICIMInstance>> foreign;
  for (const auto& instance : InstancesOf(*doomed)) {
    if (InInterop(call) && config_.interop->Owns(instance->GetReference(kNone))) {
      throw TCimError(kCimAccessDenied, "class " + doomed->GetName(kNone) + " has instances that are the "
                                                                          "server's own");
    }
    instances.insert(instance.get());
    instance->EnumerateAssociationInstances(
        [&](boost::shared_ptr<ICIMInstance> a) {
          instances.insert(a.get());
          return true;
        },
        "", "", kNone);
    for (auto& a : ForeignReferrers(call, *instance, "", "")) foreign.push_back(std::move(a));
  }
  // A class that stays must not refer to one that goes.
  call.ns->GetClass("", kNone)->EnumerateSubclasses(
      [&](boost::shared_ptr<ICIMClass> cls) {
        if (classes.count(cls.get()) != 0) return true;
        cls->EnumeratePropertyDecls(
            [&](boost::shared_ptr<ICIMPropertyDecl> decl) {
              boost::shared_ptr<ICIMClass> target = decl->GetDefaultValue(kNone).IsReference()
                                                        ? decl->GetDefaultValue(kNone).GetReferencedClass()
                                                        : boost::shared_ptr<ICIMClass>();
              if (target && classes.count(target.get()) != 0) {
                throw TCimError(kCimFailed, "class " + cls->GetName(kNone) + " refers to " + target->GetName(kNone) +
                                                " in " + decl->GetName(kNone) + ": delete or change it first");
              }
              return true;
            },
            kNone);
        return true;
      },
      true, kNone);
  TSchemaRebuild rebuild(
      *call.ns, *call.notes, [&](ICIMClass& cls) { return classes.count(&cls) == 0; },
      [&](ICIMInstance& instance) { return instances.count(&instance) == 0; });
  SwapRebuilt(call, rebuild, [&](const TSchemaRebuild::TFailure& failure) {
    return TCimError(kCimFailed, What(failure.production) + " does not stand without " + doomed->GetName(kNone) +
                                     ": " + failure.reason);
  });
  Guarded(EMissing::kInstance, [&] {
    for (const auto& a : foreign) {
      if (StillThere(a)) a->Delete(kNone);
    }
  });
  return std::make_unique<TCimMethodResponse>(call.head, TCimMethodResponse::TItems());
}

std::unique_ptr<TResponseBody> TCimOperations::DeleteQualifier(TCall& call) {
  RequireWritable(call);
  const std::string name = call.RequiredString("QualifierName");
  call.record->target = name;
  boost::shared_ptr<ICIMQualifierDecl> existing;
  try {
    existing = call.ns->GetQualifierDecl(name, kNone);
  } catch (const TTYLException&) {
  }
  if (!existing) throw TCimError(kCimNotFound, "no qualifier declaration " + Printable(name));
  TSchemaRebuild rebuild(*call.ns, *call.notes, nullptr, nullptr);
  rebuild.RemoveQualifierDecl(name);
  SwapRebuilt(call, rebuild, [&](const TSchemaRebuild::TFailure& failure) {
    return TCimError(kCimFailed, "qualifier " + Printable(name) + " is still used by " + What(failure.production) +
                                     ": " + failure.reason);
  });
  return std::make_unique<TCimMethodResponse>(call.head, TCimMethodResponse::TItems());
}
