#include "tests/support/schema_builder.h"

#include "include/cim_parameter_decl.h"
#include "provider/inmem_namespace_provider.h"

TSchemaBuilder::TSchemaBuilder(bool allowRedefinition) {
  TInmemNamespaceProvider provider;
  ns_ = boost::dynamic_pointer_cast<TInmemNamespace>(
      provider.CreateNamespace(TContext(), allowRedefinition, ""));
  Declare("KEY", TCIMValue(false), ICIMQualifierDecl::kFlavorToSubclass);
  Declare("ABSTRACT", TCIMValue(false), 0);
  Declare("ASSOCIATION", TCIMValue(false), ICIMQualifierDecl::kFlavorToSubclass);
  Declare("OVERRIDE", TCIMValue::Null(kCIMTypeString), 0);
  Declare("Description", TCIMValue::Null(kCIMTypeString),
          ICIMQualifierDecl::kFlavorEnableOverride | ICIMQualifierDecl::kFlavorToSubclass);
  Declare("dontcollect", TCIMValue(false), ICIMQualifierDecl::kFlavorToSubclass);
  Declare("Version", TCIMValue::Null(kCIMTypeString), ICIMQualifierDecl::kFlavorToSubclass);
  Declare("Restricted", TCIMValue::Null(kCIMTypeString), 0);
  Declare("Local", TCIMValue::Null(kCIMTypeString), ICIMQualifierDecl::kFlavorEnableOverride);
  // The display qualifiers of property values.
  const uint32_t kDisplay =
      ICIMQualifierDecl::kFlavorEnableOverride | ICIMQualifierDecl::kFlavorToSubclass;
  Declare("UNITS", TCIMValue::Null(kCIMTypeString), kDisplay);
  Declare("ValueMap", TCIMValue::Null(ArrayTypeOf(kCIMTypeString)), kDisplay);
  Declare("Values", TCIMValue::Null(ArrayTypeOf(kCIMTypeString)), kDisplay);
  Declare("BASE", TCIMValue::Null(kCIMTypeUint8), kDisplay);
  Declare("NULLDISPLAY", TCIMValue::Null(kCIMTypeString), kDisplay);
  Declare("DISPLAYFIXEDUNITS", TCIMValue::Null(kCIMTypeString), kDisplay);
  Declare("ABBREVIATEUNITS", TCIMValue::Null(kCIMTypeBoolean), kDisplay);
}

void TSchemaBuilder::Declare(const std::string& name, const TCIMValue& value, uint32_t flavor) {
  ns_->AllocateQualifierDecl(name, value, ICIMQualifierDecl::kScopeAny,
                             static_cast<ICIMQualifierDecl::EFlavor>(flavor), TContext())
      ->AddToNamespace(TContext());
}

boost::shared_ptr<ICIMClass> TSchemaBuilder::Class(const std::string& name,
                                                   const std::string& superName,
                                                   const std::vector<TQualifierSpec>& qualifiers) {
  boost::shared_ptr<ICIMClass> super;
  if (!superName.empty()) super = ns_->GetClass(superName, TContext());
  boost::shared_ptr<ICIMClass> cls = ns_->AllocateClass(name, super, TContext());
  AddQualifiers(*cls, qualifiers);
  return cls;
}

void TSchemaBuilder::Enter(const boost::shared_ptr<ICIMClass>& cls) {
  cls->Validate(TContext());
  cls->AddToNamespace(TContext());
}

boost::shared_ptr<ICIMPropertyDecl> TSchemaBuilder::Property(
    const boost::shared_ptr<ICIMClass>& cls, const std::string& name, const TCIMValue& prototype,
    const std::vector<TQualifierSpec>& qualifiers) {
  boost::shared_ptr<ICIMPropertyDecl> decl = cls->AllocatePropertyDecl(name, prototype, TContext());
  AddQualifiers(*decl, qualifiers);
  decl->AddToClass(TContext());
  return decl;
}

boost::shared_ptr<ICIMPropertyDecl> TSchemaBuilder::Key(const boost::shared_ptr<ICIMClass>& cls,
                                                        const std::string& name) {
  return Property(cls, name, TCIMValue::Null(kCIMTypeString), {{"KEY", TCIMValue(true)}});
}

boost::shared_ptr<ICIMPropertyDecl> TSchemaBuilder::Reference(
    const boost::shared_ptr<ICIMClass>& cls, const std::string& name,
    const boost::shared_ptr<ICIMClass>& target, const std::vector<TQualifierSpec>& qualifiers) {
  return Property(cls, name, TCIMValue::NullReference(target), qualifiers);
}

