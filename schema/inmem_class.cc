#include "schema/inmem_class.h"

#include <algorithm>

#include <boost/assert.hpp>
#include <boost/make_shared.hpp>

#include "include/cim_instance.h"
#include "include/cim_property.h"
#include "include/inmem_instance.h"
#include "include/inmem_namespace.h"
#include "namespace/refusal.h"
#include "schema/inmem_method_decl.h"
#include "schema/inmem_property_decl.h"
#include "schema/schema_generation.h"

const TQualifierRules TInmemClass::kQualifierRules = {
    EHeldQualifierRule::kRefuseOtherValueUnlessDontCollect,
    /*lookupWithFlag=*/true,
    /*absentLookupThrows=*/false,
};

namespace {

// Looks `key` up in one of the class's maps; absent: status 15, no log.
template <typename Map>
const typename Map::mapped_type& FindOrThrow(const Map& map, const std::string& name) {
  typename Map::const_iterator it = map.find(TInmemNamespace::NormalizeName(name));
  if (it == map.end()) throw TTYLException(kStatusNotFound);
  return it->second;
}

template <typename Map>
void EraseOrThrow(Map* map, const std::string& name) {
  if (map->erase(TInmemNamespace::NormalizeName(name)) == 0) {
    throw TTYLException(kStatusNotFound);
  }
}

template <typename Map, typename Callback>
void EnumerateValues(const Map& map, const Callback& callback) {
  for (const typename Map::value_type& entry : map) {
    if (!callback(entry.second)) return;
  }
}

}  // namespace

TInmemClass::TInmemClass(const boost::shared_ptr<TInmemNamespace>& ns, const std::string& name,
                         const boost::shared_ptr<TInmemClass>& superClass)
    : ns(ns), name(name), superClass(superClass) {}

TInmemClass::~TInmemClass() { ClearClassInstances(); }

boost::shared_ptr<TInmemClass> TInmemClass::RootClass() const {
  return ns.lock()->GetRootClass();
}

void TInmemClass::Define() {
  boost::shared_ptr<TInmemClass> super = superClass.lock();
  if (!super) {
    superClass = RootClass();
    return;
  }
  CopyInheritedMembers(*super);
}

void TInmemClass::Inherit() {
  boost::shared_ptr<TInmemClass> super = superClass.lock();
  if (super) CopyInheritedMembers(*super);
}

void TInmemClass::CopyInheritedMembers(const TInmemClass& super) {
  NoteSchemaChange();
  propertyDecls.insert(super.propertyDecls.begin(), super.propertyDecls.end());
  methodDecls.insert(super.methodDecls.begin(), super.methodDecls.end());
  const TContext none;
  boost::shared_ptr<ICIMNamedElement> self = Self();
  for (const TQualifierSet::TMap::value_type& entry : super.qualifiers.Map()) {
    // ABSTRACT is never inherited; the others only with the to-subclass flavor.
    if (entry.first == "abstract") continue;
    if ((entry.second->GetFlavor(none) & ICIMQualifierDecl::kFlavorToSubclass) == 0) continue;
    boost::shared_ptr<TInmemQualifier> copy =
        boost::make_shared<TInmemQualifier>(self, *entry.second);
    copy->SetPropagated(true);
    qualifiers.InsertIfAbsent(TInmemNamespace::NormalizeName(copy->GetName(none)), copy);
  }
}

void TInmemClass::Validate(TContext) const {
  const TContext none;
  if (IsAbstract(none)) return;
  for (const TPropertyDeclMap::value_type& entry : propertyDecls) {
    try {
      bool found = false;
      if (IsTrueQualifier(entry.second->GetQualifier("KEY", found, none))) return;
    } catch (const TTYLException& e) {
      if (e.GetStatusCode() != kStatusNotFound) throw;
    }
  }
  ThrowRefusal("Inmem: Class " + name + " has no keys", kStatusNoKeys);
}

boost::shared_ptr<ICIMNamespace> TInmemClass::GetNamespace(TContext) const { return ns.lock(); }

bool TInmemClass::IsAssociation(TContext) const {
  return IsTrueQualifier(qualifiers.Find("ASSOCIATION"));
}

