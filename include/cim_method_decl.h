// ICIMMethodDecl: one method of a class: name, return type, qualifiers
// (slots 0 to 6) and parameters.

#ifndef INMEM_INCLUDE_CIM_METHOD_DECL_H_
#define INMEM_INCLUDE_CIM_METHOD_DECL_H_

#include <string>

#include <boost/shared_ptr.hpp>

#include "include/cim_named_element.h"

class ICIMClass;
class ICIMParameterDecl;

class ICIMMethodDecl : public ICIMNamedElement {
 public:
  virtual void Validate(TContext context) const = 0;                               // 7
  // Enters the method into its class's method declarations.
  virtual void AddToClass(TContext context) = 0;                                   // 8
  virtual const std::string& GetName(TContext context) const = 0;                  // 9
  virtual boost::shared_ptr<ICIMClass> GetClass(TContext context) const = 0;       // 10
  virtual TCIMValue::TCIMType GetReturnType(TContext context) const = 0;           // 11
  // Creates a parameter of this method and enters it.
  virtual boost::shared_ptr<ICIMParameterDecl> DefineParameter(
      const std::string& name, TCIMValue::TCIMType type, TContext context) = 0;    // 12
  // The parameter of that name in any letter case, or an empty pointer.
  virtual boost::shared_ptr<ICIMParameterDecl> GetParameter(
      const std::string& name, TContext context) const = 0;                        // 13
  // Parameters in normalised-name order; false from the callback stops.
  virtual void EnumerateParameters(const TParameterDeclCallback& callback,
                                   TContext context) const = 0;                    // 14
  virtual bool operator==(const ICIMMethodDecl& other) const = 0;                  // 15
  virtual bool operator<(const ICIMMethodDecl& other) const = 0;                   // 16
  virtual ICIMMethodDecl& operator=(const ICIMMethodDecl& other) = 0;              // 17
};

#endif  // INMEM_INCLUDE_CIM_METHOD_DECL_H_
