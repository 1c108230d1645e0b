// TLogCapture: while it lives, the core's logger on the thread that made it
// is this object, which keeps every line written to it and passes none on.
// Other threads log as before, so each of several threads may capture its
// own operation's lines at once.
//
// A host wraps one operation in a capture when it reports that operation's
// failure itself: the lines the repository logged on the way (the reason of
// a refusal, which the exception does not carry) then become part of the
// host's own report instead of reaching the user separately. Captures nest:
// the previous logger is put back when the capture goes, which must be on
// the thread that made it.

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
