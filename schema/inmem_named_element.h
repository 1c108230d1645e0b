// TInmemNamedElement: the qualifier slots (1 to 6 of ICIMNamedElement) that
// classes and property, method and parameter declarations share.
//
// `Interface` is the element's interface (ICIMClass, ICIMPropertyDecl, ...);
// `Derived` is the element class, which derives from
// boost::enable_shared_from_this<Derived> and states its qualifier rules as
// `static const TQualifierRules kQualifierRules`. This template adds no
// virtual slot of its own, so the element keeps its interface's layout.

#ifndef INMEM_SCHEMA_INMEM_NAMED_ELEMENT_H_
#define INMEM_SCHEMA_INMEM_NAMED_ELEMENT_H_

#include <string>

#include <boost/make_shared.hpp>
#include <boost/pointer_cast.hpp>

#include "include/cim_qualifier_decl.h"
#include "schema/inmem_qualifier.h"
#include "schema/qualifier_set.h"

template <typename Interface, typename Derived>
class TInmemNamedElement : public Interface {
 public:
  // Throws status 28 when the element's rules refuse a conflict.
  void AddQualifier(boost::shared_ptr<ICIMQualifier> qualifier, TContext) override {
    qualifiers.Add(boost::dynamic_pointer_cast<TInmemQualifier>(qualifier),
                   Derived::kQualifierRules.held);
  }

  boost::shared_ptr<ICIMQualifier> AllocateQualifier(boost::shared_ptr<ICIMQualifierDecl> decl,
                                                     const TCIMValue& value, uint32_t flavor,
                                                     TContext) override {
    return boost::make_shared<TInmemQualifier>(Self(), decl, value, flavor);
  }

  boost::shared_ptr<ICIMQualifier> AllocateQualifier(boost::shared_ptr<ICIMQualifierDecl> decl,
                                                     const TCIMValue& value,
                                                     TContext) override {
    return boost::make_shared<TInmemQualifier>(Self(), decl, value);
  }

  boost::shared_ptr<const ICIMQualifier> GetQualifier(const std::string& name, bool& found,
                                                      TContext) const override {
    return qualifiers.Lookup(name, found, Derived::kQualifierRules);
  }

  boost::shared_ptr<const ICIMQualifier> GetQualifier(const std::string& name,
                                                      TContext) const override {
    return qualifiers.Lookup(name, Derived::kQualifierRules);
  }

  void EnumerateQualifiers(const TQualifierCallback& callback, TContext) const override {
    qualifiers.Enumerate(callback);
  }

 protected:
  boost::shared_ptr<ICIMNamedElement> Self() {
    return static_cast<Derived*>(this)->shared_from_this();
  }

  TQualifierSet qualifiers;
};

#endif  // INMEM_SCHEMA_INMEM_NAMED_ELEMENT_H_
