// A core logger for tests: while it lives it is the core's logger and keeps
// every line written to it, so that tests can check exact texts and levels.

#ifndef INMEM_TESTS_SUPPORT_CAPTURING_LOGGER_H_
#define INMEM_TESTS_SUPPORT_CAPTURING_LOGGER_H_

#include <vector>

#include "core/log_capture.h"

typedef TLogCapture TCapturingLogger;
typedef std::vector<TLogCapture::TLine> TLines;

#endif  // INMEM_TESTS_SUPPORT_CAPTURING_LOGGER_H_
