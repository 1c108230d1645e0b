#include "schema/inmem_property_decl.h"

#include "include/inmem_namespace.h"
#include "schema/normalized_names.h"
#include "schema/inmem_class.h"
#include "schema/schema_generation.h"

const TQualifierRules TInmemPropertyDecl::kQualifierRules = {
    EHeldQualifierRule::kRefuseOtherValueOrFlavor,
    /*lookupWithFlag=*/true,
    /*absentLookupThrows=*/true,
};

TInmemPropertyDecl::TInmemPropertyDecl(const boost::shared_ptr<TInmemClass>& owner,
                                       const std::string& name, const TCIMValue& prototype)
    : name(name), owner(owner), defaultValue(prototype) {}

void TInmemPropertyDecl::AddToClass(TContext context) {
  Validate(context);
  boost::shared_ptr<TInmemClass> cls = owner.lock();
  if (cls) cls->AddProperty(shared_from_this(), context);
}

void TInmemPropertyDecl::SetDefaultValue(const TCIMValue& value, TContext) {
  NoteSchemaChange();
  defaultValue = value;
}

boost::shared_ptr<ICIMClass> TInmemPropertyDecl::GetClass(TContext) const {
  return owner.lock();
}

bool TInmemPropertyDecl::operator==(const ICIMPropertyDecl& other) const {
  return NormalizedNamesEqual(name, other.GetName(TContext()));
}

bool TInmemPropertyDecl::operator<(const ICIMPropertyDecl& other) const {
  return NormalizedNameLess(name, other.GetName(TContext()));
}
