#include "schema/inmem_method_decl.h"

#include <boost/make_shared.hpp>

#include "include/inmem_namespace.h"
#include "schema/normalized_names.h"
#include "namespace/refusal.h"
#include "schema/inmem_class.h"
#include "schema/inmem_parameter_decl.h"

const TQualifierRules TInmemMethodDecl::kQualifierRules = {
    EHeldQualifierRule::kRefuseOtherValueOrFlavor,
    /*lookupWithFlag=*/false,
    /*absentLookupThrows=*/false,
};

TInmemMethodDecl::TInmemMethodDecl(const boost::shared_ptr<TInmemClass>& owner,
                                   const std::string& name, TCIMValue::TCIMType returnType)
    : name(name), returnType(returnType), owner(owner) {}

void TInmemMethodDecl::AddToClass(TContext context) {
  boost::shared_ptr<TInmemClass> cls = owner.lock();
  if (cls) cls->AddMethod(shared_from_this(), context);
}

boost::shared_ptr<ICIMClass> TInmemMethodDecl::GetClass(TContext) const { return owner.lock(); }

boost::shared_ptr<ICIMParameterDecl> TInmemMethodDecl::DefineParameter(
    const std::string& parameterName, TCIMValue::TCIMType type, TContext context) {
  boost::shared_ptr<TInmemParameterDecl> parameter =
      boost::make_shared<TInmemParameterDecl>(shared_from_this(), parameterName, type);
  parameter->AddToMethod(context);
  return parameter;
}

boost::shared_ptr<ICIMParameterDecl> TInmemMethodDecl::GetParameter(
    const std::string& parameterName, TContext) const {
  auto it = parameters.find(TInmemNamespace::NormalizeName(parameterName));
  return it == parameters.end() ? boost::shared_ptr<ICIMParameterDecl>() : it->second;
}

void TInmemMethodDecl::EnumerateParameters(const TParameterDeclCallback& callback,
                                           TContext) const {
  for (const auto& entry : parameters) {
    if (!callback(entry.second)) return;
  }
}

void TInmemMethodDecl::AddParameter(const boost::shared_ptr<TInmemParameterDecl>& parameter) {
  const std::string& parameterName = parameter->GetName(TContext());
  std::string key = TInmemNamespace::NormalizeName(parameterName);
  if (parameters.count(key) != 0) {
    // The text says "property" for parameters too; the logs are read as they stand.
    ThrowRefusal("Inmem: Attempt to add property " + parameterName + " to method " + name +
                     ": already exists",
                 kStatusAlreadyDefined);
  }
  parameters.emplace(key, parameter);
}

bool TInmemMethodDecl::operator==(const ICIMMethodDecl& other) const {
  return NormalizedNamesEqual(name, other.GetName(TContext()));
}

bool TInmemMethodDecl::operator<(const ICIMMethodDecl& other) const {
  return NormalizedNameLess(name, other.GetName(TContext()));
}
