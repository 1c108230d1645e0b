// ICIMProperty: the value of one property in one instance (or of a class-level
// property): the current value, the previous value, and their display text.
// Slots 1 to 7 take the call context; the others take none.

#ifndef INMEM_INCLUDE_CIM_PROPERTY_H_
#define INMEM_INCLUDE_CIM_PROPERTY_H_

#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "core/context.h"

class ICIMPropertyDecl;

class ICIMProperty {
 public:
  virtual ~ICIMProperty() = default;                                           // 0
  virtual TCIMValue::TCIMType GetType(TContext context) const = 0;             // 1
  virtual bool IsArray(TContext context) const = 0;                            // 2
  virtual bool UsesDefaultValue(TContext context) const = 0;                   // 3
  virtual const TCIMValue& GetValue(TContext context) const = 0;               // 4
  virtual void SetValue(const TCIMValue& value, TContext context) = 0;         // 5
  virtual bool IsUnset(TContext context) const = 0;                            // 6
  virtual boost::shared_ptr<const ICIMPropertyDecl> GetDecl(TContext context) const = 0;  // 7
  virtual bool operator==(const ICIMProperty& other) const = 0;                // 8
  virtual bool operator<(const ICIMProperty& other) const = 0;                 // 9
  virtual ICIMProperty& operator=(const ICIMProperty& other) = 0;              // 10
  virtual const TCIMValue& GetPrevValue() const = 0;                           // 11
  virtual void ResetPrevValue() = 0;                                           // 12
  virtual void SetPrevValue(const TCIMValue& value) = 0;                       // 13
  virtual bool HasPrevValue() const = 0;                                       // 14
  virtual std::string GetDisplayValue() const = 0;                             // 15
  virtual std::string GetPrevDisplayValue() const = 0;                         // 16
  virtual std::vector<std::string> GetDisplayValues() const = 0;               // 17
};

#endif  // INMEM_INCLUDE_CIM_PROPERTY_H_
