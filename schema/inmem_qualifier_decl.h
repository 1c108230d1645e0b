// TInmemQualifierDecl: a qualifier declaration of a namespace: name, default
// value (which fixes type and array-ness), scope bits and default flavor
// bits. A plain value holder; it joins its namespace through AddToNamespace.

#ifndef INMEM_SCHEMA_INMEM_QUALIFIER_DECL_H_
#define INMEM_SCHEMA_INMEM_QUALIFIER_DECL_H_

#include <cstdint>
#include <string>

#include <boost/enable_shared_from_this.hpp>
#include <boost/weak_ptr.hpp>

#include "include/cim_qualifier_decl.h"

class TInmemNamespace;

class TInmemQualifierDecl : public ICIMQualifierDecl,
                            public boost::enable_shared_from_this<TInmemQualifierDecl> {
 public:
  TInmemQualifierDecl(const boost::shared_ptr<TInmemNamespace>& ns, const std::string& name,
                      const TCIMValue& value, uint32_t scope, uint32_t flavor);

  void Validate(TContext) const override {}
  // Enters the declaration into its namespace (status 16 for a name taken
  // when redefinition is not allowed).
  void AddToNamespace(TContext context) override;
  void RemoveFromNamespace(TContext) override {}
  const std::string& GetName(TContext) const override { return name; }
  boost::shared_ptr<ICIMNamespace> GetNamespace(TContext context) const override;
  TCIMValue::TCIMType GetType(TContext) const override { return value.GetType(); }
  bool IsArray(TContext) const override { return value.IsArray(); }
  const TCIMValue& GetValue(TContext) const override { return value; }
  // Plain assignment: no type check.
  void SetValue(const TCIMValue& newValue, TContext) override { value = newValue; }
  uint32_t GetScope(TContext) const override { return scope; }
  void AddFlavor(uint32_t bits, TContext) override { flavor |= bits; }
  void RemoveFlavor(uint32_t bits, TContext) override { flavor &= ~bits; }
  uint32_t GetFlavor(TContext) const override { return flavor; }
  // Compare normalised names.
  bool operator==(const ICIMQualifierDecl& other) const override;
  bool operator<(const ICIMQualifierDecl& other) const override;
  ICIMQualifierDecl& operator=(const ICIMQualifierDecl&) override { return *this; }

 private:
  boost::weak_ptr<TInmemNamespace> ns;
  std::string name;
  TCIMValue value;
  uint32_t scope;
  uint32_t flavor;
};

#endif  // INMEM_SCHEMA_INMEM_QUALIFIER_DECL_H_
