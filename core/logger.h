// ILogger: where every part of the system writes its log lines.
//
// Levels: 0 is the most important (fatal faults, invalid data that was
// refused), higher numbers carry more detail; the repository writes its
// refusals at 3. The core's default logger (TStderrLogger) writes each line
// whose level is at most its threshold to standard error; the threshold comes
// from the environment variable TYL_LOG_LEVEL and is 0 when that is unset or
// not a number.

#ifndef INMEM_CORE_LOGGER_H_
#define INMEM_CORE_LOGGER_H_

#include <string>

class ILogger {
 public:
  virtual ~ILogger() = default;
  virtual void Log(int level, const std::string& text) = 0;
};

class TStderrLogger : public ILogger {
 public:
  // Reads TYL_LOG_LEVEL once, here.
  TStderrLogger();
  explicit TStderrLogger(int maxLevel) : maxLevel_(maxLevel) {}

  void Log(int level, const std::string& text) override;
  int GetMaxLevel() const { return maxLevel_; }

 private:
  int maxLevel_;
};

#endif  // INMEM_CORE_LOGGER_H_
