// ICIMQualifier: one use of a qualifier declaration on an element, with its
// own value and flavor bits, and whether it was taken over unchanged from a
// base element (propagated).

#ifndef INMEM_INCLUDE_CIM_QUALIFIER_H_
#define INMEM_INCLUDE_CIM_QUALIFIER_H_

#include <cstdint>
#include <string>

#include <boost/shared_ptr.hpp>

#include "core/context.h"

class ICIMNamedElement;
class ICIMQualifierDecl;

class ICIMQualifier {
 public:
  virtual ~ICIMQualifier() = default;                                          // 0
  virtual void Validate(TContext context) const = 0;                           // 1
  // Hands the qualifier to its owner's AddQualifier.
  virtual void AddToNamespace(TContext context) = 0;                           // 2
  virtual void RemoveFromNamespace(TContext context) = 0;                      // 3
  // The declaration's name.
  virtual const std::string& GetName(TContext context) const = 0;              // 4
  virtual boost::shared_ptr<ICIMNamedElement> GetOwner(TContext context) const = 0;  // 5
  virtual TCIMValue::TCIMType GetType(TContext context) const = 0;             // 6
  virtual bool IsArray(TContext context) const = 0;                            // 7
  virtual boost::shared_ptr<ICIMQualifierDecl> GetDecl(TContext context) const = 0;  // 8
  virtual const TCIMValue& GetValue(TContext context) const = 0;               // 9
  virtual void SetValue(const TCIMValue& value, TContext context) = 0;         // 10
  virtual void AddFlavor(uint32_t bits, TContext context) = 0;                 // 11
  virtual void RemoveFlavor(uint32_t bits, TContext context) = 0;              // 12
  virtual uint32_t GetFlavor(TContext context) const = 0;                      // 13
  virtual bool operator==(const ICIMQualifier& other) const = 0;               // 14
  virtual bool operator<(const ICIMQualifier& other) const = 0;                // 15
  virtual bool IsPropagated(TContext context) const = 0;                       // 16
  virtual ICIMQualifier& operator=(const ICIMQualifier& other) = 0;            // 17
};

#endif  // INMEM_INCLUDE_CIM_QUALIFIER_H_
