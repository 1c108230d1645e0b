// The cache states of the machine's processors, written by the host and read
// when instances of the processor classes are enumerated: 0 disabled,
// 1 enabled, anything else (initially -1) unknown, which changes nothing.

#ifndef INMEM_INCLUDE_PROCESSOR_CACHE_STATE_H_
#define INMEM_INCLUDE_PROCESSOR_CACHE_STATE_H_

#include <cstdint>
#include <string_view>

extern "C" {
extern int32_t g_L1Enabled;
extern int32_t g_L2Enabled;
extern int32_t g_L3Enabled;
}

// Whether the instances of the class named `className` (exactly; a
// subclass is not one) are corrected when enumerated. Enumerating them
// changes them only when the states or their values have changed since
// the last enumeration, so a host that runs enumerations side by side
// enumerates them once on its own after such a change. Inline: hosts that
// load the repository as a plug-in know the rule without linking it.
inline bool CorrectsProcessorCaches(std::string_view className) {
  return className == "PELXA_CPU" || className == "PELXA_Processor";
}

#endif  // INMEM_INCLUDE_PROCESSOR_CACHE_STATE_H_
