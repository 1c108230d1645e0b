// Display text of values that no value map turns into words.

#include "tests/support/property_fixture.h"

namespace {

class DisplayFormatTest : public PropertyFixture {};

TEST_F(DisplayFormatTest, NumbersWithUnitsArePrefixedAndScaled) {
  const TQualifierSpec bytes("UNITS", TCIMValue("Bytes")), bits("UNITS", TCIMValue("Bits"));
  const TQualifierSpec bps("UNITS", TCIMValue("Bits per Second"));
  const TQualifierSpec bytesPerSecond("UNITS", TCIMValue("Bytes per Second"));
  const TQualifierSpec kilobytes("UNITS", TCIMValue("KiloBytes"));
  const TQualifierSpec abbreviate("ABBREVIATEUNITS", TCIMValue(true));
  const std::tuple<TCIMValue, TQualifierSpecs, const char*> rows[] = {
      // The divisor must be strictly below the value.
      {TCIMValue(1024ull), {bytes}, "1024 Bytes"},
      {TCIMValue(1025ull), {bytes}, "1 Kilobytes"},  // 1.0 loses ".0"
      {TCIMValue(1536ull), {bytes, abbreviate}, "1.5 KB"},
      {TCIMValue(1536ull), {bytes, {"ABBREVIATEUNITS", TCIMValue(false)}}, "1.5 KB"},
      {TCIMValue(1536ull), {bytes, {"ABBREVIATEUNITS", TCIMValue::Null(kCIMTypeBoolean)}}, "1.5 Kilobytes"},
      // In single precision 2^30 + 1 is 2^30, which ends one step early.
      {TCIMValue(1073741825ull), {bytes}, "1024 Megabytes"},
      {TCIMValue(std::numeric_limits<unsigned long long>::max()), {bytes}, "16384 Petabytes"},
      // "Bits" keeps its word when abbreviated.
      {TCIMValue(2048u), {bits, abbreviate}, "2 KBits"},
      {TCIMValue(2048u), {bits}, "2 Kilobits"},
      // Only bits per second scale by 1000.
      {TCIMValue(1000000000ull), {bps, abbreviate}, "1000 Mbps"},
      {TCIMValue(1500u), {bps}, "1.5 Kilobits per second"},
      {TCIMValue(1020u), {bps}, "1 Kilobits per second"},
      {TCIMValue(1020u), {bytesPerSecond}, "1020 Bytes per second"},
      {TCIMValue(2048u), {bytesPerSecond, abbreviate}, "2 KB/s"},
      // A prefixed unit starts from its prefix; a fixed unit caps the scaling.
      {TCIMValue(2048u), {kilobytes}, "2 Megabytes"},
      {TCIMValue(2048u), {kilobytes, {"DISPLAYFIXEDUNITS", TCIMValue("Kilo")}}, "2048 Kilobytes"},
      {TCIMValue(5000000000ull), {bytes, {"DISPLAYFIXEDUNITS", TCIMValue("Mega")}}, "4768.4 Megabytes"},
      {TCIMValue(5000000000ull), {bytes, {"DISPLAYFIXEDUNITS", TCIMValue("Peta")}}, "4.7 Gigabytes"},
      {TCIMValue(1000000u), {{"UNITS", TCIMValue("KiloBits per Second")}}, "1000 Megabits per second"},
  };
  for (const auto& [value, qualifiers, text] : rows) {
    EXPECT_EQ(Property(value, qualifiers)->GetDisplayValue(), text)
        << value.ToString() << " " << qualifiers[0].value.ToString();
  }
}

TEST_F(DisplayFormatTest, SecondsBecomeAnInterval) {
  const std::tuple<unsigned long long, const char*, const char*> rows[] = {
      {90061, "Seconds", "1 day, 1 hour, 1 minute, 1 second"},
      {0, "Seconds", "0 seconds"},
      {1500, "MilliSeconds", "1.5 seconds"},
      {2000001, "MicroSeconds", "2.000001 seconds"},
      {5000000000ull, "NanoSeconds", "5 seconds"},
      {1500, "NanoSeconds", "0.000001 seconds"},
      {5, "KiloSeconds", "0 seconds"},  // larger prefixes set nothing
      // More days than an interval holds: the plain number.
      {std::numeric_limits<unsigned long long>::max(), "Seconds", "18446744073709551615"},
  };
  for (const auto& [value, units, text] : rows) {
    EXPECT_EQ(Property(TCIMValue(value), {{"UNITS", TCIMValue(units)}})->GetDisplayValue(), text) << units;
  }
}

TEST_F(DisplayFormatTest, EverythingElseIsPlainTextInItsBase) {
  const std::tuple<TCIMValue, TQualifierSpecs, const char*> rows[] = {
      {TCIMValue(2048), {{"UNITS", TCIMValue("Bytes")}}, "2048"},  // signed
      {TCIMValue(2048u), {{"UNITS", TCIMValue("bytes")}}, "2048"},  // case counts
      {TCIMValue(255u), {{"BASE", TCIMValue(static_cast<unsigned char>(16))}}, "ff"},
      {TCIMValue(5u), {{"BASE", TCIMValue(static_cast<unsigned char>(2))}, {"UNITS", TCIMValue("Celsius")}},
       "101"},
      // A BASE of another type than uint8, or one no number text has, is ignored.
      {TCIMValue(255u), {{"BASE", TCIMValue(static_cast<unsigned short>(16))}}, "255"},
      {TCIMValue(255u), {{"BASE", TCIMValue(static_cast<unsigned char>(1))}}, "255"},
      {TCIMValue("text"), {{"UNITS", TCIMValue("Bytes")}}, "text"},
      {TCIMValue(true), {}, "TRUE"},
      {TCIMValue::Null(kCIMTypeUint64), {{"UNITS", TCIMValue("Bytes")}}, ""},
      {TCIMValue::Null(kCIMTypeString), {{"NULLDISPLAY", TCIMValue("not reported")}}, "not reported"},
  };
  for (const auto& [value, qualifiers, text] : rows) {
    EXPECT_EQ(Property(value, qualifiers)->GetDisplayValue(), text) << value.ToString();
  }
}

}  // namespace
