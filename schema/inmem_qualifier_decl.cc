#include "schema/inmem_qualifier_decl.h"

#include "include/inmem_namespace.h"
#include "schema/normalized_names.h"

TInmemQualifierDecl::TInmemQualifierDecl(const boost::shared_ptr<TInmemNamespace>& ns,
                                         const std::string& name, const TCIMValue& value,
                                         uint32_t scope, uint32_t flavor)
    : ns(ns), name(name), value(value), scope(scope), flavor(flavor) {}

void TInmemQualifierDecl::AddToNamespace(TContext) {
  ns.lock()->AddQualifierDecl(shared_from_this());
}

boost::shared_ptr<ICIMNamespace> TInmemQualifierDecl::GetNamespace(TContext) const {
  return ns.lock();
}

bool TInmemQualifierDecl::operator==(const ICIMQualifierDecl& other) const {
  return NormalizedNamesEqual(name, other.GetName(TContext()));
}

bool TInmemQualifierDecl::operator<(const ICIMQualifierDecl& other) const {
  return NormalizedNameLess(name, other.GetName(TContext()));
}
