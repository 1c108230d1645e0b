#include "core/cim_date_time.h"

#include <time.h>

#include <gtest/gtest.h>

#include "core/os_specific.h"
#include "core/tyl_exception.h"
#include "tests/support/status_of.h"

namespace {

TCIMDateTime Interval(uint32_t d, uint16_t h, uint16_t m, uint16_t s, uint32_t us) {
  TCIMDateTime t;
  t.Set(d, h, m, s, us);
  return t;
}

TEST(CIMDateTimeTest, TextRoundTrips) {
  const char* const texts[] = {
      "00000000000000.000000:000", "99999999235959.999999:000", "00000001020304.000005:000",
      "20261122101530.123456+060", "19991231235959.000000-300", "00010101000000.000000+000",
      "99991231235959.999999-999",
  };
  for (const char* text : texts) {
    TCIMDateTime parsed = TCIMDateTime::Parse(text);
    EXPECT_EQ(parsed.ToString(), text);
    EXPECT_EQ(parsed.IsInterval(), std::string(text).back() == '0' && text[21] == ':');
  }
  TCIMDateTime stamp = TCIMDateTime::Parse("20261122101530.123456-090");
  EXPECT_EQ(std::make_tuple(stamp.GetYear(), stamp.GetMonth(), stamp.GetDay(), stamp.GetMicroseconds()),
            std::make_tuple(2026u, 11u, 22u, 123456u));
  EXPECT_EQ(stamp.GetUtcOffsetMinutes(), -90);
  EXPECT_EQ(TCIMDateTime::Parse("00000042010203.000000:000"), Interval(42, 1, 2, 3, 0));
  EXPECT_EQ(TCIMDateTime::Parse("00000000000000.000000:000"), TCIMDateTime());
}

TEST(CIMDateTimeTest, BadTextIsRefusedWithTheReasonLogged) {
  const char* const texts[] = {
      "",
      "2026112210153.123456+060",    // 24 characters
      "20261122101530.123456+0600",  // 26 characters
      "20261122101530,123456+060",   // no point
      "20261122101530.123456*060",   // no sign
      "2026112210153a.123456+060",   // letter
      "20261322101530.123456+060",   // month 13
      "20261100101530.123456+060",   // day 0
      "20261122241530.123456+060",   // hour 24
      "00000001020304.000005:001",   // interval with an offset
      "00000001250304.000005:000",   // interval hour 25
      "********101530.123456+060",   // wildcards are not supported
  };
  for (const char* text : texts) {
    TOutcome outcome = OutcomeOf([&] { TCIMDateTime::Parse(text); });
    EXPECT_EQ(outcome.status, kStatusInvalidParameter) << text;
    EXPECT_TRUE(outcome.LoggedOnce("invalid CIM datetime")) << text << ": " << outcome;
  }
}

TEST(CIMDateTimeTest, SetRefusesFieldsOutOfRange) {
  TCapturingLogger log;
  TCIMDateTime t;
  EXPECT_THROW(t.Set(100000000, 0, 0, 0, 0), TTYLException);
  EXPECT_THROW(t.Set(0, 24, 0, 0, 0), TTYLException);
  EXPECT_THROW(t.Set(0, 0, 60, 0, 0), TTYLException);
  EXPECT_THROW(t.Set(0, 0, 0, 60, 0), TTYLException);
  EXPECT_THROW(t.Set(0, 0, 0, 0, 1000000), TTYLException);
  EXPECT_EQ(t, TCIMDateTime());  // unchanged by the refusals
  EXPECT_THROW(TCIMDateTime::Timestamp(2026, 2, 30, 0, 0, 0, 0, 1000), TTYLException);
}

TEST(CIMDateTimeTest, UIStringLeavesOutZeroParts) {
  const std::pair<TCIMDateTime, const char*> rows[] = {
      {Interval(1, 1, 1, 1, 0), "1 day, 1 hour, 1 minute, 1 second"},
      {Interval(2, 0, 0, 3, 0), "2 days, 3 seconds"},
      {Interval(0, 5, 0, 0, 0), "5 hours"},
      {Interval(0, 0, 2, 0, 0), "2 minutes"},
      {Interval(0, 0, 0, 0, 250000), "0.25 seconds"},
      {Interval(3, 0, 1, 0, 10), "3 days, 1 minute, 0.00001 seconds"},
      {TCIMDateTime::Timestamp(2026, 11, 22, 10, 15, 30, 999, -60), "2026-11-22 10:15:30"},
      {TCIMDateTime::Timestamp(7, 1, 2, 3, 4, 5, 0, 0), "0007-01-02 03:04:05"},
  };
  for (const auto& row : rows) EXPECT_EQ(row.first.ToUIString(), row.second);
}

TEST(CIMDateTimeTest, IntervalsSortBeforeTimestampsThenByFields) {
  const TCIMDateTime ordered[] = {TCIMDateTime(), Interval(0, 0, 0, 0, 1), Interval(0, 1, 0, 0, 0),
                                  Interval(1, 0, 0, 0, 0),
                                  TCIMDateTime::Timestamp(2025, 12, 31, 23, 59, 59, 0, 0),
                                  TCIMDateTime::Timestamp(2026, 1, 1, 0, 0, 0, 0, 0),
                                  TCIMDateTime::Timestamp(2026, 1, 1, 0, 0, 0, 0, 60)};
  const size_t n = sizeof ordered / sizeof ordered[0];
  for (size_t i = 0; i < n; ++i) {
    for (size_t j = 0; j < n; ++j) {
      EXPECT_EQ(ordered[i] < ordered[j], i < j) << i << " " << j;
      EXPECT_EQ(ordered[i] == ordered[j], i == j) << i << " " << j;
    }
  }
}

TEST(CIMDateTimeTest, LocalTimeIsNowWithTheLocalOffset) {
  time_t before = time(nullptr);
  TCIMDateTime now = TOSSpecific::GetLocalTime();
  struct tm local;
  localtime_r(&before, &local);
  EXPECT_FALSE(now.IsInterval());
  EXPECT_EQ(now.GetYear(), static_cast<unsigned>(local.tm_year + 1900));
  EXPECT_EQ(now.GetUtcOffsetMinutes(), local.tm_gmtoff / 60);
  EXPECT_EQ(TCIMDateTime::Parse(now.ToString()), now);
}

}  // namespace