bool TInmemClass::IsAbstract(TContext) const {
  return IsTrueQualifier(qualifiers.Find("ABSTRACT"));
}

bool TInmemClass::IsTopLevel(TContext) const { return superClass.lock() == RootClass(); }

boost::shared_ptr<ICIMClass> TInmemClass::GetSuperClass(TContext) const {
  return superClass.lock();
}

void TInmemClass::EnumerateSubclasses(const TClassCallback& callback, bool deep, TContext) {
  VisitSubclasses(callback, deep);
}

bool TInmemClass::VisitSubclasses(const TClassCallback& callback, bool deep) {
  for (const boost::shared_ptr<TInmemClass>& subclass : subclasses) {
    if (!callback(subclass)) return false;
    if (deep && !subclass->VisitSubclasses(callback, deep)) return false;
  }
  return true;
}

bool TInmemClass::IsSubclassOf(boost::shared_ptr<ICIMClass> other, TContext) const {
  const TContext none;
  const std::string& otherName = other->GetName(none);
  boost::shared_ptr<TInmemClass> root = RootClass();
  const TInmemClass* current = this;
  while (true) {
    if (otherName == current->name) return true;
    boost::shared_ptr<TInmemClass> super = current->superClass.lock();
    if (!super || super == root) return other.get() == static_cast<ICIMClass*>(root.get());
    current = super.get();
  }
}

const TInmemClass::TShape& TInmemClass::Shape() {
  const uint64_t generation = SchemaGeneration();
  const TShape* current = currentShape.load(std::memory_order_acquire);
  if (current != nullptr && current->generation == generation) return *current;
  std::lock_guard<std::mutex> lock(shapeMutex);
  current = currentShape.load(std::memory_order_relaxed);
  if (current != nullptr && current->generation == generation) return *current;
  auto keys = boost::make_shared<TKeyCache>();
  keys->generation = generation;
  EnumerateKeysFrom(propertyDecls.begin(), [&](const TPropertyDeclMap::value_type& entry) {
    keys->keys.emplace_back(entry.first, entry.second->GetName(TContext()));
    return true;
  });
  auto fresh = boost::make_shared<TShape>();
  fresh->generation = generation;
  fresh->layout = TPropertyLayout::Of(*this);
  for (const auto& key : keys->keys) fresh->keySlots.push_back(fresh->layout->Find(key.first));
  fresh->keys = std::move(keys);
  previousShape = std::move(shape);
  shape = fresh;
  currentShape.store(fresh.get(), std::memory_order_release);
  return *fresh;
}

boost::shared_ptr<const TInmemClass::TKeyCache> TInmemClass::Keys() { return Shape().keys; }

const std::vector<size_t>* TInmemClass::KeySlotsIn(const TPropertyLayout* layout) {
  const TShape& current = Shape();
  return layout == current.layout.get() ? &current.keySlots : nullptr;
}

void TInmemClass::EnumerateKeys(const TKeyCallback& callback, TContext) {
  // Held here: a callback that changes the schema replaces the member.
  boost::shared_ptr<const TKeyCache> keys = Keys();
  const uint64_t generation = keys->generation;
  for (const auto& key : keys->keys) {
    if (!callback(key.second)) return;
    if (SchemaGeneration() != generation) {
      // The callback changed declarations or qualifiers: go on as the
      // declarations now stand, after this one.
      EnumerateKeysFrom(propertyDecls.upper_bound(key.first),
                        [&](const TPropertyDeclMap::value_type& entry) {
                          return callback(entry.second->GetName(TContext()));
                        });
      return;
    }
  }
}

boost::shared_ptr<const TPropertyLayout> TInmemClass::InstanceLayout() { return Shape().layout; }

void TInmemClass::EnumerateKeysFrom(
    TPropertyDeclMap::const_iterator from,
    const boost::function<bool(const TPropertyDeclMap::value_type&)>& callback) const {
  const TContext none;
  for (; from != propertyDecls.end(); ++from) {
    bool found = false;
    if (!IsTrueQualifier(from->second->GetQualifier("KEY", found, none))) continue;
    if (!callback(*from)) return;
  }
}

