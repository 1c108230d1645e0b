// The handler behind every BOOST_ASSERT of the system (the build defines
// BOOST_ENABLE_ASSERT_HANDLER for every target). A failed assertion is a
// programming fault: it is written to the core logger at level 0 and the
// process ends.

#include <cstdlib>
#include <string>

#include <boost/assert.hpp>

#include "core/root_object.h"

namespace {

[[noreturn]] void ReportAndAbort(const std::string& what, char const* function,
                                 char const* file, long line) {
  TRootObject::GetCoreLogger()->Log(
      0, "Assertion failed: " + what + " in " + function + " (" + file + ":" +
             std::to_string(line) + ")");
  std::abort();
}

}  // namespace

namespace boost {

void assertion_failed(char const* expr, char const* function, char const* file,
                      long line) {
  ReportAndAbort(expr, function, file, line);
}

void assertion_failed_msg(char const* expr, char const* msg, char const* function,
                          char const* file, long line) {
  ReportAndAbort(std::string(expr) + " (" + msg + ")", function, file, line);
}

}  // namespace boost
