// ICIMElement: the base of every element that can check itself.

#ifndef INMEM_INCLUDE_CIM_ELEMENT_H_
#define INMEM_INCLUDE_CIM_ELEMENT_H_

#include "core/context.h"

class ICIMElement {
 public:
  virtual ~ICIMElement() = default;                      // slot 0
  // Checks the element; throws TTYLException on the first fault.
  virtual void Validate(TContext context) const = 0;     // slot 1
};

#endif  // INMEM_INCLUDE_CIM_ELEMENT_H_
