// ICIMPropertyDecl: one property declaration of a class: its name, its
// owning class, a prototype value that carries the property's type,
// array-ness and default, and its qualifiers (slots 0 to 6).

#ifndef INMEM_INCLUDE_CIM_PROPERTY_DECL_H_
#define INMEM_INCLUDE_CIM_PROPERTY_DECL_H_

#include <string>

#include <boost/shared_ptr.hpp>

#include "include/cim_named_element.h"

class ICIMClass;

class ICIMPropertyDecl : public ICIMNamedElement {
 public:
  virtual void Validate(TContext context) const = 0;                          // 7
  // Enters the declaration into its class's property declarations.
  virtual void AddToClass(TContext context) = 0;                              // 8
  virtual void RemoveFromClass(TContext context) = 0;                         // 9
  virtual const std::string& GetName(TContext context) const = 0;             // 10
  virtual boost::shared_ptr<ICIMClass> GetClass(TContext context) const = 0;  // 11
  virtual TCIMValue::TCIMType GetType(TContext context) const = 0;            // 12
  virtual bool IsArray(TContext context) const = 0;                           // 13
  virtual const TCIMValue& GetDefaultValue(TContext context) const = 0;       // 14
  virtual void SetDefaultValue(const TCIMValue& value, TContext context) = 0; // 15
  virtual bool operator==(const ICIMPropertyDecl& other) const = 0;           // 16
  virtual bool operator<(const ICIMPropertyDecl& other) const = 0;            // 17
  virtual ICIMPropertyDecl& operator=(const ICIMPropertyDecl& other) = 0;     // 18
};

#endif  // INMEM_INCLUDE_CIM_PROPERTY_DECL_H_
