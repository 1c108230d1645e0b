#include "schema/inmem_class.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "include/cim_property.h"
#include "tests/support/capturing_logger.h"
#include "tests/support/schema_builder.h"
#include "tests/support/status_of.h"

namespace {

TEST(ClassModelTest, SubclassesShareTheSuperclassDeclarations) {
  TSchemaBuilder s;
  auto base = s.Class("Base");
  auto id = s.Key(base, "Id");
  auto size = s.Property(base, "Size", TCIMValue::Null(kCIMTypeUint64));
  auto reset = s.Method(base, "Reset", kCIMTypeUint32);
  s.Enter(base);
  auto derived = s.Class("Derived", "Base");
  s.Property(derived, "Extra", TCIMValue("x"));
  EXPECT_EQ(PropertyDeclNames(*derived), TNames({"Extra", "Id", "Size"}));
  EXPECT_EQ(derived->GetPropertyDecl("SIZE", TContext()), size);  // the same object
  EXPECT_EQ(derived->GetMethodDecl("reset", TContext()), reset);
  EXPECT_EQ(PropertyDeclNames(*base), TNames({"Id", "Size"}));
  EXPECT_EQ(size->GetClass(TContext()), base);
}

TEST(ClassModelTest, AConcreteClassNeedsATrueKey) {
  // Qualifiers of the property, of the class, and whether the class is valid.
  const std::tuple<TQualifierSpecs, TQualifierSpecs, bool> rows[] = {
      {{{"KEY", TCIMValue(true)}}, {}, true},
      {{{"KEY", TCIMValue(false)}}, {}, false},
      {{{"KEY", TCIMValue::Null(kCIMTypeBoolean)}}, {}, false},
      {{}, {}, false},
      {{}, {{"ABSTRACT", TCIMValue(true)}}, true},
  };
  for (const auto& [keyQualifiers, classQualifiers, valid] : rows) {
    TSchemaBuilder s;
    auto cls = s.Class("CIM_Thing", "", classQualifiers);
    s.Property(cls, "Name", TCIMValue::Null(kCIMTypeString), keyQualifiers);
    EXPECT_EQ(OutcomeOf([&] { cls->Validate(TContext()); }),
              valid ? kQuietSuccess : Refusal(kStatusNoKeys, "Inmem: Class CIM_Thing has no keys"));
  }
}

TEST(ClassModelTest, KeysAreEnumeratedInNameOrderAsDeclared) {
  TSchemaBuilder s;
  auto cls = s.Class("Port");
  s.Key(cls, "SystemName");
  s.Property(cls, "Speed", TCIMValue::Null(kCIMTypeUint64));
  s.Key(cls, "DeviceID");
  s.Property(cls, "Other", TCIMValue::Null(kCIMTypeString), {{"KEY", TCIMValue(false)}});
  EXPECT_EQ(KeyNames(*cls), TNames({"DeviceID", "SystemName"}));
  EXPECT_EQ(KeyNames(*cls, 1), TNames({"DeviceID"}));
}

// Key names are kept between enumerations; every change of qualifiers or
// declarations must show in the next one, and in the running one after the
// callback that made it.
TEST(ClassModelTest, KeysFollowQualifierAndDeclarationChanges) {
  TSchemaBuilder s;
  auto cls = s.Class("Port");
  s.Key(cls, "A");
  auto b = s.Property(cls, "B", TCIMValue::Null(kCIMTypeString));
  auto c = s.Property(cls, "C", TCIMValue::Null(kCIMTypeString));
  ASSERT_EQ(KeyNames(*cls), TNames({"A"}));

  s.AddQualifiers(*b, {{"KEY", TCIMValue(true)}});
  EXPECT_EQ(KeyNames(*cls), TNames({"A", "B"}));
  boost::const_pointer_cast<ICIMQualifier>(b->GetQualifier("KEY", TContext()))
      ->SetValue(TCIMValue(false), TContext());
  EXPECT_EQ(KeyNames(*cls), TNames({"A"}));
  cls->RemovePropertyDecl(cls->GetPropertyDecl("A", TContext()), TContext());
  EXPECT_EQ(KeyNames(*cls), TNames({}));
  s.Key(cls, "D");
  EXPECT_EQ(KeyNames(*cls), TNames({"D"}));

  // A callback run for D makes C a key and adds key E: the running
  // enumeration goes on after D, so it shows E but not C.
  TNames seen;
  cls->EnumerateKeys(
      [&](const std::string& name) {
        seen.push_back(name);
        if (seen.size() == 1) {
          s.AddQualifiers(*c, {{"KEY", TCIMValue(true)}});
          s.Key(cls, "E");
        }
        return true;
      },
      TContext());
  EXPECT_EQ(seen, TNames({"D", "E"}));
  EXPECT_EQ(KeyNames(*cls), TNames({"C", "D", "E"}));
}

TEST(ClassModelTest, SubclassTestsWalkTheChainByName) {
  TSchemaBuilder s;
  auto a = s.AbstractClass("A");
  auto b = s.AbstractClass("B", "A");
  auto c = s.AbstractClass("C", "B");
  auto other = s.AbstractClass("Other");
  auto root = s.Namespace()->GetClass("", TContext());
  EXPECT_TRUE(c->IsSubclassOf(c, TContext()) && c->IsSubclassOf(a, TContext()));
  EXPECT_TRUE(c->IsSubclassOf(root, TContext()) && root->IsSubclassOf(root, TContext()));
  EXPECT_FALSE(a->IsSubclassOf(c, TContext()) || c->IsSubclassOf(other, TContext()));
  EXPECT_FALSE(root->IsSubclassOf(a, TContext()));
  EXPECT_FALSE(c->IsTopLevel(TContext()));
  EXPECT_EQ(c->GetSuperClass(TContext()), b);
}

TEST(ClassModelTest, SubclassListsKeepOneEntryPerNameInLatestOrder) {
  TSchemaBuilder s(true);
  auto top = s.AbstractClass("Top");
  auto first = s.Class("First", "Top", {{"ABSTRACT", TCIMValue(true)}});
  auto second = s.Class("Second", "Top", {{"ABSTRACT", TCIMValue(true)}});
  auto firstAgain = s.Class("First", "Top", {{"ABSTRACT", TCIMValue(true)}});
  s.Enter(first);
  s.Enter(second);
  s.AbstractClass("Grand", "First");
  EXPECT_EQ(SubclassNames(*top, true), TNames({"First", "Grand", "Second"}));
  s.Enter(firstAgain);  // replaces First, moves it to the end, keeps its subclasses
  EXPECT_EQ(SubclassNames(*top, false), TNames({"Second", "First"}));
  EXPECT_EQ(SubclassNames(*top, true), TNames({"Second", "First", "Grand"}));
  EXPECT_EQ(SubclassNames(*top, true, 2), TNames({"Second", "First"}));  // false stops
  top->RemoveSubclass(second, TContext());
  EXPECT_EQ(SubclassNames(*top, false), TNames({"First"}));
}

TEST(ClassModelTest, ComparisonsUseTheExactName) {
  TSchemaBuilder s;
  auto a = s.Class("Abc");
  auto sameName = s.Class("Abc");
  auto otherCase = s.Class("ABC");
  EXPECT_TRUE(*a == *sameName);
  EXPECT_FALSE(*a == *otherCase);
  EXPECT_TRUE(*otherCase < *a);  // 'B' < 'b'
  EXPECT_FALSE(*a < *sameName);
  *a = *otherCase;  // assignment changes nothing
  EXPECT_EQ(a->GetName(TContext()), "Abc");
}

TEST(ClassModelTest, LookupsOfAbsentMembersThrowNotFoundWithoutALog) {
  TSchemaBuilder s;
  auto cls = s.Class("Thing");
  auto decl = s.Key(cls, "Id");
  auto method = s.Method(cls, "Go", kCIMTypeUint32);
  TCapturingLogger log;
  EXPECT_EQ(StatusOf([&] { cls->GetPropertyDecl("Nope", TContext()); }), kStatusNotFound);
  EXPECT_EQ(StatusOf([&] { cls->GetMethodDecl("Nope", TContext()); }), kStatusNotFound);
  EXPECT_EQ(StatusOf([&] { cls->GetProperty("Nope", TContext()); }), kStatusNotFound);
  EXPECT_EQ(StatusOf([&] { cls->SetPropertyValue("Nope", TCIMValue(1), TContext()); }), kStatusNotFound);
  bool found = true;
  EXPECT_FALSE(cls->GetQualifier("Nope", found, TContext()));
  EXPECT_FALSE(found);
  cls->RemovePropertyDecl(decl, TContext());
  EXPECT_EQ(StatusOf([&] { cls->RemovePropertyDecl(decl, TContext()); }), kStatusNotFound);
  cls->RemoveMethodDecl(method, TContext());
  EXPECT_EQ(StatusOf([&] { cls->RemoveMethodDecl(method, TContext()); }), kStatusNotFound);
  EXPECT_EQ(StatusOf([&] { cls->RemoveAssociationClass(cls, TContext()); }), kStatusNotFound);
  EXPECT_TRUE(log.Lines().empty());
}

}  // namespace
