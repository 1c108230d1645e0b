#include "core/logger.h"

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

int LevelFromEnvironment() {
  const char* text = std::getenv("TYL_LOG_LEVEL");
  if (text == nullptr || *text == '\0') return 0;
  char* end = nullptr;
  long level = std::strtol(text, &end, 10);
  if (*end != '\0') return 0;
  return static_cast<int>(level);
}

}  // namespace

TStderrLogger::TStderrLogger() : maxLevel_(LevelFromEnvironment()) {}

void TStderrLogger::Log(int level, const std::string& text) {
  if (level > maxLevel_) return;
  // One write per line so that lines from several processes do not mix.
  std::string line = "tyl[" + std::to_string(level) + "] " + text + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
  std::fflush(stderr);
}
