// TInmemNamespace: construction, name rules, allocation and entry of classes
// and qualifier declarations.

#include <boost/make_shared.hpp>

#include "core/ascii.h"
#include "include/inmem_namespace.h"
#include "namespace/class_index.h"
#include "namespace/element_group.h"
#include "namespace/refusal.h"
#include "schema/inmem_class.h"
#include "schema/inmem_qualifier_decl.h"

TInmemNamespace::TInmemNamespace(bool allowRedefinition)
    : classIndex(new TClassIndex(classes)),
      allowRedefinition(allowRedefinition),
      elementGroup(boost::make_shared<TInmemElementGroup>()) {}

TInmemNamespace::TInmemNamespace(const TInmemNamespace& other)
    : ICIMNamespace(other),
      boost::enable_shared_from_this<TInmemNamespace>(),
      qualifierDecls(other.qualifierDecls),
      classes(other.classes),
      classIndex(new TClassIndex(classes)),
      rootClass(other.rootClass),
      allowRedefinition(other.allowRedefinition),
      elementGroup(other.elementGroup) {}

TInmemNamespace& TInmemNamespace::operator=(const TInmemNamespace& other) {
  qualifierDecls = other.qualifierDecls;
  classes = other.classes;
  classIndex.reset(new TClassIndex(classes));
  rootClass = other.rootClass;
  allowRedefinition = other.allowRedefinition;
  elementGroup = other.elementGroup;
  return *this;
}

TInmemNamespace& TInmemNamespace::operator=(ICIMNamespace&) { return *this; }

TInmemNamespace::~TInmemNamespace() {
  // The last namespace of the group cuts the ownership cycles of its classes
  // here; an earlier copy leaves them to the others.
  elementGroup.reset();
  rootClass.reset();
  classes.clear();
  qualifierDecls.clear();
}

std::string TInmemNamespace::NormalizeName(const std::string& name) {
  std::string key(name);
  for (size_t i = 0; i < key.size(); ++i) {
    const char c = key[i];
    bool valid = c == '_' || IsAsciiLetter(c) || (i != 0 && IsAsciiDigit(c));
    if (!valid) ThrowRefusal("Inmem: CIM name '" + name + "' is invalid", kStatusInvalidName);
    key[i] = ToLowerAscii(c);
  }
  return key;
}

void TInmemNamespace::Initialize() {
  boost::shared_ptr<ICIMClass> root =
      AllocateClass("<root>", boost::shared_ptr<ICIMClass>(), TContext());
  rootClass = boost::static_pointer_cast<TInmemClass>(root);
}

boost::shared_ptr<ICIMClass> TInmemNamespace::AllocateClass(const std::string& name,
                                                            boost::shared_ptr<ICIMClass> superClass,
                                                            TContext) {
  boost::shared_ptr<ICIMClass> existing;
  try {
    existing = GetClass(name, TContext());
  } catch (const TTYLException&) {
    // Unknown (15) or invalid (25, already logged): a new class is made.
  }
  if (existing) {
    boost::static_pointer_cast<TInmemClass>(existing)->Inherit();
    return existing;
  }
  boost::shared_ptr<TInmemClass> super = boost::dynamic_pointer_cast<TInmemClass>(superClass);
  if (!super) super = rootClass;
  boost::shared_ptr<TInmemClass> created =
      boost::make_shared<TInmemClass>(shared_from_this(), name, super);
  elementGroup->Record(created);
  created->Define();
  return created;
}

boost::shared_ptr<ICIMQualifierDecl> TInmemNamespace::AllocateQualifierDecl(
    const std::string& name, const TCIMValue& value, ICIMQualifierDecl::EScope scope,
    ICIMQualifierDecl::EFlavor flavor, TContext) {
  return boost::make_shared<TInmemQualifierDecl>(shared_from_this(), name, value,
                                                 static_cast<uint32_t>(scope),
                                                 static_cast<uint32_t>(flavor));
}

void TInmemNamespace::AddClass(boost::shared_ptr<TInmemClass> newClass) {
  const std::string& name = newClass->GetName(TContext());
  std::string key = NormalizeName(name);
  auto entered = classes.emplace(key, newClass);
  if (entered.second) {
    classIndex->Add(*entered.first);
    return;
  }
  if (!allowRedefinition) {
    ThrowRefusal("Inmem: TInmemNamespace: class " + name + " already defined",
                 kStatusAlreadyDefined);
  }
  // The first definition of a physical network port class stays; later ones
  // are dropped without a word.
  if (key.find("pelxa_physicalnetworkport") != std::string::npos) return;
  auto existing = classes.find(key);
  // Classes derived from the old definition are enumerated under the new one.
  newClass->CopySubclassListOf(*existing->second);
  existing->second = newClass;
}

void TInmemNamespace::AddQualifierDecl(boost::shared_ptr<TInmemQualifierDecl> newDecl) {
  const std::string& name = newDecl->GetName(TContext());
  std::string key = NormalizeName(name);
  if (qualifierDecls.emplace(key, newDecl).second) return;
  if (!allowRedefinition) {
    ThrowRefusal("Inmem: TInmemNamespace: qualifier " + name + " already defined",
                 kStatusAlreadyDefined);
  }
  qualifierDecls[key] = newDecl;
}

void TInmemNamespace::RemoveClass(boost::shared_ptr<TInmemClass>) {}