boost::shared_ptr<ICIMClass> TSchemaBuilder::KeyedClass(const std::string& name,
                                                        const std::string& superName,
                                                        const std::string& key) {
  boost::shared_ptr<ICIMClass> cls = Class(name, superName);
  if (!key.empty()) Key(cls, key);
  Enter(cls);
  return cls;
}

boost::shared_ptr<ICIMClass> TSchemaBuilder::AbstractClass(const std::string& name,
                                                           const std::string& superName) {
  boost::shared_ptr<ICIMClass> cls = Class(name, superName, {{"ABSTRACT", TCIMValue(true)}});
  Enter(cls);
  return cls;
}

boost::shared_ptr<ICIMInstance> TSchemaBuilder::Instance(
    const std::string& cls, const std::vector<std::pair<std::string, TCIMValue>>& values,
    bool file) {
  boost::shared_ptr<ICIMInstance> instance =
      ns_->GetClass(cls, TContext())->AllocateInstance(TContext());
  for (const auto& v : values) instance->SetPropertyValue(v.first, v.second, TContext());
  if (file) instance->AddToNamespace(TContext());
  return instance;
}

boost::shared_ptr<ICIMClass> TSchemaBuilder::Association(
    const std::string& name, const std::string& superName,
    const std::vector<std::pair<std::string, boost::shared_ptr<ICIMClass>>>& ends) {
  boost::shared_ptr<ICIMClass> cls = Class(name, superName, {{"ASSOCIATION", TCIMValue(true)}});
  for (const auto& end : ends) Reference(cls, end.first, end.second, {{"KEY", TCIMValue(true)}});
  Enter(cls);
  return cls;
}

boost::shared_ptr<ICIMMethodDecl> TSchemaBuilder::Method(
    const boost::shared_ptr<ICIMClass>& cls, const std::string& name, ECIMType returnType,
    const std::vector<TQualifierSpec>& qualifiers) {
  boost::shared_ptr<ICIMMethodDecl> method = cls->AllocateMethodDecl(name, returnType, TContext());
  AddQualifiers(*method, qualifiers);
  method->AddToClass(TContext());
  return method;
}

boost::shared_ptr<ICIMQualifier> TSchemaBuilder::Qualifier(ICIMNamedElement& element,
                                                           const TQualifierSpec& spec) {
  boost::shared_ptr<ICIMQualifierDecl> decl = ns_->GetQualifierDecl(spec.name, TContext());
  if (spec.flavor < 0) return element.AllocateQualifier(decl, spec.value, TContext());
  return element.AllocateQualifier(decl, spec.value, static_cast<uint32_t>(spec.flavor),
                                   TContext());
}

void TSchemaBuilder::AddQualifiers(ICIMNamedElement& element,
                                   const std::vector<TQualifierSpec>& qualifiers) {
  for (const TQualifierSpec& spec : qualifiers) {
    element.AddQualifier(Qualifier(element, spec), TContext());
  }
}

namespace {

// The names of what `enumerate` hands its callback, in order, up to `limit`.
template <typename Element, typename Enumerate>
TNames Names(const Enumerate& enumerate, size_t limit) {
  TNames names;
  enumerate([&](const Element& e) {
    names.push_back(e->GetName(TContext()));
    return names.size() < limit;
  });
  return names;
}

typedef boost::shared_ptr<ICIMClass> TClassPtr;

}  // namespace

TNames SubclassNames(ICIMClass& cls, bool deep, size_t limit) {
  return Names<TClassPtr>(
      [&](const TClassCallback& f) { cls.EnumerateSubclasses(f, deep, TContext()); }, limit);
}

TNames PropertyDeclNames(ICIMClass& cls) {
  return Names<boost::shared_ptr<ICIMPropertyDecl>>(
      [&](const TPropertyDeclCallback& f) { cls.EnumeratePropertyDecls(f, TContext()); }, kAll);
}

TNames RootClassNames(ICIMNamespace& ns, size_t limit) {
  return Names<TClassPtr>(
      [&](const TClassCallback& f) { ns.EnumerateRootClasses(f, TContext()); }, limit);
}

TNames ParameterNames(ICIMMethodDecl& method, size_t limit) {
  return Names<boost::shared_ptr<ICIMParameterDecl>>(
      [&](const TParameterDeclCallback& f) { method.EnumerateParameters(f, TContext()); }, limit);
}

TNames AssociationClassNames(ICIMClass& cls, const std::string& assocClass,
                             const std::string& role, size_t limit) {
  return Names<TClassPtr>(
      [&](const TClassCallback& f) {
        cls.EnumerateAssociationClasses(f, assocClass, role, TContext());
      },
      limit);
}

TNames KeyNames(ICIMClass& cls, size_t limit) {
  TNames names;
  cls.EnumerateKeys(
      [&](const std::string& name) {
        names.push_back(name);
        return names.size() < limit;
      },
      TContext());
  return names;
}
