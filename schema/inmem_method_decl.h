// TInmemMethodDecl: one method of a class: name, return type, qualifiers and
// parameters (keyed by normalised name; a second parameter of the same
// normalised name is refused with status 16).
//
// Qualifier lookups: the found-flag variant is not offered (status 1); the
// plain one returns an empty pointer for an absent qualifier.

#ifndef INMEM_SCHEMA_INMEM_METHOD_DECL_H_
#define INMEM_SCHEMA_INMEM_METHOD_DECL_H_

#include <map>
#include <string>

#include <boost/enable_shared_from_this.hpp>
#include <boost/weak_ptr.hpp>

#include "include/cim_method_decl.h"
#include "schema/inmem_named_element.h"

class TInmemClass;
class TInmemParameterDecl;

class TInmemMethodDecl : public TInmemNamedElement<ICIMMethodDecl, TInmemMethodDecl>,
                         public boost::enable_shared_from_this<TInmemMethodDecl> {
 public:
  static const TQualifierRules kQualifierRules;

  TInmemMethodDecl(const boost::shared_ptr<TInmemClass>& owner, const std::string& name,
                   TCIMValue::TCIMType returnType);

  void Validate(TContext) const override {}
  // Enters the method into its class (AddMethod); nothing when the class is gone.
  void AddToClass(TContext context) override;
  const std::string& GetName(TContext) const override { return name; }
  boost::shared_ptr<ICIMClass> GetClass(TContext context) const override;
  TCIMValue::TCIMType GetReturnType(TContext) const override { return returnType; }
  boost::shared_ptr<ICIMParameterDecl> DefineParameter(const std::string& name,
                                                       TCIMValue::TCIMType type,
                                                       TContext context) override;
  boost::shared_ptr<ICIMParameterDecl> GetParameter(const std::string& name,
                                                    TContext context) const override;
  void EnumerateParameters(const TParameterDeclCallback& callback,
                           TContext context) const override;
  bool operator==(const ICIMMethodDecl& other) const override;
  bool operator<(const ICIMMethodDecl& other) const override;
  ICIMMethodDecl& operator=(const ICIMMethodDecl&) override { return *this; }

  // Enters a parameter; only the parameter's AddToMethod calls it.
  void AddParameter(const boost::shared_ptr<TInmemParameterDecl>& parameter);

 private:
  std::map<std::string, boost::shared_ptr<TInmemParameterDecl>> parameters;
  std::string name;
  TCIMValue::TCIMType returnType;
  boost::weak_ptr<TInmemClass> owner;
};

#endif  // INMEM_SCHEMA_INMEM_METHOD_DECL_H_
