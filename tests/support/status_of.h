// StatusOf: runs `f` and returns the status of the TTYLException it throws,
// or kStatusOk when it throws none.

#ifndef INMEM_TESTS_SUPPORT_STATUS_OF_H_
#define INMEM_TESTS_SUPPORT_STATUS_OF_H_

#include "core/tyl_exception.h"

template <typename F>
ETYLStatusCode StatusOf(F f) {
  try {
    f();
  } catch (const TTYLException& e) {
    return e.GetStatusCode();
  }
  return kStatusOk;
}

#endif  // INMEM_TESTS_SUPPORT_STATUS_OF_H_
