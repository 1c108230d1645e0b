#include "core/cim_value.h"

#include <cmath>
#include <functional>
#include <limits>
#include <sstream>

#include <gtest/gtest.h>

#include "core/cim_reference.h"
#include "core/tyl_exception.h"
#include "tests/support/status_of.h"
#include "tests/support/schema_builder.h"

namespace {

TCIMDateTime Interval(uint32_t days) {
  TCIMDateTime t;
  t.Set(days, 1, 2, 3, 4);
  return t;
}

TEST(CIMValueTest, TypeNamesAreWrittenAsCIMNames) {
  const std::pair<ECIMType, const char*> rows[] = {
      {kCIMTypeNone, "none"},          {kCIMTypeBoolean, "boolean"},
      {kCIMTypeSint8, "sint8"},        {kCIMTypeUint16, "uint16"},
      {kCIMTypeReal32, "real32"},      {kCIMTypeChar16, "char16"},
      {kCIMTypeString, "string"},      {kCIMTypeDateTime, "datetime"},
      {kCIMTypeReference, "reference"}, {ArrayTypeOf(kCIMTypeUint16), "uint16[]"},
      {ArrayTypeOf(kCIMTypeReference), "reference[]"},
  };
  for (const auto& row : rows) {
    std::ostringstream out;
    out << TCIMValue::TCIMType(row.first);
    EXPECT_EQ(out.str(), row.second);
  }
}

TEST(CIMValueTest, ToStringWritesEveryTypeInTheRequestedBase) {
  struct Row {
    TCIMValue value;
    unsigned char base;
    const char* text;
  };
  const Row rows[] = {
      {TCIMValue(static_cast<unsigned char>(255)), 16, "ff"},
      {TCIMValue(static_cast<unsigned short>(45)), 2, "101101"},
      {TCIMValue(35u), 36, "z"},
      {TCIMValue(std::numeric_limits<unsigned long long>::max()), 16, "ffffffffffffffff"},
      {TCIMValue(static_cast<short>(-255)), 16, "-ff"},
      {TCIMValue(std::numeric_limits<long long>::min()), 10, "-9223372036854775808"},
      {TCIMValue(std::numeric_limits<long long>::min()), 2,
       "-1000000000000000000000000000000000000000000000000000000000000000"},
      {TCIMValue(0.1), 10, "0.1"},
      {TCIMValue(0.1f), 10, "0.1"},  // shortest for the float, not 0.100000001
      {TCIMValue(-2.5), 16, "-2.5"},  // reals ignore the base
      {TCIMValue(std::nan("")), 10, "nan"},
      {TCIMValue(-std::numeric_limits<double>::infinity()), 10, "-inf"},
      {TCIMValue(true), 10, "TRUE"},
      {TCIMValue(u'\u00e9'), 10, "\xc3\xa9"},
      {TCIMValue(u'\u20ac'), 10, "\xe2\x82\xac"},
      {TCIMValue("as it is"), 16, "as it is"},
      {TCIMValue(Interval(2)), 10, "00000002010203.000004:000"},
      {TCIMValue::Null(kCIMTypeUint32), 10, ""},
      {TCIMValue(kCIMTypeUint8, {TCIMValue(static_cast<unsigned char>(10)),
                                 TCIMValue(static_cast<unsigned char>(11))}),
       16, "{a, b}"},
      {TCIMValue(kCIMTypeString, {}), 10, "{}"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(row.value.ToString(row.base), row.text)
        << CIMTypeName(row.value.GetType()) << " base " << int{row.base};
  }
}

TEST(CIMValueTest, ToStringRefusesBasesOutsideTwoToThirtySix) {
  for (unsigned char base : {0, 1, 37, 255}) {
    EXPECT_EQ(StatusOf([&] { TCIMValue(5u).ToString(base); }), kStatusInvalidParameter)
        << int{base};
  }
}

TEST(CIMValueTest, ReferencesWriteTheirPath) {
  TCIMReference path;
  path.SetClassName("CIM_Foo");
  path.AddKeyValue("Id", TCIMValue(7u));
  EXPECT_EQ(TCIMValue(path).ToString(), "cim_foo.id=7");
}

TEST(CIMValueTest, ConversionsThatFitReturnTheContent) {
  EXPECT_TRUE(static_cast<bool>(TCIMValue(true)));
  EXPECT_EQ(static_cast<unsigned char>(TCIMValue(static_cast<unsigned short>(255))), 255);
  EXPECT_EQ(static_cast<unsigned short>(TCIMValue(static_cast<unsigned char>(7))), 7);
  EXPECT_EQ(static_cast<unsigned int>(TCIMValue(static_cast<short>(32767))), 32767u);
  EXPECT_EQ(static_cast<unsigned long long>(TCIMValue(std::numeric_limits<long long>::max())),
            9223372036854775807ull);
  EXPECT_EQ(static_cast<signed char>(TCIMValue(-128)), -128);
  EXPECT_EQ(static_cast<short>(TCIMValue(static_cast<unsigned char>(200))), 200);
  EXPECT_EQ(static_cast<int>(TCIMValue(std::numeric_limits<int>::min())),
            std::numeric_limits<int>::min());
  EXPECT_EQ(static_cast<long long>(TCIMValue(123u)), 123);
  EXPECT_DOUBLE_EQ(static_cast<double>(TCIMValue(1.5f)), 1.5);
  EXPECT_DOUBLE_EQ(static_cast<double>(TCIMValue(-3)), -3.0);
  EXPECT_FLOAT_EQ(static_cast<float>(TCIMValue(0.25)), 0.25f);
  EXPECT_EQ(static_cast<char16_t>(TCIMValue(u'q')), u'q');
  EXPECT_EQ(static_cast<std::string>(TCIMValue("text")), "text");
  EXPECT_EQ(static_cast<TCIMDateTime>(TCIMValue(Interval(9))), Interval(9));
  const TCIMValue array(kCIMTypeSint8, {TCIMValue(static_cast<signed char>(-1))});
  EXPECT_EQ(static_cast<const std::vector<TCIMValue>&>(array).size(), 1u);
}

TEST(CIMValueTest, ConversionsThatDoNotFitThrow) {
  struct Row {
    const char* what;
    std::function<void()> convert;
    ETYLStatusCode status;
  };
  const TCIMValue u16(static_cast<unsigned short>(300));
  const TCIMValue minusOne(-1);
  const Row rows[] = {
      {"uint16 300 as uint8", [&] { static_cast<unsigned char>(u16); }, kStatusValueOutOfRange},
      {"sint32 -1 as uint32", [&] { static_cast<unsigned int>(minusOne); },
       kStatusValueOutOfRange},
      {"sint32 -1 as uint64", [&] { static_cast<unsigned long long>(minusOne); },
       kStatusValueOutOfRange},
      {"uint64 max as sint64",
       [] { static_cast<long long>(TCIMValue(std::numeric_limits<unsigned long long>::max())); },
       kStatusValueOutOfRange},
      {"sint16 -129 as sint8", [] { static_cast<signed char>(TCIMValue(static_cast<short>(-129))); },
       kStatusValueOutOfRange},
      {"string as uint16", [] { static_cast<unsigned short>(TCIMValue("1")); },
       kStatusTypeMismatch},
      {"real as uint32", [] { static_cast<unsigned int>(TCIMValue(1.0)); }, kStatusTypeMismatch},
      {"uint8 as bool", [] { static_cast<bool>(TCIMValue(static_cast<unsigned char>(1))); },
       kStatusTypeMismatch},
      {"bool as string", [] { static_cast<std::string>(TCIMValue(true)); }, kStatusTypeMismatch},
      {"char16 as string", [] { static_cast<std::string>(TCIMValue(u'x')); },
       kStatusTypeMismatch},
      {"string as double", [] { static_cast<double>(TCIMValue("1.5")); }, kStatusTypeMismatch},
      {"null uint16 as uint16",
       [] { static_cast<unsigned short>(TCIMValue::Null(kCIMTypeUint16)); }, kStatusTypeMismatch},
      {"null string as string", [] { static_cast<std::string>(TCIMValue::Null(kCIMTypeString)); },
       kStatusTypeMismatch},
      {"null reference as reference",
       [] { static_cast<TCIMReference>(TCIMValue::Null(kCIMTypeReference)); },
       kStatusTypeMismatch},
      {"scalar as elements", [] { TCIMValue(5u).GetElements(); }, kStatusTypeMismatch},
      {"string as datetime", [] { static_cast<TCIMDateTime>(TCIMValue("x")); },
       kStatusTypeMismatch},
      {"uint8 as referenced class",
       [] { TCIMValue(static_cast<unsigned char>(1)).GetReferencedClass(); },
       kStatusTypeMismatch},
  };
  for (const Row& row : rows) EXPECT_EQ(StatusOf(row.convert), row.status) << row.what;
}

TEST(CIMValueTest, TypedNullsKeepTheirType) {
  for (int t = 0; t <= 31; ++t) {
    if (t == kCIMTypeArrayFlag) continue;
    ECIMType type = static_cast<ECIMType>(t);
    TCIMValue null = TCIMValue::Null(type);
    EXPECT_TRUE(null.IsNull());
    EXPECT_EQ(null.GetType(), type);
    EXPECT_EQ(null.IsArray(), t > 16);
    EXPECT_EQ(null.IsReference(), type == kCIMTypeReference);
    EXPECT_EQ(null.ToString(), "");
  }
  EXPECT_EQ(StatusOf([] { TCIMValue::Null(static_cast<ECIMType>(32)); }),
            kStatusInvalidParameter);
  EXPECT_TRUE(TCIMValue().IsNull());
  EXPECT_EQ(TCIMValue().GetType(), kCIMTypeNone);
}

TEST(CIMValueTest, NullReferencePrototypeNamesItsClassWithoutOwningIt) {
  TCIMValue prototype;
  boost::weak_ptr<ICIMClass> watch;
  {
    TSchemaBuilder s;
    auto cls = s.Class("CIM_System");
    watch = cls;
    prototype = TCIMValue::NullReference(cls);
    EXPECT_TRUE(prototype.IsNull());
    EXPECT_TRUE(prototype.IsReference());
    EXPECT_EQ(prototype.GetReferencedClass(), cls);
    EXPECT_EQ(prototype, TCIMValue::Null(kCIMTypeReference));
  }
  EXPECT_TRUE(watch.expired());  // the prototype held it weakly
  EXPECT_FALSE(prototype.GetReferencedClass());
}

TEST(CIMValueTest, ArraysHoldElementsOfTheirOwnTypeOnly) {
  EXPECT_EQ(StatusOf([] { TCIMValue(kCIMTypeUint16, {TCIMValue(1u)}); }), kStatusTypeMismatch);
  EXPECT_EQ(StatusOf([] { TCIMValue(kCIMTypeNone, {}); }), kStatusInvalidParameter);
  EXPECT_EQ(StatusOf([] { TCIMValue(ArrayTypeOf(kCIMTypeUint8), {}); }),
            kStatusInvalidParameter);
  TCIMValue withNull(kCIMTypeString, {TCIMValue("a"), TCIMValue::Null(kCIMTypeString)});
  ASSERT_EQ(withNull.GetElements().size(), 2u);
  EXPECT_TRUE(withNull.GetElements()[1].IsNull());

  // Copies share nothing observable: a copy compares equal and outlives it.
  TCIMValue copy;
  {
    TCIMValue original(kCIMTypeString, {TCIMValue("kept")});
    copy = original;
  }
  EXPECT_EQ(copy.GetElements()[0].GetString(), "kept");
}

// A set of values, pairwise distinct by construction, across types.
std::vector<TCIMValue> DistinctValues() {
  TCIMReference a, b;
  a.SetClassName("A");
  b.SetClassName("B");
  return {
      TCIMValue(),
      TCIMValue::Null(kCIMTypeUint16),
      TCIMValue::Null(ArrayTypeOf(kCIMTypeUint16)),
      TCIMValue(false),
      TCIMValue(true),
      TCIMValue(static_cast<unsigned short>(0)),
      TCIMValue(static_cast<unsigned short>(5)),
      TCIMValue(5u),
      TCIMValue(-5),
      TCIMValue(5),
      TCIMValue(-1.5),
      TCIMValue(2.0),
      TCIMValue(std::nan("")),
      TCIMValue(2.0f),
      TCIMValue(u'a'),
      TCIMValue(""),
      TCIMValue("a"),
      TCIMValue("ab"),
      TCIMValue("b"),
      TCIMValue(Interval(1)),
      TCIMValue(Interval(2)),
      TCIMValue(a),
      TCIMValue(b),
      TCIMValue(kCIMTypeUint16, {}),
      TCIMValue(kCIMTypeUint16, {TCIMValue(static_cast<unsigned short>(1))}),
      TCIMValue(kCIMTypeUint16, {TCIMValue(static_cast<unsigned short>(1)),
                                 TCIMValue(static_cast<unsigned short>(0))}),
      TCIMValue(kCIMTypeUint16, {TCIMValue(static_cast<unsigned short>(2))}),
  };
}

TEST(CIMValueTest, EqualityNeedsSameTypeSameNullnessAndSameContent) {
  std::vector<TCIMValue> values = DistinctValues();
  for (size_t i = 0; i < values.size(); ++i) {
    for (size_t j = 0; j < values.size(); ++j) {
      EXPECT_EQ(values[i] == values[j], i == j) << values[i].ToString() << " vs "
                                                << values[j].ToString();
      EXPECT_EQ(values[i] != values[j], i != j);
    }
  }
  std::vector<TCIMValue> again = DistinctValues();  // equal content, new objects
  for (size_t i = 0; i < values.size(); ++i) EXPECT_EQ(values[i], again[i]);
}

TEST(CIMValueTest, LessThanIsAStrictWeakOrderConsistentWithEquality) {
  std::vector<TCIMValue> values = DistinctValues();
  for (const TCIMValue& a : values) {
    EXPECT_FALSE(a < a);
    for (const TCIMValue& b : values) {
      bool equivalent = !(a < b) && !(b < a);
      EXPECT_EQ(equivalent, a == b) << a.ToString() << " vs " << b.ToString();
      for (const TCIMValue& c : values) {
        if (a < b && b < c) {
          EXPECT_TRUE(a < c);
        }
      }
    }
  }
  EXPECT_TRUE(TCIMValue(-5) < TCIMValue(5));
  EXPECT_TRUE(TCIMValue("a") < TCIMValue("ab"));
  EXPECT_TRUE(TCIMValue::Null(kCIMTypeSint32) < TCIMValue(-5));
  EXPECT_TRUE(TCIMValue(2.0) < TCIMValue(std::nan("")));
}

}  // namespace
