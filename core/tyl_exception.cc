#include "core/tyl_exception.h"

#include "core/root_object.h"

const char* TTYLException::what() const noexcept {
  return status_.TranslateStatusCode().c_str();
}

void ThrowLogged(int level, const std::string& text, ETYLStatusCode code) {
  TRootObject::GetCoreLogger()->Log(level, text);
  throw TTYLException(code);
}
