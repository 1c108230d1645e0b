// How the repository reports a refused operation: the reason goes to the core
// logger at level 3, then a TTYLException carrying only the status is thrown.
// Instance validation reports at level 0 (kValidationLogLevel).

#ifndef INMEM_NAMESPACE_REFUSAL_H_
#define INMEM_NAMESPACE_REFUSAL_H_

#include <string>

#include "core/root_object.h"
#include "core/tyl_exception.h"

constexpr int kRefusalLogLevel = 3;
constexpr int kValidationLogLevel = 0;

// The first half of a refusal: the reason, logged, with no exception.
inline void LogRefusal(const std::string& text) {
  TRootObject::GetCoreLogger()->Log(kRefusalLogLevel, text);
}

[[noreturn]] inline void ThrowRefusal(const std::string& text, ETYLStatusCode code) {
  ThrowLogged(kRefusalLogLevel, text, code);
}

#endif  // INMEM_NAMESPACE_REFUSAL_H_
