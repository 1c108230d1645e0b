// TCIMDateTime: a CIM datetime, either a timestamp or a time interval.
//
// Text form (25 characters, the form CIM writes):
//   timestamp  yyyymmddhhmmss.mmmmmmsutc   s is '+' or '-', utc the offset
//                                          from UTC in minutes (3 digits)
//   interval   ddddddddhhmmss.mmmmmm:000
// Invariant: every field is within its range (month 1-12, day 1-31, hours
// 0-23, minutes and seconds 0-59, microseconds 0-999999, interval days at
// most 99999999, offset -999 to 999 minutes). Default construction gives the
// zero interval.

#ifndef INMEM_CORE_CIM_DATE_TIME_H_
#define INMEM_CORE_CIM_DATE_TIME_H_

#include <cstdint>
#include <string>

class TCIMDateTime {
 public:
  TCIMDateTime() = default;

  // Makes this an interval. Fields out of range throw
  // TTYLException(kStatusInvalidParameter).
  void Set(uint32_t days, uint16_t hours, uint16_t minutes, uint16_t seconds,
           uint32_t microseconds);

  // A timestamp; fields out of range throw kStatusInvalidParameter.
  static TCIMDateTime Timestamp(unsigned year, unsigned month, unsigned day,
                                unsigned hour, unsigned minute, unsigned second,
                                unsigned microsecond, int utcOffsetMinutes);

  // Reads the 25-character text. Anything else logs what is wrong at level 3
  // and throws TTYLException(kStatusInvalidParameter).
  static TCIMDateTime Parse(const std::string& text);
  // The same without a log line: false, with the reason in *error.
  static bool TryParse(const std::string& text, TCIMDateTime* out, std::string* error);

  // The 25-character text.
  std::string ToString() const;

  // For people. An interval as words with zero parts left out:
  // "1 day, 1 hour, 1 minute, 1 second", "2 days, 3 seconds", "0 seconds",
  // "1.5 seconds". A timestamp as "2026-11-22 10:15:30" (local to its own
  // offset; fractions and offset are not shown).
  std::string ToUIString() const;

  bool IsInterval() const { return interval_; }
  // Interval fields (zero for a timestamp's days).
  uint32_t GetDays() const { return interval_ ? dayCount_ : 0; }
  // Timestamp fields (zero for an interval's date).
  unsigned GetYear() const { return interval_ ? 0 : dayCount_; }
  unsigned GetMonth() const { return month_; }
  unsigned GetDay() const { return day_; }
  // Shared fields.
  unsigned GetHours() const { return hours_; }
  unsigned GetMinutes() const { return minutes_; }
  unsigned GetSeconds() const { return seconds_; }
  uint32_t GetMicroseconds() const { return microseconds_; }
  int GetUtcOffsetMinutes() const { return utcOffset_; }

  friend bool operator==(const TCIMDateTime& a, const TCIMDateTime& b);
  // Intervals before timestamps; then field by field (a timestamp's fields
  // are compared as written, not converted to UTC).
  friend bool operator<(const TCIMDateTime& a, const TCIMDateTime& b);

 private:
  // Interval: the day count. Timestamp: the year.
  uint32_t dayCount_ = 0;
  uint32_t microseconds_ = 0;
  int16_t utcOffset_ = 0;
  uint8_t month_ = 0;
  uint8_t day_ = 0;
  uint8_t hours_ = 0;
  uint8_t minutes_ = 0;
  uint8_t seconds_ = 0;
  bool interval_ = true;
};

inline bool operator!=(const TCIMDateTime& a, const TCIMDateTime& b) { return !(a == b); }

#endif  // INMEM_CORE_CIM_DATE_TIME_H_
