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

typedef unsigned char u8;
typedef unsigned short u16;

TCIMDateTime Interval(uint32_t days) {
  TCIMDateTime t;
  t.Set(days, 1, 2, 3, 4);
  return t;
}

// A path to class `cls`, with key Id = `id` unless it is null.
TCIMReference Path(const char* cls, const TCIMValue& id = TCIMValue()) {
  TCIMReference path;
  path.SetClassName(cls);
  if (!id.IsNull()) path.AddKeyValue("Id", id);
  return path;
}

// Converts `value` to T, for the refusal table.
template <typename T>
std::function<void()> As(const TCIMValue& value) {
  return [value] { (void)static_cast<T>(value); };
}

TEST(CIMValueTest, ToStringWritesEveryTypeInTheRequestedBase) {
  struct Row {
    TCIMValue value;
    unsigned char base;
    const char* text;
  };
  const Row rows[] = {
      {TCIMValue(u8{255}), 16, "ff"},
      {TCIMValue(35u), 36, "z"},
      {TCIMValue(std::numeric_limits<unsigned long long>::max()), 16, "ffffffffffffffff"},
      {TCIMValue(static_cast<short>(-255)), 16, "-ff"},
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
      {TCIMValue(kCIMTypeUint8, {TCIMValue(u8{10}), TCIMValue(u8{11})}), 16, "{a, b}"},
      {TCIMValue(kCIMTypeString, {}), 10, "{}"},
      {TCIMValue(Path("CIM_Foo", 7u)), 10, "cim_foo.id=7"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(row.value.ToString(row.base), row.text)
        << CIMTypeName(row.value.GetType()) << " base " << int{row.base};
  }
}

TEST(CIMValueTest, ToStringRefusesBasesOutsideTwoToThirtySix) {
  for (unsigned char base : {0, 1, 37, 255}) {
    EXPECT_EQ(StatusOf([&] { TCIMValue(5u).ToString(base); }), kStatusInvalidParameter) << int{base};
  }
}

TEST(CIMValueTest, ConversionsThatFitReturnTheContent) {
  EXPECT_EQ(static_cast<unsigned char>(TCIMValue(u16{255})), 255);
  EXPECT_EQ(static_cast<unsigned long long>(TCIMValue(std::numeric_limits<long long>::max())),
            9223372036854775807ull);
  EXPECT_EQ(static_cast<signed char>(TCIMValue(-128)), -128);
  EXPECT_EQ(static_cast<short>(TCIMValue(u8{200})), 200);
  EXPECT_DOUBLE_EQ(static_cast<double>(TCIMValue(-3)), -3.0);
}

TEST(CIMValueTest, ConversionsThatDoNotFitThrow) {
  struct Row {
    const char* what;
    std::function<void()> convert;
    ETYLStatusCode status;
  };
  const ETYLStatusCode range = kStatusValueOutOfRange, mismatch = kStatusTypeMismatch;
  const Row rows[] = {
      {"uint16 300 as uint8", As<u8>(TCIMValue(u16{300})), range},
      {"sint32 -1 as uint32", As<unsigned int>(TCIMValue(-1)), range},
      {"uint64 max as sint64", As<long long>(TCIMValue(~0ull)), range},
      {"sint16 -129 as sint8", As<signed char>(TCIMValue(short{-129})), range},
      {"string as uint16", As<u16>(TCIMValue("1")), mismatch},
      {"real as uint32", As<unsigned int>(TCIMValue(1.0)), mismatch},
      {"uint8 as bool", As<bool>(TCIMValue(u8{1})), mismatch},
      {"char16 as string", As<std::string>(TCIMValue(u'x')), mismatch},
      {"null uint16 as uint16", As<u16>(TCIMValue::Null(kCIMTypeUint16)), mismatch},
      {"null reference", As<TCIMReference>(TCIMValue::Null(kCIMTypeReference)), mismatch},
      {"string as datetime", As<TCIMDateTime>(TCIMValue("x")), mismatch},
      {"scalar as elements", [] { TCIMValue(5u).GetElements(); }, mismatch},
      {"uint8 as referenced class", [] { TCIMValue(u8{1}).GetReferencedClass(); }, mismatch},
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
  EXPECT_EQ(StatusOf([] { TCIMValue::Null(static_cast<ECIMType>(32)); }), kStatusInvalidParameter);
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
  EXPECT_EQ(StatusOf([] { TCIMValue(ArrayTypeOf(kCIMTypeUint8), {}); }), kStatusInvalidParameter);
  TCIMValue withNull(kCIMTypeString, {TCIMValue("a"), TCIMValue::Null(kCIMTypeString)});
  EXPECT_EQ(withNull.ToString(), "{a, }");
}

// A set of values, pairwise distinct by construction, across types.
std::vector<TCIMValue> DistinctValues() {
  return {TCIMValue(), TCIMValue::Null(kCIMTypeUint16), TCIMValue::Null(ArrayTypeOf(kCIMTypeUint16)),
          TCIMValue(false), TCIMValue(true), TCIMValue(u16{0}), TCIMValue(u16{5}), TCIMValue(5u),
          TCIMValue(-5), TCIMValue(5), TCIMValue(-1.5), TCIMValue(2.0), TCIMValue(std::nan("")),
          TCIMValue(2.0f), TCIMValue(u'a'), TCIMValue(""), TCIMValue("a"), TCIMValue("ab"), TCIMValue("b"),
          TCIMValue(Interval(1)), TCIMValue(Interval(2)), TCIMValue(Path("A")), TCIMValue(Path("B")),
          TCIMValue(kCIMTypeUint16, {}),
          TCIMValue(kCIMTypeUint16, {TCIMValue(u16{1})}), TCIMValue(kCIMTypeUint16, {TCIMValue(u16{2})}),
          TCIMValue(kCIMTypeUint16, {TCIMValue(u16{1}), TCIMValue(u16{0})})};
}

// Equality needs the same type, nullness and content; less-than is a strict
// weak order whose equivalence is equality.
TEST(CIMValueTest, EqualityAndOrderAgree) {
  std::vector<TCIMValue> values = DistinctValues();
  std::vector<TCIMValue> again = DistinctValues();  // equal content, new objects
  for (size_t i = 0; i < values.size(); ++i) {
    const TCIMValue& a = values[i];
    EXPECT_FALSE(a < again[i]);
    for (size_t j = 0; j < values.size(); ++j) {
      const TCIMValue& b = again[j];
      SCOPED_TRACE(a.ToString() + " vs " + b.ToString());
      EXPECT_EQ(a == b, i == j);
      EXPECT_EQ(a != b, i != j);
      EXPECT_EQ(!(a < b) && !(b < a), i == j);
      for (const TCIMValue& c : values) EXPECT_TRUE(!(a < b && b < c) || a < c);
    }
  }
  EXPECT_TRUE(TCIMValue(-5) < TCIMValue(5));
  EXPECT_TRUE(TCIMValue("a") < TCIMValue("ab"));
  EXPECT_TRUE(TCIMValue::Null(kCIMTypeSint32) < TCIMValue(-5));
  EXPECT_TRUE(TCIMValue(2.0) < TCIMValue(std::nan("")));
}

// Copies, moves and assignments between values of every kind of content
// keep each value whole, also when the value assigned lives inside the one
// assigned to.
TEST(CIMValueTest, CopiesMovesAndAssignmentsKeepEveryKindWhole) {
  TSchemaBuilder s;
  auto cls = s.Class("CIM_System");
  const std::string longText(100, 'x');  // beyond any inline string
  const TCIMValue values[] = {
      TCIMValue(),
      TCIMValue::Null(kCIMTypeUint32),
      TCIMValue::NullReference(cls),
      TCIMValue(true),
      TCIMValue(u16{7}),
      TCIMValue(-5),
      TCIMValue(2.5),
      TCIMValue(u'\u00e9'),
      TCIMValue(longText),
      TCIMValue(Interval(3)),
      TCIMValue(Path("CIM_System", TCIMValue(longText))),
      TCIMValue(kCIMTypeString, {TCIMValue(longText), TCIMValue("b")}),
  };
  for (const TCIMValue& original : values) {
    for (const TCIMValue& other : values) {
      TCIMValue copy(original);
      TCIMValue assigned(other);
      assigned = copy;
      TCIMValue moved(std::move(copy));
      TCIMValue moveAssigned(other);
      moveAssigned = std::move(moved);
      for (const TCIMValue* result : {&assigned, &moveAssigned}) {
        EXPECT_EQ(*result, original) << original.ToString() << " over " << other.ToString();
        EXPECT_EQ(result->GetType(), original.GetType());
        EXPECT_EQ(result->IsNull(), original.IsNull());
      }
    }
    TCIMValue self(original);
    self = *&self;
    EXPECT_EQ(self, original);
  }
  EXPECT_EQ(TCIMValue(values[2]).GetReferencedClass(), cls);
  // An element of an array assigned to the array itself.
  TCIMValue array = values[11];
  array = array.GetElements()[0];
  EXPECT_EQ(array, TCIMValue(longText));
  TCIMValue moveArray = values[11];
  moveArray = TCIMValue(moveArray.GetElements()[0]);
  EXPECT_EQ(moveArray, TCIMValue(longText));
}

}  // namespace
