// The cache states of the machine's processors, written by the host and read
// when instances of the processor classes are enumerated: 0 disabled,
// 1 enabled, anything else (initially -1) unknown, which changes nothing.

#ifndef INMEM_INCLUDE_PROCESSOR_CACHE_STATE_H_
#define INMEM_INCLUDE_PROCESSOR_CACHE_STATE_H_

#include <cstdint>

extern "C" {
extern int32_t g_L1Enabled;
extern int32_t g_L2Enabled;
extern int32_t g_L3Enabled;
}

#endif  // INMEM_INCLUDE_PROCESSOR_CACHE_STATE_H_
