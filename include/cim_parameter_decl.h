// ICIMParameterDecl: one parameter of a method: name, type and qualifiers
// (slots 0 to 6).

#ifndef INMEM_INCLUDE_CIM_PARAMETER_DECL_H_
#define INMEM_INCLUDE_CIM_PARAMETER_DECL_H_

#include <string>

#include <boost/shared_ptr.hpp>

#include "include/cim_named_element.h"

class ICIMMethodDecl;

class ICIMParameterDecl : public ICIMNamedElement {
 public:
  virtual void Validate(TContext context) const = 0;                                // 7
  // Enters the parameter into its method.
  virtual void AddToMethod(TContext context) = 0;                                   // 8
  virtual const std::string& GetName(TContext context) const = 0;                   // 9
  virtual boost::shared_ptr<ICIMMethodDecl> GetMethod(TContext context) const = 0;  // 10
  virtual TCIMValue::TCIMType GetType(TContext context) const = 0;                  // 11
  virtual bool IsArray(TContext context) const = 0;                                 // 12
  virtual bool operator==(const ICIMParameterDecl& other) const = 0;                // 13
  virtual bool operator<(const ICIMParameterDecl& other) const = 0;                 // 14
  virtual ICIMParameterDecl& operator=(const ICIMParameterDecl& other) = 0;         // 15
};

#endif  // INMEM_INCLUDE_CIM_PARAMETER_DECL_H_
