#include "schema/inmem_parameter_decl.h"

#include "include/inmem_namespace.h"
#include "schema/normalized_names.h"
#include "schema/inmem_method_decl.h"

const TQualifierRules TInmemParameterDecl::kQualifierRules = {
    EHeldQualifierRule::kRefuseOtherValueOrFlavor,
    /*lookupWithFlag=*/false,
    /*absentLookupThrows=*/false,
};

TInmemParameterDecl::TInmemParameterDecl(const boost::shared_ptr<TInmemMethodDecl>& method,
                                         const std::string& name, TCIMValue::TCIMType type)
    : method(method), name(name), value(TCIMValue::Null(type)), type(type) {}

void TInmemParameterDecl::AddToMethod(TContext) {
  method.lock()->AddParameter(shared_from_this());
}

boost::shared_ptr<ICIMMethodDecl> TInmemParameterDecl::GetMethod(TContext) const {
  return method.lock();
}

bool TInmemParameterDecl::operator==(const ICIMParameterDecl& other) const {
  return NormalizedNamesEqual(name, other.GetName(TContext()));
}

bool TInmemParameterDecl::operator<(const ICIMParameterDecl& other) const {
  return NormalizedNameLess(name, other.GetName(TContext()));
}
