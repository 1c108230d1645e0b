#include "core/logger.h"

#include <cstdlib>

#include <gtest/gtest.h>

#include "core/root_object.h"
#include "tests/support/capturing_logger.h"

namespace {

TEST(LoggerTest, StderrLoggerWritesLinesUpToItsLevel) {
  TStderrLogger logger(2);
  testing::internal::CaptureStderr();
  logger.Log(0, "zero");
  logger.Log(2, "two");
  logger.Log(3, "three");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "tyl[0] zero\ntyl[2] two\n");
}

TEST(LoggerTest, LevelComesFromTheEnvironment) {
  const std::pair<const char*, int> rows[] = {{nullptr, 0}, {"", 0}, {"3", 3}, {"-1", -1}, {"2x", 0}};
  for (const auto& row : rows) {
    row.first ? setenv("TYL_LOG_LEVEL", row.first, 1) : unsetenv("TYL_LOG_LEVEL");
    EXPECT_EQ(TStderrLogger().GetMaxLevel(), row.second) << (row.first ? row.first : "unset");
  }
  unsetenv("TYL_LOG_LEVEL");
}

TEST(LoggerTest, AnInstalledLoggerReceivesCoreLinesUntilRemoved) {
  ILogger* standard = TRootObject::GetCoreLogger();
  { TCapturingLogger log; }  // every test that reads a captured line shows it was installed
  EXPECT_EQ(TRootObject::GetCoreLogger(), standard);
  TRootObject::SetCoreLogger(nullptr);  // nullptr means the core's own logger
  EXPECT_EQ(TRootObject::GetCoreLogger(), standard);
}

}  // namespace
