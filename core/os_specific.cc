#include "core/os_specific.h"

#include <sys/time.h>
#include <time.h>

TCIMDateTime TOSSpecific::GetLocalTime() {
  struct timeval now;
  gettimeofday(&now, nullptr);
  struct tm local;
  localtime_r(&now.tv_sec, &local);
  return TCIMDateTime::Timestamp(
      static_cast<unsigned>(local.tm_year + 1900), static_cast<unsigned>(local.tm_mon + 1),
      static_cast<unsigned>(local.tm_mday), static_cast<unsigned>(local.tm_hour),
      static_cast<unsigned>(local.tm_min),
      // A leap second (60) is shown as the last second of its minute.
      static_cast<unsigned>(local.tm_sec > 59 ? 59 : local.tm_sec),
      static_cast<unsigned>(now.tv_usec), static_cast<int>(local.tm_gmtoff / 60));
}