boost::shared_ptr<ICIMPropertyDecl> TInmemClass::AllocatePropertyDecl(const std::string& declName,
                                                                      const TCIMValue& prototype,
                                                                      TContext) {
  return boost::make_shared<TInmemPropertyDecl>(shared_from_this(), declName, prototype);
}

boost::shared_ptr<ICIMPropertyDecl> TInmemClass::GetPropertyDecl(const std::string& declName,
                                                                 TContext) {
  return FindOrThrow(propertyDecls, declName);
}

void TInmemClass::EnumeratePropertyDecls(const TPropertyDeclCallback& callback, TContext) {
  EnumerateValues(propertyDecls, callback);
}

boost::shared_ptr<ICIMProperty> TInmemClass::GetProperty(const std::string& propertyName,
                                                        TContext) {
  return FindOrThrow(classProperties, propertyName);
}

void TInmemClass::SetPropertyValue(const std::string& propertyName, const TCIMValue& value,
                                   TContext) {
  FindOrThrow(classProperties, propertyName)->SetValue(value, TContext());
}

void TInmemClass::EnumerateProperties(const TPropertyCallback& callback, TContext) {
  EnumerateValues(classProperties, callback);
}

boost::shared_ptr<ICIMInstance> TInmemClass::AllocateInstance(TContext) {
  return boost::make_shared<TInmemInstance>(
      shared_from_this(), TInmemInstance::kValidateKeysNonNull | TInmemInstance::kValidateReferences);
}

boost::shared_ptr<ICIMMethodDecl> TInmemClass::AllocateMethodDecl(const std::string& methodName,
                                                                  TCIMValue::TCIMType returnType,
                                                                  TContext) {
  return boost::make_shared<TInmemMethodDecl>(shared_from_this(), methodName, returnType);
}

boost::shared_ptr<ICIMMethodDecl> TInmemClass::GetMethodDecl(const std::string& methodName,
                                                             TContext) {
  return FindOrThrow(methodDecls, methodName);
}

void TInmemClass::EnumerateMethodDecls(const TMethodDeclCallback& callback, TContext) {
  EnumerateValues(methodDecls, callback);
}

bool TInmemClass::operator==(const ICIMClass& other) const {
  return name == other.GetName(TContext());
}

bool TInmemClass::operator<(const ICIMClass& other) const {
  return name < other.GetName(TContext());
}

void TInmemClass::AddSubclass(boost::shared_ptr<ICIMClass> subclass, TContext) {
  boost::shared_ptr<TInmemClass> added = boost::dynamic_pointer_cast<TInmemClass>(subclass);
  const std::string& addedName = added->name;
  if (!subclassNames.insert(addedName).second) {
    auto same = std::find_if(subclasses.begin(), subclasses.end(),
                             [&](const boost::shared_ptr<TInmemClass>& c) {
                               return c->name == addedName;
                             });
    if (same != subclasses.end()) subclasses.erase(same);
  }
  subclasses.push_back(added);
}

void TInmemClass::RemoveSubclass(boost::shared_ptr<ICIMClass> subclass, TContext) {
  auto same = std::find_if(subclasses.begin(), subclasses.end(),
                           [&](const boost::shared_ptr<TInmemClass>& c) {
                             return static_cast<ICIMClass*>(c.get()) == subclass.get();
                           });
  if (same == subclasses.end()) return;
  subclassNames.erase((*same)->name);
  subclasses.erase(same);
}

void TInmemClass::AddAssociationClass(boost::shared_ptr<ICIMClass> association, TContext) {
  associationClasses[TInmemNamespace::NormalizeName(association->GetName(TContext()))] =
      boost::dynamic_pointer_cast<TInmemClass>(association);
}

void TInmemClass::RemoveAssociationClass(boost::shared_ptr<ICIMClass> association, TContext) {
  EraseOrThrow(&associationClasses, association->GetName(TContext()));
}

void TInmemClass::RemovePropertyDecl(boost::shared_ptr<ICIMPropertyDecl> decl, TContext) {
  NoteSchemaChange();
  EraseOrThrow(&propertyDecls, decl->GetName(TContext()));
}

void TInmemClass::RemoveMethodDecl(boost::shared_ptr<ICIMMethodDecl> decl, TContext) {
  EraseOrThrow(&methodDecls, decl->GetName(TContext()));
}
