#include "core/cim_date_time.h"

#include <cstdio>
#include <tuple>

#include "core/printable_text.h"
#include "core/tyl_exception.h"

namespace {

constexpr int kDiagnosticLevel = 3;

[[noreturn]] void RejectFields(const std::string& why) {
  ThrowLogged(kDiagnosticLevel, "TYL: invalid CIM datetime fields: " + why,
              kStatusInvalidParameter);
}

// Reads text[pos, pos+count) as decimal digits; false if any is not a digit.
bool ReadDigits(const std::string& text, size_t pos, size_t count, uint32_t* out) {
  uint32_t value = 0;
  for (size_t i = pos; i < pos + count; ++i) {
    if (text[i] < '0' || text[i] > '9') return false;
    value = value * 10 + static_cast<uint32_t>(text[i] - '0');
  }
  *out = value;
  return true;
}

// Why these fields make no time of day, or "" when they do.
std::string TimeOfDayProblem(unsigned hours, unsigned minutes, unsigned seconds,
                             unsigned microseconds) {
  if (hours > 23) return "hours " + std::to_string(hours) + " > 23";
  if (minutes > 59) return "minutes " + std::to_string(minutes) + " > 59";
  if (seconds > 59) return "seconds " + std::to_string(seconds) + " > 59";
  if (microseconds > 999999) return "microseconds " + std::to_string(microseconds) + " > 999999";
  return std::string();
}

std::string IntervalProblem(uint32_t days, unsigned hours, unsigned minutes, unsigned seconds,
                            unsigned microseconds) {
  if (days > 99999999) return "days " + std::to_string(days) + " > 99999999";
  return TimeOfDayProblem(hours, minutes, seconds, microseconds);
}

std::string TimestampProblem(unsigned year, unsigned month, unsigned day, unsigned hour,
                             unsigned minute, unsigned second, unsigned microsecond,
                             int utcOffsetMinutes) {
  if (year > 9999) return "year " + std::to_string(year) + " > 9999";
  if (month < 1 || month > 12) return "month " + std::to_string(month);
  if (day < 1 || day > 31) return "day " + std::to_string(day);
  if (utcOffsetMinutes < -999 || utcOffsetMinutes > 999) {
    return "UTC offset " + std::to_string(utcOffsetMinutes) + " minutes";
  }
  return TimeOfDayProblem(hour, minute, second, microsecond);
}

void AppendCount(std::string* out, uint64_t count, const char* unit) {
  if (!out->empty()) *out += ", ";
  *out += std::to_string(count) + " " + unit;
  if (count != 1) *out += "s";
}

}  // namespace

void TCIMDateTime::Set(uint32_t days, uint16_t hours, uint16_t minutes,
                       uint16_t seconds, uint32_t microseconds) {
  std::string problem = IntervalProblem(days, hours, minutes, seconds, microseconds);
  if (!problem.empty()) RejectFields(problem);
  *this = TCIMDateTime();
  dayCount_ = days;
  hours_ = static_cast<uint8_t>(hours);
  minutes_ = static_cast<uint8_t>(minutes);
  seconds_ = static_cast<uint8_t>(seconds);
  microseconds_ = microseconds;
}

TCIMDateTime TCIMDateTime::Timestamp(unsigned year, unsigned month, unsigned day,
                                     unsigned hour, unsigned minute, unsigned second,
                                     unsigned microsecond, int utcOffsetMinutes) {
  std::string problem =
      TimestampProblem(year, month, day, hour, minute, second, microsecond, utcOffsetMinutes);
  if (!problem.empty()) RejectFields(problem);
  TCIMDateTime result;
  result.interval_ = false;
  result.dayCount_ = year;
  result.month_ = static_cast<uint8_t>(month);
  result.day_ = static_cast<uint8_t>(day);
  result.hours_ = static_cast<uint8_t>(hour);
  result.minutes_ = static_cast<uint8_t>(minute);
  result.seconds_ = static_cast<uint8_t>(second);
  result.microseconds_ = microsecond;
  result.utcOffset_ = static_cast<int16_t>(utcOffsetMinutes);
  return result;
}

