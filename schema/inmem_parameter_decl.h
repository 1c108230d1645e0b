// TInmemParameterDecl: one parameter of a method: name, type (with its array
// flag) and qualifiers, under the same qualifier rules as methods.

#ifndef INMEM_SCHEMA_INMEM_PARAMETER_DECL_H_
#define INMEM_SCHEMA_INMEM_PARAMETER_DECL_H_

#include <string>

#include <boost/enable_shared_from_this.hpp>
#include <boost/weak_ptr.hpp>

#include "include/cim_parameter_decl.h"
#include "schema/inmem_named_element.h"

class TInmemMethodDecl;

class TInmemParameterDecl
    : public TInmemNamedElement<ICIMParameterDecl, TInmemParameterDecl>,
      public boost::enable_shared_from_this<TInmemParameterDecl> {
 public:
  static const TQualifierRules kQualifierRules;

  TInmemParameterDecl(const boost::shared_ptr<TInmemMethodDecl>& method,
                      const std::string& name, TCIMValue::TCIMType type);

  void Validate(TContext) const override {}
  // Enters the parameter into its method (status 16 for a name taken).
  void AddToMethod(TContext context) override;
  const std::string& GetName(TContext) const override { return name; }
  boost::shared_ptr<ICIMMethodDecl> GetMethod(TContext context) const override;
  TCIMValue::TCIMType GetType(TContext) const override { return type; }
  bool IsArray(TContext) const override { return value.IsArray(); }
  bool operator==(const ICIMParameterDecl& other) const override;
  bool operator<(const ICIMParameterDecl& other) const override;
  ICIMParameterDecl& operator=(const ICIMParameterDecl&) override { return *this; }

 private:
  boost::weak_ptr<TInmemMethodDecl> method;
  std::string name;
  TCIMValue value;  // a null of the parameter's type
  TCIMValue::TCIMType type;
};

#endif  // INMEM_SCHEMA_INMEM_PARAMETER_DECL_H_
