#include "schema/inmem_qualifier.h"

#include "schema/schema_generation.h"

#include "include/inmem_namespace.h"
#include "schema/normalized_names.h"

TInmemQualifier::TInmemQualifier(const boost::shared_ptr<ICIMNamedElement>& owner,
                                 const boost::shared_ptr<ICIMQualifierDecl>& decl,
                                 const TCIMValue& value, uint32_t flavor)
    : owner(owner), decl(decl), value(value), flavor(flavor), propagated(false) {}

TInmemQualifier::TInmemQualifier(const boost::shared_ptr<ICIMNamedElement>& owner,
                                 const boost::shared_ptr<ICIMQualifierDecl>& decl,
                                 const TCIMValue& value)
    : TInmemQualifier(owner, decl, value, decl->GetFlavor(TContext())) {}

TInmemQualifier::TInmemQualifier(const boost::shared_ptr<ICIMNamedElement>& owner,
                                 const ICIMQualifier& source)
    : owner(owner),
      decl(source.GetDecl(TContext())),
      value(source.GetValue(TContext())),
      flavor(source.GetFlavor(TContext())),
      propagated(source.IsPropagated(TContext())) {}

void TInmemQualifier::AddToNamespace(TContext context) {
  owner.lock()->AddQualifier(shared_from_this(), context);
}

const std::string& TInmemQualifier::GetName(TContext context) const {
  return decl->GetName(context);
}

void TInmemQualifier::SetValue(const TCIMValue& newValue, TContext) {
  NoteSchemaChange();
  value = newValue;
  propagated = false;
}

void TInmemQualifier::AddFlavor(uint32_t bits, TContext) {
  flavor |= bits;
  propagated = false;
}

void TInmemQualifier::RemoveFlavor(uint32_t bits, TContext) {
  flavor &= ~bits;
  propagated = false;
}

bool TInmemQualifier::operator==(const ICIMQualifier& other) const {
  return NormalizedNamesEqual(GetName(TContext()), other.GetName(TContext()));
}

bool TInmemQualifier::operator<(const ICIMQualifier& other) const {
  return NormalizedNameLess(GetName(TContext()), other.GetName(TContext()));
}
