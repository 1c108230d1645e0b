#include "core/refusal_reason.h"

#include "core/printable_text.h"

std::string RefusalReason(const TLogCapture& capture, const TTYLException& e) {
  std::string reason;
  for (const TLogCapture::TLine& line : capture.Lines()) {
    reason += (reason.empty() ? "" : "; ") + Printable(line.second);
  }
  return reason.empty() ? e.what() : reason;
}
