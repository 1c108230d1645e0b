#include <gtest/gtest.h>

#include "core/status_code.h"
#include "core/tyl_exception.h"

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

}  // namespace
