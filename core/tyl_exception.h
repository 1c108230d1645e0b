// TTYLException: the one exception type of the system.
//
// It carries a status code and nothing else: what() is the translated text of
// that code. Where a failure has a message of its own, the message is written
// to the core logger just before the throw (ThrowLogged below), never stored
// in the exception.

#ifndef INMEM_CORE_TYL_EXCEPTION_H_
#define INMEM_CORE_TYL_EXCEPTION_H_

#include <exception>
#include <string>

#include "core/status_code.h"

class TTYLException : public std::exception {
 public:
  explicit TTYLException(const TTYLStatusCode& status) : status_(status) {}
  explicit TTYLException(ETYLStatusCode code) : status_(code) {}

  const char* what() const noexcept override;

  const TTYLStatusCode& GetStatus() const { return status_; }
  ETYLStatusCode GetStatusCode() const { return status_.GetStatusCode(); }

 private:
  TTYLStatusCode status_;
};

// The system's failure pattern in one place: writes `text` to the core logger
// at `level`, then throws TTYLException(code).
[[noreturn]] void ThrowLogged(int level, const std::string& text,
                              ETYLStatusCode code);

#endif  // INMEM_CORE_TYL_EXCEPTION_H_
