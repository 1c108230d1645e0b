// TInmemPropertyDecl: one property declaration of a class.
//
// The prototype value (`defaultValue`) carries the property's type,
// array-ness and default. Subclasses share the declaration object of their
// superclass until they override it, so a qualifier added to an inherited
// declaration is seen by every class that shares it. Qualifier lookups are
// local: a lookup without the found flag throws status 15 for an absent
// qualifier, which the class's definition rules rely on.

#ifndef INMEM_SCHEMA_INMEM_PROPERTY_DECL_H_
#define INMEM_SCHEMA_INMEM_PROPERTY_DECL_H_

#include <string>

#include <boost/enable_shared_from_this.hpp>
#include <boost/weak_ptr.hpp>

#include "include/cim_property_decl.h"
#include "schema/inmem_named_element.h"

class TInmemClass;

class TInmemPropertyDecl
    : public TInmemNamedElement<ICIMPropertyDecl, TInmemPropertyDecl>,
      public boost::enable_shared_from_this<TInmemPropertyDecl> {
 public:
  static const TQualifierRules kQualifierRules;

  TInmemPropertyDecl(const boost::shared_ptr<TInmemClass>& owner, const std::string& name,
                     const TCIMValue& prototype);

  void Validate(TContext) const override {}
  // Validates, then enters the declaration into its class (AddProperty);
  // does nothing when the class is gone.
  void AddToClass(TContext context) override;
  void RemoveFromClass(TContext) override {}
  const std::string& GetName(TContext) const override { return name; }
  boost::shared_ptr<ICIMClass> GetClass(TContext context) const override;
  TCIMValue::TCIMType GetType(TContext) const override { return defaultValue.GetType(); }
  bool IsArray(TContext) const override { return defaultValue.IsArray(); }
  const TCIMValue& GetDefaultValue(TContext) const override { return defaultValue; }
  // May change the type as well, and so counts as a schema change (the
  // layout of new instances records which properties are references).
  void SetDefaultValue(const TCIMValue& value, TContext context) override;
  // Compare normalised names.
  bool operator==(const ICIMPropertyDecl& other) const override;
  bool operator<(const ICIMPropertyDecl& other) const override;
  ICIMPropertyDecl& operator=(const ICIMPropertyDecl&) override { return *this; }

 private:
  std::string name;
  boost::weak_ptr<TInmemClass> owner;
  TCIMValue defaultValue;
};

#endif  // INMEM_SCHEMA_INMEM_PROPERTY_DECL_H_
