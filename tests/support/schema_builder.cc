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

TClassPtr TSchemaBuilder::Class(const std::string& name, const std::string& superName,
                                const TQualifierSpecs& qualifiers) {
  TClassPtr super = superName.empty() ? TClassPtr() : ns_->GetClass(superName, TContext());
  TClassPtr cls = ns_->AllocateClass(name, super, TContext());
  AddQualifiers(*cls, qualifiers);
  return cls;
}

void TSchemaBuilder::Enter(const TClassPtr& cls) {
  cls->Validate(TContext());
  cls->AddToNamespace(TContext());
}

TPropertyDeclPtr TSchemaBuilder::Property(const TClassPtr& cls, const std::string& name,
                                          const TCIMValue& prototype, const TQualifierSpecs& qualifiers) {
  TPropertyDeclPtr decl = cls->AllocatePropertyDecl(name, prototype, TContext());
  AddQualifiers(*decl, qualifiers);
  decl->AddToClass(TContext());
  return decl;
}

TPropertyDeclPtr TSchemaBuilder::Key(const TClassPtr& cls, const std::string& name) {
  return Property(cls, name, TCIMValue::Null(kCIMTypeString), {{"KEY", TCIMValue(true)}});
}

TPropertyDeclPtr TSchemaBuilder::Reference(const TClassPtr& cls, const std::string& name,
                                           const TClassPtr& target, const TQualifierSpecs& qualifiers) {
  return Property(cls, name, TCIMValue::NullReference(target), qualifiers);
}

TClassPtr TSchemaBuilder::KeyedClass(const std::string& name, const std::string& superName,
                                     const std::string& key) {
  TClassPtr cls = Class(name, superName);
  if (!key.empty()) Key(cls, key);
  Enter(cls);
  return cls;
}

TClassPtr TSchemaBuilder::AbstractClass(const std::string& name, const std::string& superName) {
  TClassPtr cls = Class(name, superName, {{"ABSTRACT", TCIMValue(true)}});
  Enter(cls);
  return cls;
}

boost::shared_ptr<ICIMInstance> TSchemaBuilder::Instance(
    const std::string& cls, const std::vector<std::pair<std::string, TCIMValue>>& values, bool file) {
  auto instance = ns_->GetClass(cls, TContext())->AllocateInstance(TContext());
  for (const auto& v : values) instance->SetPropertyValue(v.first, v.second, TContext());
  if (file) instance->AddToNamespace(TContext());
  return instance;
}

TClassPtr TSchemaBuilder::Association(const std::string& name, const std::string& superName,
                                      const std::vector<std::pair<std::string, TClassPtr>>& ends) {
  TClassPtr cls = Class(name, superName, {{"ASSOCIATION", TCIMValue(true)}});
  for (const auto& end : ends) Reference(cls, end.first, end.second, {{"KEY", TCIMValue(true)}});
  Enter(cls);
  return cls;
}

boost::shared_ptr<ICIMMethodDecl> TSchemaBuilder::Method(const TClassPtr& cls, const std::string& name,
                                                         ECIMType returnType,
                                                         const TQualifierSpecs& qualifiers) {
  auto method = cls->AllocateMethodDecl(name, returnType, TContext());
  AddQualifiers(*method, qualifiers);
  method->AddToClass(TContext());
  return method;
}

boost::shared_ptr<ICIMQualifier> TSchemaBuilder::Qualifier(ICIMNamedElement& element,
                                                           const TQualifierSpec& spec) {
  auto decl = ns_->GetQualifierDecl(spec.name, TContext());
  if (spec.flavor < 0) return element.AllocateQualifier(decl, spec.value, TContext());
  return element.AllocateQualifier(decl, spec.value, static_cast<uint32_t>(spec.flavor), TContext());
}

void TSchemaBuilder::AddQualifiers(ICIMNamedElement& element, const TQualifierSpecs& qualifiers) {
  for (const TQualifierSpec& spec : qualifiers) element.AddQualifier(Qualifier(element, spec), TContext());
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

}  // namespace

TNames SubclassNames(ICIMClass& cls, bool deep, size_t limit) {
  return Names<TClassPtr>([&](const TClassCallback& f) { cls.EnumerateSubclasses(f, deep, TContext()); },
                          limit);
}

TNames PropertyDeclNames(ICIMClass& cls) {
  return Names<TPropertyDeclPtr>(
      [&](const TPropertyDeclCallback& f) { cls.EnumeratePropertyDecls(f, TContext()); }, kAll);
}

TNames RootClassNames(ICIMNamespace& ns, size_t limit) {
  return Names<TClassPtr>([&](const TClassCallback& f) { ns.EnumerateRootClasses(f, TContext()); }, limit);
}

TNames ParameterNames(ICIMMethodDecl& method, size_t limit) {
  return Names<boost::shared_ptr<ICIMParameterDecl>>(
      [&](const TParameterDeclCallback& f) { method.EnumerateParameters(f, TContext()); }, limit);
}

TNames AssociationClassNames(ICIMClass& cls, const std::string& assocClass, const std::string& role,
                             size_t limit) {
  return Names<TClassPtr>(
      [&](const TClassCallback& f) { cls.EnumerateAssociationClasses(f, assocClass, role, TContext()); },
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
