// Current and previous values of a property and their type checks.

#include "tests/support/capturing_logger.h"
#include "tests/support/property_fixture.h"
#include "tests/support/status_of.h"

namespace {

class PropertyValueTest : public PropertyFixture {};

TEST_F(PropertyValueTest, TheDefaultAppliesUntilAValueIsSet) {
  auto property = Property(TCIMValue(static_cast<unsigned short>(7)));
  EXPECT_TRUE(property->UsesDefaultValue(TContext()));
  EXPECT_TRUE(property->IsUnset(TContext()));
  EXPECT_EQ(property->GetValue(TContext()), TCIMValue(static_cast<unsigned short>(7)));
  EXPECT_EQ(property->GetType(TContext()), kCIMTypeUint16);
  property->SetValue(TCIMValue::Null(kCIMTypeUint16), TContext());  // a typed null is a value
  EXPECT_FALSE(property->UsesDefaultValue(TContext()));
  EXPECT_TRUE(property->GetValue(TContext()).IsNull());
}

TEST_F(PropertyValueTest, SetValueRefusesAnotherTypeAndKeepsTheValue) {
  auto property = Property(TCIMValue::Null(kCIMTypeUint16));
  property->SetValue(TCIMValue(static_cast<unsigned short>(1)), TContext());
  const std::pair<TCIMValue, const char*> rows[] = {
      {TCIMValue("1"), "Inmem: SetValue: decl is type uint16 but value is type string"},
      {TCIMValue(1u), "Inmem: SetValue: decl is type uint16 but value is type uint32"},
      {TCIMValue::Null(kCIMTypeString), "Inmem: SetValue: decl is type uint16 but value is type string"},
      {TCIMValue(kCIMTypeUint16, {}), "Inmem: SetValue: decl is type uint16 but value is type uint16[]"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(OutcomeOf([&] { property->SetValue(row.first, TContext()); }),
              Refusal(kStatusTypeMismatch, row.second));
    EXPECT_EQ(property->GetValue(TContext()), TCIMValue(static_cast<unsigned short>(1)));
  }
}

TEST_F(PropertyValueTest, PreviousValuesFollowTheirOwnRules) {
  auto property = Property(TCIMValue::Null(kCIMTypeUint16));
  property->SetValue(TCIMValue(static_cast<unsigned short>(5)), TContext());
  EXPECT_FALSE(property->HasPrevValue());
  EXPECT_EQ(property->GetPrevValue(), TCIMValue(static_cast<unsigned short>(5)));  // the current one

  // A null of any type is stored without checks.
  property->SetPrevValue(TCIMValue::Null(kCIMTypeString));
  EXPECT_TRUE(property->HasPrevValue());
  EXPECT_EQ(property->GetPrevValue(), TCIMValue::Null(kCIMTypeString));

  EXPECT_EQ(OutcomeOf([&] { property->SetPrevValue(TCIMValue(3)); }),
            Refusal(kStatusTypeMismatch, "SetPrevValue: decl is type uint16 but value is type sint32"));
  EXPECT_EQ(property->GetPrevValue(), TCIMValue::Null(kCIMTypeString));

  property->SetPrevValue(TCIMValue(static_cast<unsigned short>(4)));
  EXPECT_EQ(property->GetPrevValue(), TCIMValue(static_cast<unsigned short>(4)));
  property->ResetPrevValue();
  EXPECT_TRUE(property->HasPrevValue());
  EXPECT_TRUE(property->GetPrevValue().IsNull());
  EXPECT_EQ(property->GetValue(TContext()), TCIMValue(static_cast<unsigned short>(5)));
}

TEST_F(PropertyValueTest, OnlyThePreviousValueIsHeldToTheReferencedClass) {
  auto system = schema_.AbstractClass("System");
  auto computer = schema_.AbstractClass("Computer", "System");
  auto device = schema_.AbstractClass("Device");
  auto association = schema_.Class("Link", "", {{"ASSOCIATION", TCIMValue(true)}});
  auto decl = schema_.Reference(association, "Owner", system);
  TInmemProperty owner(decl);
  auto pointingAt = [](const boost::shared_ptr<ICIMClass>& cls) {
    TCIMReference path;
    path.SetClass(cls);
    return TCIMValue(path);
  };
  owner.SetPrevValue(pointingAt(computer));  // a subclass is fine
  owner.SetValue(pointingAt(device), TContext());  // not checked
  EXPECT_EQ(OutcomeOf([&] { owner.SetPrevValue(pointingAt(device)); }),
            Refusal(kStatusTypeMismatch,
                    "SetPrevValue: decl references type System but value references Device"));
  EXPECT_EQ(static_cast<TCIMReference>(owner.GetPrevValue()).GetClassName(), "Computer");
}

TEST_F(PropertyValueTest, PropertiesCompareByDeclarationThenValue) {
  auto a = Property(TCIMValue::Null(kCIMTypeUint32));
  TInmemProperty sameDecl(a->GetDecl(TContext()));
  auto other = Property(TCIMValue::Null(kCIMTypeUint32));
  a->SetValue(TCIMValue(1u), TContext());
  sameDecl.SetValue(TCIMValue(1u), TContext());
  other->SetValue(TCIMValue(1u), TContext());
  EXPECT_TRUE(*a == sameDecl);
  EXPECT_FALSE(*a == *other);  // another declaration
  EXPECT_NE(*a < *other, *other < *a);
  sameDecl.SetValue(TCIMValue(2u), TContext());
  EXPECT_FALSE(*a == sameDecl);
  EXPECT_TRUE(*a < sameDecl);
  EXPECT_FALSE(sameDecl < *a);
}

}  // namespace
