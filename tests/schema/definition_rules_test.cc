// How a class takes in property and method declarations: plain additions,
// overrides of inherited features, the port-type and speed/duplex
// privileges, and the refusals with their exact log lines and status codes.

#include "schema/inmem_class.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/status_code.h"
#include "include/cim_parameter_decl.h"
#include "tests/support/capturing_logger.h"
#include "tests/support/schema_builder.h"
#include "tests/support/status_of.h"

namespace {

const TQualifierSpec kOverride("OVERRIDE", TCIMValue("Base"));

// Every expected line is written at the refusal level.
TLines AtLevel3(const TNames& texts) {
  TLines lines;
  for (const std::string& text : texts) lines.emplace_back(3, text);
  return lines;
}

std::string DefineFailed(const std::string& method, ETYLStatusCode code) {
  return "Inmem: Attempt define method " + method + " in class Derived" + "failed. Reason = " +
         TTYLStatusCode(code).TranslateStatusCode();
}

template <typename Lookup>
auto HeldOrEmpty(Lookup lookup) -> decltype(lookup()) {
  try {
    return lookup();
  } catch (const TTYLException& e) {
    if (e.GetStatusCode() != kStatusNotFound) throw;
    return {};
  }
}

TEST(DefinitionRulesTest, PropertyOutcomes) {
  struct Row {
    const char* what;
    const char* name;
    ECIMType type;
    std::vector<TQualifierSpec> qualifiers;
    bool declaredInDerivedFirst;
    bool replaced;  // the class holds the new declaration afterwards
    TNames log;
    ETYLStatusCode status = kStatusOk;
  };
  const ECIMType u64 = kCIMTypeUint64, str = kCIMTypeString;
  const std::vector<TQualifierSpec> ov = {kOverride}, key = {{"KEY", TCIMValue(true)}};
  const std::string add = "Inmem: Attempt to add property ", exists = " to class Derived: already exists";
  const std::string override = "Inmem: Attempt to override property ";
  const Row rows[] = {
      {"reference on a non-association class, checked before OVERRIDE", "Size", kCIMTypeReference, ov, false,
       false, {"Inmem: Attempt to add reference property Size to non-association class Derived"},
       kStatusReferenceOnNonAssociation},
      {"override of nothing is logged, then added", "Extra", u64, ov, false, true,
       {override + "Extra in class Derived: property doesn't exist in base class"}},
      {"override with another type", "Size", str, ov, false, false,
       {override + "Size in class Derived: different types"}},
      {"override with the array of the same type", "Size", ArrayTypeOf(u64), ov, false, false,
       {override + "Size in class Derived: different types"}},
      {"override of a property of this very class", "Own", u64, ov, true, false, {}},
      {"plain redeclaration of an inherited one", "Size", u64, {}, false, false, {add + "Size" + exists}},
      {"plain redeclaration of an own property", "OWN", u64, {}, true, false, {add + "OWN" + exists}},
      {"redeclaration carrying KEY", "Size", u64, key, false, true, {}},
      {"a false KEY is still carried", "size", u64, {{"KEY", TCIMValue(false)}}, false, true, {}},
      {"KEY redeclaration is not type checked", "Size", str, key, false, true, {}},
      {"speedDuplex is redeclared freely", "speedDuplex", kCIMTypeUint16, {}, false, true, {}},
      {"a name containing PortType is redeclared freely", "LinkPortType", str, {}, false, true, {}},
      {"PortType is matched in its exact case", "LinkPorttype", kCIMTypeUint16, {}, false, false,
       {add + "LinkPorttype" + exists}},
      {"override spelled in another case finds the inherited property", "SIZE", u64, ov, false, true, {}},
      {"override of nothing with porttype in any case is simply added", "MediaPORTTYPE", kCIMTypeUint16, ov,
       false, true, {}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    TSchemaBuilder s;
    auto base = s.Class("Base");
    s.Key(base, "Id");
    auto baseSize = s.Property(base, "Size", TCIMValue::Null(kCIMTypeUint64));
    s.Property(base, "speedDuplex", TCIMValue::Null(kCIMTypeString));
    s.Property(base, "LinkPortType", TCIMValue::Null(kCIMTypeUint16));
    s.Enter(base);
    auto sibling = s.Class("Sibling", "Base");
    auto derived = s.Class("Derived", "Base");
    if (row.declaredInDerivedFirst) s.Property(derived, "Own", TCIMValue::Null(kCIMTypeUint64));
    auto before = HeldOrEmpty([&] { return derived->GetPropertyDecl(row.name, TContext()); });

    auto decl = derived->AllocatePropertyDecl(row.name, TCIMValue::Null(row.type), TContext());
    s.AddQualifiers(*decl, row.qualifiers);
    EXPECT_EQ(OutcomeOf([&] { derived->AddProperty(decl, TContext()); }),
              TOutcome({row.status, AtLevel3(row.log)}));

    auto held = HeldOrEmpty([&] { return derived->GetPropertyDecl(row.name, TContext()); });
    EXPECT_EQ(held, row.replaced ? decl : before);
    // The superclass and the other subclasses keep the original.
    EXPECT_EQ(base->GetPropertyDecl("Size", TContext()), baseSize);
    EXPECT_EQ(sibling->GetPropertyDecl("Size", TContext()), baseSize);
  }
}

TEST(DefinitionRulesTest, ReferencePropertiesNeedATrueAssociationQualifier) {
  struct Row {
    const char* what;
    std::vector<TQualifierSpec> classQualifiers;
    bool inheritFromAssociation;
    bool accepted;
  };
  const Row rows[] = {
      {"no ASSOCIATION qualifier", {}, false, false},
      {"ASSOCIATION false", {{"ASSOCIATION", TCIMValue(false)}}, false, false},
      {"ASSOCIATION null", {{"ASSOCIATION", TCIMValue::Null(kCIMTypeBoolean)}}, false, false},
      {"ASSOCIATION true", {{"ASSOCIATION", TCIMValue(true)}}, false, true},
      {"ASSOCIATION inherited", {}, true, true},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    TSchemaBuilder s;
    auto target = s.AbstractClass("Target");
    s.Enter(s.Class("Link", "", {{"ABSTRACT", TCIMValue(true)}, {"ASSOCIATION", TCIMValue(true)}}));
    auto cls = s.Class("Holder", row.inheritFromAssociation ? "Link" : "", row.classQualifiers);
    auto decl = cls->AllocatePropertyDecl("Antecedent", TCIMValue::NullReference(target), TContext());
    EXPECT_EQ(OutcomeOf([&] { decl->AddToClass(TContext()); }),
              row.accepted ? kQuietSuccess : Refusal(kStatusReferenceOnNonAssociation,
                  "Inmem: Attempt to add reference property Antecedent to non-association class Holder"));
    EXPECT_EQ(PropertyDeclNames(*cls), row.accepted ? TNames({"Antecedent"}) : TNames());
  }
}

TEST(DefinitionRulesTest, MethodOutcomes) {
  struct Row {
    const char* what;
    const char* name;
    ECIMType returnType;
    std::vector<TQualifierSpec> qualifiers;
    bool declaredInDerivedFirst;
    bool replaced;
    ETYLStatusCode status;
    TNames log;
  };
  const std::string override = "Inmem: Attempt to override method ", add = "Inmem: Attempt to add method ";
  const std::string none = " in class Derived: method doesn't exist in base class";
  const ECIMType u32 = kCIMTypeUint32;
  const std::vector<TQualifierSpec> ov = {kOverride};
  const ETYLStatusCode ok = kStatusOk, defined = kStatusAlreadyDefined;
  const Row rows[] = {
      {"override of nothing logged, added", "Start", u32, ov, false, true, ok, {override + "Start" + none}},
      {"override with another return type", "Reset", kCIMTypeString, ov, false, false, kStatusTypeMismatch,
       {override + "Reset in class Derived: different types", DefineFailed("Reset", kStatusTypeMismatch)}},
      {"override of a method of this very class", "Stop", u32, ov, true, false, defined,
       {override + "Stop in class Derived: original was defined in this class",
        DefineFailed("Stop", defined)}},
      {"plain redeclaration of an inherited method", "Reset", u32, {}, false, false, defined,
       {add + "Reset to class Derived: already exists"}},
      {"KEY gives no right to redeclare", "reset", u32, {{"KEY", TCIMValue(true)}}, false, false, defined,
       {add + "reset to class Derived: already exists"}},
      {"override spelled in another case finds the inherited one", "RESET", u32, ov, false, true, ok, {}},
      {"porttype names are no exception for methods", "SetPortType", u32, ov, false, true, ok,
       {override + "SetPortType" + none}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    TSchemaBuilder s;
    auto base = s.Class("Base");
    s.Key(base, "Id");
    auto baseReset = s.Method(base, "Reset", kCIMTypeUint32);
    s.Enter(base);
    auto derived = s.Class("Derived", "Base");
    if (row.declaredInDerivedFirst) s.Method(derived, "Stop", kCIMTypeUint32);
    auto before = HeldOrEmpty([&] { return derived->GetMethodDecl(row.name, TContext()); });

    auto decl = derived->AllocateMethodDecl(row.name, row.returnType, TContext());
    s.AddQualifiers(*decl, row.qualifiers);
    EXPECT_EQ(OutcomeOf([&] { derived->AddMethod(decl, TContext()); }),
              TOutcome({row.status, AtLevel3(row.log)}));

    auto held = HeldOrEmpty([&] { return derived->GetMethodDecl(row.name, TContext()); });
    EXPECT_EQ(held, row.replaced ? decl : before);
    EXPECT_EQ(base->GetMethodDecl("Reset", TContext()), baseReset);
  }
}

TEST(DefinitionRulesTest, ParametersAreKeyedByNormalisedName) {
  TSchemaBuilder s;
  auto cls = s.Class("Disk");
  auto method = s.Method(cls, "Configure", kCIMTypeUint32);
  auto size = method->DefineParameter("Size", kCIMTypeUint64, TContext());
  EXPECT_EQ(size->GetMethod(TContext()), method);
  for (const std::string name : {"size", "SIZE"}) {
    // The text says "property" for parameters too.
    EXPECT_EQ(OutcomeOf([&] { method->DefineParameter(name, kCIMTypeString, TContext()); }),
              Refusal(kStatusAlreadyDefined,
                      "Inmem: Attempt to add property " + name + " to method Configure: already exists"));
  }
  EXPECT_EQ(method->GetParameter("SIZE", TContext()), size);
  EXPECT_EQ(method->GetParameter("size", TContext())->GetType(TContext()), kCIMTypeUint64);
  EXPECT_FALSE(method->GetParameter("Count", TContext()));

  // Normalised order differs from definition order and from byte order.
  auto method2 = s.Method(cls, "Format", kCIMTypeUint32);
  for (const char* name : {"beta", "Charlie", "Alpha"}) {
    method2->DefineParameter(name, kCIMTypeString, TContext());
  }
  EXPECT_EQ(ParameterNames(*method2), TNames({"Alpha", "beta", "Charlie"}));
  EXPECT_EQ(ParameterNames(*method2, 1), TNames({"Alpha"}));
}

}  // namespace