bool TCIMDateTime::TryParse(const std::string& text, TCIMDateTime* out, std::string* error) {
  auto reject = [error](const std::string& why) {
    *error = why;
    return false;
  };
  if (text.size() != 25) {
    return reject("expected 25 characters, found " + std::to_string(text.size()));
  }
  if (text[14] != '.') return reject("expected '.' at position 15");
  uint32_t head = 0, hours = 0, minutes = 0, seconds = 0, micros = 0, tail = 0;
  bool interval = text[21] == ':';
  if (!interval && text[21] != '+' && text[21] != '-') {
    return reject("expected '+', '-' or ':' at position 22");
  }
  if (!ReadDigits(text, 8, 2, &hours) || !ReadDigits(text, 10, 2, &minutes) ||
      !ReadDigits(text, 12, 2, &seconds) || !ReadDigits(text, 15, 6, &micros) ||
      !ReadDigits(text, 22, 3, &tail)) {
    return reject("expected digits");
  }
  if (interval) {
    if (!ReadDigits(text, 0, 8, &head)) return reject("expected digits");
    if (tail != 0) return reject("an interval ends in \":000\"");
    std::string problem = IntervalProblem(head, hours, minutes, seconds, micros);
    if (!problem.empty()) return reject(problem);
    out->Set(head, static_cast<uint16_t>(hours), static_cast<uint16_t>(minutes),
             static_cast<uint16_t>(seconds), micros);
    return true;
  }
  uint32_t year = 0, month = 0, day = 0;
  if (!ReadDigits(text, 0, 4, &year) || !ReadDigits(text, 4, 2, &month) ||
      !ReadDigits(text, 6, 2, &day)) {
    return reject("expected digits");
  }
  int offset = static_cast<int>(tail);
  if (text[21] == '-') offset = -offset;
  std::string problem =
      TimestampProblem(year, month, day, hours, minutes, seconds, micros, offset);
  if (!problem.empty()) return reject(problem);
  *out = Timestamp(year, month, day, hours, minutes, seconds, micros, offset);
  return true;
}

TCIMDateTime TCIMDateTime::Parse(const std::string& text) {
  TCIMDateTime result;
  std::string error;
  if (!TryParse(text, &result, &error)) {
    ThrowLogged(kDiagnosticLevel, "TYL: invalid CIM datetime '" + Printable(text) + "': " + error,
                kStatusInvalidParameter);
  }
  return result;
}

std::string TCIMDateTime::ToString() const {
  char buffer[64];
  if (interval_) {
    std::snprintf(buffer, sizeof buffer, "%08u%02u%02u%02u.%06u:000",
                  static_cast<unsigned>(dayCount_), hours_, minutes_, seconds_,
                  static_cast<unsigned>(microseconds_));
  } else {
    int offset = utcOffset_ < 0 ? -utcOffset_ : utcOffset_;
    std::snprintf(buffer, sizeof buffer, "%04u%02u%02u%02u%02u%02u.%06u%c%03d",
                  static_cast<unsigned>(dayCount_), month_, day_, hours_, minutes_,
                  seconds_, static_cast<unsigned>(microseconds_),
                  utcOffset_ < 0 ? '-' : '+', offset);
  }
  return buffer;
}

std::string TCIMDateTime::ToUIString() const {
  if (!interval_) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%04u-%02u-%02u %02u:%02u:%02u",
                  static_cast<unsigned>(dayCount_), month_, day_, hours_, minutes_,
                  seconds_);
    return buffer;
  }
  std::string text;
  if (dayCount_ != 0) AppendCount(&text, dayCount_, "day");
  if (hours_ != 0) AppendCount(&text, hours_, "hour");
  if (minutes_ != 0) AppendCount(&text, minutes_, "minute");
  if (microseconds_ == 0) {
    if (seconds_ != 0 || text.empty()) AppendCount(&text, seconds_, "second");
    return text;
  }
  // Seconds with their fraction, trailing zeros of the fraction dropped.
  char fraction[16];
  std::snprintf(fraction, sizeof fraction, "%06u", static_cast<unsigned>(microseconds_));
  std::string digits(fraction);
  digits.erase(digits.find_last_not_of('0') + 1);
  if (!text.empty()) text += ", ";
  text += std::to_string(seconds_) + "." + digits + " seconds";
  return text;
}

bool operator==(const TCIMDateTime& a, const TCIMDateTime& b) {
  return a.interval_ == b.interval_ && a.dayCount_ == b.dayCount_ &&
         a.month_ == b.month_ && a.day_ == b.day_ && a.hours_ == b.hours_ &&
         a.minutes_ == b.minutes_ && a.seconds_ == b.seconds_ &&
         a.microseconds_ == b.microseconds_ && a.utcOffset_ == b.utcOffset_;
}

bool operator<(const TCIMDateTime& a, const TCIMDateTime& b) {
  // Intervals (true) sort before timestamps (false).
  return std::make_tuple(!a.interval_, a.dayCount_, a.month_, a.day_, a.hours_,
                         a.minutes_, a.seconds_, a.microseconds_, a.utcOffset_) <
         std::make_tuple(!b.interval_, b.dayCount_, b.month_, b.day_, b.hours_,
                         b.minutes_, b.seconds_, b.microseconds_, b.utcOffset_);
}
