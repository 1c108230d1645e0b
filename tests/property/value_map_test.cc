// Integer codes turned into text through "ValueMap" and "Values".

#include <optional>

#include "tests/support/property_fixture.h"

namespace {

class ValueMapTest : public PropertyFixture {};

TCIMValue U32(unsigned n) { return TCIMValue(n); }

TEST_F(ValueMapTest, CodesMapToTheirTexts) {
  struct Row {
    std::optional<std::vector<std::string>> valueMap;
    std::vector<std::string> values;
    std::vector<std::pair<unsigned, const char*>> expected;
  };
  const Row rows[] = {
      // An open range is closed by the next entry, which takes over the two
      // dots (so 10 and beyond give C).
      {{{"0", "2..", "10"}}, {"A", "B", "C"},
       {{0, "A"}, {1, "1"}, {2, "B"}, {9, "B"}, {10, "C"}, {11, "C"}, {4000000000u, "C"}}},
      {{{"1", ".."}}, {"One", "Other"}, {{1, "One"}, {0, "Other"}, {7, "Other"}}},
      {{{"0x10", "010", "0X1f"}}, {"Hex", "Octal", "Upper"},
       {{16, "Hex"}, {8, "Octal"}, {31, "Upper"}, {10, "10"}}},
      // The number after the dots of "1..3" is not read: the range stays
      // open until the next entry closes it.
      {{{"1..3", "7"}}, {"Low", "Seven"}, {{0, "0"}, {3, "Low"}, {6, "Low"}, {7, "Seven"}, {99, "Seven"}}},
      {{{"0", "..5", "9"}}, {"Zero", "UpToFive", "Nine"},
       {{0, "Zero"}, {1, "UpToFive"}, {5, "UpToFive"}, {6, "6"}, {9, "Nine"}, {10, "10"}}},
      {{{" 4 .. ", "8"}}, {"Spaced", "Eight"}, {{4, "Spaced"}, {7, "Spaced"}, {8, "Eight"}, {9, "Eight"}}},
      // Without a ValueMap the n-th text maps n.
      {std::nullopt, {"Zero", "One"}, {{0, "Zero"}, {1, "One"}, {2, "2"}}},
      // Maps that give no usable entries: plain numbers.
      {{{"5..", ".."}}, {"Five up", "Rest"}, {{5, "5"}, {7, "7"}}},
      {{{"0", "1"}}, {"Only one"}, {{0, "0"}, {1, "1"}}},
  };
  for (const Row& row : rows) {
    std::vector<TQualifierSpec> qualifiers = {{"Values", Strings(row.values)}};
    if (row.valueMap) qualifiers.push_back({"ValueMap", Strings(*row.valueMap)});
    auto property = Property(TCIMValue::Null(kCIMTypeUint32), qualifiers);
    for (const auto& expected : row.expected) {
      property->SetValue(U32(expected.first), TContext());
      EXPECT_EQ(property->GetDisplayValue(), expected.second)
          << (row.valueMap ? (*row.valueMap)[0] : "(no ValueMap)") << " for " << expected.first;
    }
  }
}

TEST_F(ValueMapTest, BooleansAndEveryUnsignedWidthAreMapped) {
  auto flag = Property(TCIMValue(false), {{"Values", Strings({"No", "Yes"})}});
  EXPECT_EQ(flag->GetDisplayValue(), "No");
  flag->SetValue(TCIMValue(true), TContext());
  EXPECT_EQ(flag->GetDisplayValue(), "Yes");
  auto wide = Property(TCIMValue(std::numeric_limits<unsigned long long>::max()),
                       {{"ValueMap", Strings({"0x8000000000000000.."})}, {"Values", Strings({"Top half"})}});
  EXPECT_EQ(wide->GetDisplayValue(), "Top half");
  auto small = Property(TCIMValue(static_cast<unsigned char>(2)),
                        {{"ValueMap", Strings({"2"})}, {"Values", Strings({"Two"})}});
  EXPECT_EQ(small->GetDisplayValue(), "Two");
}

TEST_F(ValueMapTest, OtherTypesAreNotMapped) {
  const std::vector<TQualifierSpec> map = {{"Values", Strings({"Zero", "One"})},
                                           {"UNITS", TCIMValue("Bytes")}};
  EXPECT_EQ(Property(TCIMValue(1), map)->GetDisplayValue(), "1");  // signed
  EXPECT_EQ(Property(TCIMValue("1"), map)->GetDisplayValue(), "1");
  EXPECT_EQ(Property(TCIMValue::Null(kCIMTypeUint16), map)->GetDisplayValue(), "");
}

TEST_F(ValueMapTest, ArraysAreMappedElementByElement) {
  std::vector<TCIMValue> codes = {TCIMValue(static_cast<unsigned short>(2)),
                                  TCIMValue(static_cast<unsigned short>(3)),
                                  TCIMValue(static_cast<unsigned short>(9))};
  auto mapped = Property(TCIMValue(kCIMTypeUint16, codes),
                         {{"ValueMap", Strings({"2", "3"})}, {"Values", Strings({"Unknown", "Other"})}});
  EXPECT_EQ(mapped->GetDisplayValues(), std::vector<std::string>({"Unknown", "Other", "9"}));
  auto sizes = Property(TCIMValue(kCIMTypeUint64, {TCIMValue(1536ull), TCIMValue(10ull)}),
                        {{"UNITS", TCIMValue("Bytes")}});
  EXPECT_EQ(sizes->GetDisplayValues(), std::vector<std::string>({"1.5 Kilobytes", "10 Bytes"}));
  EXPECT_TRUE(Property(TCIMValue::Null(ArrayTypeOf(kCIMTypeUint64)))->GetDisplayValues().empty());
  EXPECT_EQ(Property(TCIMValue(7u))->GetDisplayValues(), std::vector<std::string>({"7"}));
}

TEST_F(ValueMapTest, AMapBeginningWithDotsEndsTheProcess) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  for (const char* first : {"..", "..5"}) {
    auto property = Property(TCIMValue(3u), {{"ValueMap", Strings({first, "7"})},
                                             {"Values", Strings({"A", "B"})}});
    EXPECT_DEATH(property->GetDisplayValue(),
                 "tyl\\[0\\] Inmem: ValueMap of property P[0-9]+ begins with '\\.\\.");
  }
}

}  // namespace
