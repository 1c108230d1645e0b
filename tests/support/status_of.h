// StatusOf: runs `f` and returns the status of the TTYLException it throws,
// or kStatusOk when it throws none. OutcomeOf also keeps the lines that `f`
// logged, for tests that check a refusal's status and exact log together.

#ifndef INMEM_TESTS_SUPPORT_STATUS_OF_H_
#define INMEM_TESTS_SUPPORT_STATUS_OF_H_

#include <ostream>
#include <string>

#include "core/tyl_exception.h"
#include "tests/support/capturing_logger.h"

template <typename F>
ETYLStatusCode StatusOf(F f) {
  try {
    f();
  } catch (const TTYLException& e) {
    return e.GetStatusCode();
  }
  return kStatusOk;
}

struct TOutcome {
  ETYLStatusCode status;
  TLines lines;

  bool operator==(const TOutcome& other) const {
    return status == other.status && lines == other.lines;
  }
  // Whether exactly one line was logged and it contains `text`.
  bool LoggedOnce(const std::string& text) const {
    return lines.size() == 1 && lines[0].second.find(text) != std::string::npos;
  }
};

inline std::ostream& operator<<(std::ostream& out, const TOutcome& outcome) {
  out << "status " << outcome.status;
  for (const auto& line : outcome.lines) out << "; logged [" << line.first << "] " << line.second;
  return out;
}

template <typename F>
TOutcome OutcomeOf(F f) {
  TCapturingLogger log;
  ETYLStatusCode status = StatusOf(f);
  return {status, log.Lines()};
}

// Success with nothing logged.
const TOutcome kQuietSuccess{kStatusOk, {}};

// A refusal: `status`, with the one line the repository logs at level 3.
inline TOutcome Refusal(ETYLStatusCode status, const std::string& line) {
  return {status, {{3, line}}};
}

#endif  // INMEM_TESTS_SUPPORT_STATUS_OF_H_
