// ICIMQualifierDecl: a namespace-level qualifier declaration: its name, its
// default value (which also fixes its type and array-ness), the element kinds
// it may be applied to (scope) and its default flavor.

#ifndef INMEM_INCLUDE_CIM_QUALIFIER_DECL_H_
#define INMEM_INCLUDE_CIM_QUALIFIER_DECL_H_

#include <cstdint>
#include <string>

#include <boost/shared_ptr.hpp>

#include "core/context.h"

class ICIMNamespace;

class ICIMQualifierDecl {
 public:
  // Element kinds a qualifier may be applied to (bit set).
  enum EScope {
    kScopeNone = 0,
    kScopeClass = 1,
    kScopeAssociation = 2,
    kScopeIndication = 4,
    kScopeProperty = 8,
    kScopeReference = 16,
    kScopeMethod = 32,
    kScopeParameter = 64,
    kScopeQualifier = 128,
    kScopeAny = 255,
  };
  // Flavor bits. The repository interprets kFlavorEnableOverride (a later
  // qualifier of the same name may replace this one) and kFlavorToSubclass
  // (copied into subclasses); the others are kept and reported.
  enum EFlavor {
    kFlavorNone = 0,
    kFlavorEnableOverride = 1,
    kFlavorToSubclass = 2,
    kFlavorTranslatable = 4,
    kFlavorToInstance = 8,
    kFlavorRestricted = 16,
    kFlavorDisableOverride = 32,
  };

  virtual ~ICIMQualifierDecl() = default;                                   // 0
  virtual void Validate(TContext context) const = 0;                        // 1
  virtual void AddToNamespace(TContext context) = 0;                        // 2
  virtual void RemoveFromNamespace(TContext context) = 0;                   // 3
  virtual const std::string& GetName(TContext context) const = 0;           // 4
  virtual boost::shared_ptr<ICIMNamespace> GetNamespace(TContext context) const = 0;  // 5
  virtual TCIMValue::TCIMType GetType(TContext context) const = 0;          // 6
  virtual bool IsArray(TContext context) const = 0;                         // 7
  virtual const TCIMValue& GetValue(TContext context) const = 0;            // 8
  virtual void SetValue(const TCIMValue& value, TContext context) = 0;      // 9
  virtual uint32_t GetScope(TContext context) const = 0;                    // 10
  virtual void AddFlavor(uint32_t bits, TContext context) = 0;              // 11
  virtual void RemoveFlavor(uint32_t bits, TContext context) = 0;           // 12
  virtual uint32_t GetFlavor(TContext context) const = 0;                   // 13
  virtual bool operator==(const ICIMQualifierDecl& other) const = 0;        // 14
  virtual bool operator<(const ICIMQualifierDecl& other) const = 0;         // 15
  virtual ICIMQualifierDecl& operator=(const ICIMQualifierDecl& other) = 0; // 16
};

#endif  // INMEM_INCLUDE_CIM_QUALIFIER_DECL_H_
