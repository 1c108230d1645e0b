// TLogCapture: while it lives, the core's logger is this object, which keeps
// every line written to it and passes none on.
//
// A host wraps one operation in a capture when it reports that operation's
// failure itself: the lines the repository logged on the way (the reason of
// a refusal, which the exception does not carry) then become part of the
// host's own report instead of reaching the user separately. Captures nest:
// the previous logger is put back when the capture goes.

#ifndef INMEM_CORE_LOG_CAPTURE_H_
#define INMEM_CORE_LOG_CAPTURE_H_

#include <string>
#include <utility>
#include <vector>

#include "core/logger.h"

class TLogCapture : public ILogger {
 public:
  typedef std::pair<int, std::string> TLine;  // level, text

  TLogCapture();
  ~TLogCapture() override;
  TLogCapture(const TLogCapture&) = delete;
  TLogCapture& operator=(const TLogCapture&) = delete;

  void Log(int level, const std::string& text) override;

  const std::vector<TLine>& Lines() const { return lines_; }
  void Clear() { lines_.clear(); }

 private:
  ILogger* previous_;
  std::vector<TLine> lines_;
};

#endif  // INMEM_CORE_LOG_CAPTURE_H_
