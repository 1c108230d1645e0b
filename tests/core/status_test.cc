#include <gtest/gtest.h>

#include "core/status_code.h"
#include "core/tyl_exception.h"
#include "tests/support/capturing_logger.h"

namespace {

TEST(StatusTest, CodesHaveANameAndAText) {
  struct Row {
    int code;
    const char* name;
    const char* text;
  };
  const Row rows[] = {
      {15, "NOT_FOUND", "not found"},
      {31, "UNDERLYING_NAMESPACE_NOT_SUPPORTED", "underlying namespaces are not supported"},
      {99, "UNKNOWN", "unknown status code"},
  };
  for (const Row& row : rows) {
    TTYLStatusCode status(static_cast<ETYLStatusCode>(row.code));
    EXPECT_EQ(status.GetStatusName(), row.name) << row.code;
    EXPECT_EQ(status.TranslateStatusCode(), row.text) << row.code;
    EXPECT_STREQ(TTYLException(status).what(), row.text) << row.code;
  }
}

TEST(StatusTest, ThrowLoggedWritesTheTextThenThrowsOnlyTheStatus) {
  TCapturingLogger log;
  try {
    ThrowLogged(3, "Inmem: Class X has no keys", kStatusNoKeys);
    FAIL() << "did not throw";
  } catch (const TTYLException& e) {
    EXPECT_EQ(e.GetStatusCode(), kStatusNoKeys);
    EXPECT_STREQ(e.what(), "class has no key property");  // not the logged text
  }
  EXPECT_EQ(log.Lines(), TLines({{3, "Inmem: Class X has no keys"}}));
}

}  // namespace
