// TInmemReferenceProperty: the value of a reference property of an instance.
//
// It is a TInmemProperty that tells its instance before and after its value
// changes, so that the classes that file the instance keep their referrer
// indexes (see schema/referrer_index.h) in step with the instance's
// references.
//
// Invariant: `owner` is the instance that holds this property, or nullptr
// once that instance is gone (a caller may keep the property longer).

#ifndef INMEM_PROPERTY_INMEM_REFERENCE_PROPERTY_H_
#define INMEM_PROPERTY_INMEM_REFERENCE_PROPERTY_H_

#include "property/inmem_property.h"

class TInmemInstance;

class TInmemReferenceProperty : public TInmemProperty {
 public:
  TInmemReferenceProperty(const boost::shared_ptr<const ICIMPropertyDecl>& decl,
                          TInmemInstance* owner)
      : TInmemProperty(decl), owner(owner) {}

  // As TInmemProperty::SetValue; the owner hears of it whether or not the
  // value was taken.
  void SetValue(const TCIMValue& newValue, TContext context) override;
  // The instance is going; later changes concern nobody.
  void Disown() { owner = nullptr; }

 private:
  TInmemInstance* owner;
};

#endif  // INMEM_PROPERTY_INMEM_REFERENCE_PROPERTY_H_
