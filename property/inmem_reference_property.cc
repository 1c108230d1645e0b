// TInmemReferenceProperty: value changes that the owning instance hears of.

#include "property/inmem_reference_property.h"

#include "include/inmem_instance.h"

void TInmemReferenceProperty::SetValue(const TCIMValue& newValue, TContext context) {
  if (owner == nullptr) {
    TInmemProperty::SetValue(newValue, context);
    return;
  }
  owner->BeforeReferenceChange();
  try {
    TInmemProperty::SetValue(newValue, context);
  } catch (...) {
    owner->AfterReferenceChange();
    throw;
  }
  owner->AfterReferenceChange();
}
