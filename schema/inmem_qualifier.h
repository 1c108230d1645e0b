// TInmemQualifier: one use of a qualifier declaration on a named element,
// with its own value and flavor bits. Its name is always its declaration's.
//
// `propagated` says whether the qualifier was taken over unchanged from a
// base element: only SetPropagated sets it (a class does, on each copy of its
// superclass's qualifiers); every change of value or flavor clears it.

#ifndef INMEM_SCHEMA_INMEM_QUALIFIER_H_
#define INMEM_SCHEMA_INMEM_QUALIFIER_H_

#include <cstdint>
#include <string>

#include <boost/enable_shared_from_this.hpp>
#include <boost/weak_ptr.hpp>

#include "include/cim_named_element.h"
#include "include/cim_qualifier.h"
#include "include/cim_qualifier_decl.h"

class TInmemQualifier : public ICIMQualifier,
                        public boost::enable_shared_from_this<TInmemQualifier> {
 public:
  TInmemQualifier(const boost::shared_ptr<ICIMNamedElement>& owner,
                  const boost::shared_ptr<ICIMQualifierDecl>& decl, const TCIMValue& value,
                  uint32_t flavor);
  // With the declaration's own flavor.
  TInmemQualifier(const boost::shared_ptr<ICIMNamedElement>& owner,
                  const boost::shared_ptr<ICIMQualifierDecl>& decl, const TCIMValue& value);
  // A copy of `source` belonging to `owner`: declaration, value, flavor and
  // propagated flag as the source has them.
  TInmemQualifier(const boost::shared_ptr<ICIMNamedElement>& owner,
                  const ICIMQualifier& source);

  void Validate(TContext) const override {}
  // Hands the qualifier to its owner's AddQualifier.
  void AddToNamespace(TContext context) override;
  void RemoveFromNamespace(TContext) override {}
  const std::string& GetName(TContext context) const override;
  boost::shared_ptr<ICIMNamedElement> GetOwner(TContext) const override { return owner.lock(); }
  TCIMValue::TCIMType GetType(TContext) const override { return value.GetType(); }
  bool IsArray(TContext) const override { return value.IsArray(); }
  boost::shared_ptr<ICIMQualifierDecl> GetDecl(TContext) const override { return decl; }
  const TCIMValue& GetValue(TContext) const override { return value; }
  void SetValue(const TCIMValue& newValue, TContext) override;
  void AddFlavor(uint32_t bits, TContext) override;
  void RemoveFlavor(uint32_t bits, TContext) override;
  uint32_t GetFlavor(TContext) const override { return flavor; }
  // Compare the normalised names of the declarations.
  bool operator==(const ICIMQualifier& other) const override;
  bool operator<(const ICIMQualifier& other) const override;
  bool IsPropagated(TContext) const override { return propagated; }
  ICIMQualifier& operator=(const ICIMQualifier&) override { return *this; }

  void SetPropagated(bool value) { propagated = value; }

 private:
  boost::weak_ptr<ICIMNamedElement> owner;
  boost::shared_ptr<ICIMQualifierDecl> decl;
  TCIMValue value;
  uint32_t flavor;
  bool propagated;
};

#endif  // INMEM_SCHEMA_INMEM_QUALIFIER_H_
