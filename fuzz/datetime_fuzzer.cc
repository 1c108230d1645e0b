// Fuzzes datetime reading (TCIMDateTime::TryParse and Parse) on any text.
//
// Parse and TryParse must agree. A datetime read is written back as the
// same 25 characters (only an offset written "-000" comes back "+000"),
// reads back equal, is made again equal from its own fields, orders
// consistently against the zero interval, and has display text.

#include <cstdlib>

#include "core/cim_date_time.h"
#include "fuzz/fuzz_support.h"

namespace {

// The same datetime made from its fields through the constructors.
TCIMDateTime FromFields(const TCIMDateTime& t) {
  if (!t.IsInterval()) {
    return TCIMDateTime::Timestamp(t.GetYear(), t.GetMonth(), t.GetDay(), t.GetHours(),
                                   t.GetMinutes(), t.GetSeconds(), t.GetMicroseconds(),
                                   t.GetUtcOffsetMinutes());
  }
  TCIMDateTime interval;
  interval.Set(t.GetDays(), static_cast<uint16_t>(t.GetHours()),
               static_cast<uint16_t>(t.GetMinutes()), static_cast<uint16_t>(t.GetSeconds()),
               t.GetMicroseconds());
  return interval;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  SilenceCoreLogger();
  // The mode byte is not used; the text is every byte, so that seeds are
  // plain datetimes.
  std::string text(reinterpret_cast<const char*>(data), size);

  TCIMDateTime dateTime;
  std::string error;
  bool read = TCIMDateTime::TryParse(text, &dateTime, &error);
  CheckParseAgrees(read, dateTime, [&] { return TCIMDateTime::Parse(text); });
  if (!read) {
    if (error.empty()) std::abort();
    return 0;
  }

  std::string written = dateTime.ToString();
  std::string expected = text;
  if (expected.compare(21, 4, "-000") == 0) expected[21] = '+';
  if (written != expected) RoundTripBroken("datetime text", text, written);
  if (TCIMDateTime::Parse(written) != dateTime) RoundTripBroken("datetime value", text, written);
  TCIMDateTime rebuilt = FromFields(dateTime);
  if (rebuilt != dateTime) RoundTripBroken("datetime fields", text, rebuilt.ToString());

  const TCIMDateTime zero;
  int relations = (dateTime < zero) + (zero < dateTime) + (dateTime == zero);
  if (relations != 1 || dateTime < dateTime) std::abort();
  if (dateTime.ToUIString().empty()) std::abort();
  return 0;
}
