// A core logger for tests: while it lives it is the core's logger and keeps
// every line written to it, so that tests can check exact texts and levels.

#ifndef INMEM_TESTS_SUPPORT_CAPTURING_LOGGER_H_
#define INMEM_TESTS_SUPPORT_CAPTURING_LOGGER_H_

#include <string>
#include <utility>
#include <vector>

#include "core/root_object.h"

class TCapturingLogger : public ILogger {
 public:
  typedef std::pair<int, std::string> TLine;

  TCapturingLogger() : previous_(TRootObject::GetCoreLogger()) {
    TRootObject::SetCoreLogger(this);
  }
  ~TCapturingLogger() override { TRootObject::SetCoreLogger(previous_); }
  TCapturingLogger(const TCapturingLogger&) = delete;
  TCapturingLogger& operator=(const TCapturingLogger&) = delete;

  void Log(int level, const std::string& text) override { lines_.emplace_back(level, text); }

  const std::vector<TLine>& Lines() const { return lines_; }
  void Clear() { lines_.clear(); }

 private:
  ILogger* previous_;
  std::vector<TLine> lines_;
};

typedef std::vector<TCapturingLogger::TLine> TLines;

#endif  // INMEM_TESTS_SUPPORT_CAPTURING_LOGGER_H_
