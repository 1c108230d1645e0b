// ICIMNamedElement: the base of every element that carries qualifiers
// (classes, and property, method and parameter declarations).
//
// Qualifier names are compared after normalisation (lower case). The rules
// for adding a qualifier over one of the same name are each element's own.

#ifndef INMEM_INCLUDE_CIM_NAMED_ELEMENT_H_
#define INMEM_INCLUDE_CIM_NAMED_ELEMENT_H_

#include <cstdint>
#include <string>

#include <boost/shared_ptr.hpp>

#include "core/context.h"
#include "include/callbacks.h"

class ICIMQualifier;
class ICIMQualifierDecl;

class ICIMNamedElement {
 public:
  virtual ~ICIMNamedElement() = default;  // slot 0

  // Slot 1: enters a qualifier made by AllocateQualifier.
  virtual void AddQualifier(boost::shared_ptr<ICIMQualifier> qualifier,
                            TContext context) = 0;
  // Slot 2: a new qualifier of this element for `decl` with its own value and
  // flavor bits; not yet entered.
  virtual boost::shared_ptr<ICIMQualifier> AllocateQualifier(
      boost::shared_ptr<ICIMQualifierDecl> decl, const TCIMValue& value,
      uint32_t flavor, TContext context) = 0;
  // Slot 3: the same with the declaration's own flavor.
  virtual boost::shared_ptr<ICIMQualifier> AllocateQualifier(
      boost::shared_ptr<ICIMQualifierDecl> decl, const TCIMValue& value,
      TContext context) = 0;
  // Slot 4: looks a qualifier up, reporting through `found`.
  virtual boost::shared_ptr<const ICIMQualifier> GetQualifier(
      const std::string& name, bool& found, TContext context) const = 0;
  // Slot 5: looks a qualifier up; absence is each element's own rule.
  virtual boost::shared_ptr<const ICIMQualifier> GetQualifier(
      const std::string& name, TContext context) const = 0;
  // Slot 6: every qualifier in normalised-name order.
  virtual void EnumerateQualifiers(const TQualifierCallback& callback,
                                   TContext context) const = 0;
};

#endif  // INMEM_INCLUDE_CIM_NAMED_ELEMENT_H_
