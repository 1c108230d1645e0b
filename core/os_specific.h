// TOSSpecific: what the core needs of the operating system.

#ifndef INMEM_CORE_OS_SPECIFIC_H_
#define INMEM_CORE_OS_SPECIFIC_H_

#include "core/cim_date_time.h"

class TOSSpecific {
 public:
  // Now, as a timestamp with microseconds and the local UTC offset.
  static TCIMDateTime GetLocalTime();
};

#endif  // INMEM_CORE_OS_SPECIFIC_H_
