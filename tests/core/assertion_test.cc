// Shared-pointer assertions reach the core's handler, which logs the failed
// expression at level 0 and ends the process.

#include <boost/assert.hpp>
#include <boost/shared_ptr.hpp>
#include <gtest/gtest.h>

namespace {

struct TThing {
  int value = 0;
};

int ReadThroughEmptyPointer() {
  boost::shared_ptr<TThing> empty;
  return empty->value;
}

TEST(AssertionDeathTest, DereferencingAnEmptySharedPointerEndsTheProcess) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_DEATH(ReadThroughEmptyPointer(), "tyl\\[0\\] Assertion failed: px != 0 in .*operator->");
}

TEST(AssertionDeathTest, AssertionsWithAMessageLogBoth) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_DEATH(BOOST_ASSERT_MSG(1 + 1 == 3, "arithmetic"),
               "Assertion failed: 1 \\+ 1 == 3 \\(arithmetic\\) in .*assertion_test.cc:[0-9]+");
}

}  // namespace
