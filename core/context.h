// TContext: the call context that nearly every interface operation takes as
// its last argument, by value. Keys are free text; the only key the system
// reads is "ProvNSP", the namespace name written into instance paths.

#ifndef INMEM_CORE_CONTEXT_H_
#define INMEM_CORE_CONTEXT_H_

#include <map>
#include <string>

#include "core/cim_value.h"

typedef std::map<std::string, TCIMValue> TContext;

#endif  // INMEM_CORE_CONTEXT_H_
