// Qualifiers on classes and on property, method and parameter declarations:
// conflicts between a held qualifier and a newcomer, lookups, the propagated
// flag, comparisons, and what subclasses inherit.

#include "schema/inmem_qualifier.h"

#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "include/cim_parameter_decl.h"
#include "tests/support/capturing_logger.h"
#include "tests/support/schema_builder.h"
#include "tests/support/status_of.h"

namespace {

const uint32_t kOverridable = ICIMQualifierDecl::kFlavorEnableOverride;
const uint32_t kToSubclass = ICIMQualifierDecl::kFlavorToSubclass;

enum class EKind { kClass, kProperty, kMethod, kParameter };
const char* const kKindNames[] = {"class", "property", "method", "parameter"};

// One element of each kind in a fresh namespace.
struct TElements {
  TSchemaBuilder s;
  boost::shared_ptr<ICIMClass> cls = s.Class("Thing");
  boost::shared_ptr<ICIMPropertyDecl> property =
      cls->AllocatePropertyDecl("Size", TCIMValue::Null(kCIMTypeUint64), TContext());
  boost::shared_ptr<ICIMMethodDecl> method =
      cls->AllocateMethodDecl("Reset", kCIMTypeUint32, TContext());
  boost::shared_ptr<ICIMParameterDecl> parameter =
      method->DefineParameter("Force", kCIMTypeBoolean, TContext());

  ICIMNamedElement& Get(EKind kind) {
    switch (kind) {
      case EKind::kClass: return *cls;
      case EKind::kProperty: return *property;
      case EKind::kMethod: return *method;
      case EKind::kParameter: return *parameter;
    }
    return *cls;
  }
  // Makes the qualifier, adds it, and returns it with the add's status.
  boost::shared_ptr<ICIMQualifier> Add(EKind kind, const TQualifierSpec& spec,
                                       ETYLStatusCode* status) {
    auto q = s.Qualifier(Get(kind), spec);
    *status = StatusOf([&] { Get(kind).AddQualifier(q, TContext()); });
    return q;
  }
};

const EKind kAllKinds[] = {EKind::kClass, EKind::kProperty, EKind::kMethod, EKind::kParameter};

TEST(DeclarationTest, HeldQualifierConflicts) {
  struct Row {
    const char* what;
    TQualifierSpec first, second;
    ETYLStatusCode classStatus, declStatus;
    bool replaced;
    std::vector<TQualifierSpec> alsoHeld = {};  // added between the two
  };
  const ETYLStatusCode ok = kStatusOk, conflict = kStatusQualifierConflict;
  const Row rows[] = {
      {"equal value and flavor", {"Version", "1.0"}, {"Version", "1.0"}, ok, ok, false},
      {"another value", {"Version", "1.0"}, {"Version", "2.0"}, conflict, conflict, false},
      {"equal value, another flavor", {"Version", "1.0"}, {"Version", "1.0", 0}, ok, conflict, false},
      {"held flavor enables override", {"Description", "a"}, {"Description", "b"}, ok, ok, true},
      {"override enabled on the held one only", {"Version", "1.0", 3}, {"Version", "2.0", 0}, ok, ok, true},
      {"override enabled by the declaration only", {"Description", "a", 2}, {"Description", "b"}, conflict,
       conflict, false},
      {"override enabled on the newcomer only", {"Version", "1.0"}, {"Version", "2.0", 3}, conflict, conflict,
       false},
      // Holding dontcollect relaxes classes only, whatever its value.
      {"under dontcollect", {"Version", "1.0"}, {"Version", "2.0"}, ok, conflict, false,
       {{"dontcollect", TCIMValue(true)}}},
      {"under a false dontcollect", {"Version", "1.0"}, {"Version", "2.0"}, ok, conflict, false,
       {{"dontcollect", TCIMValue(false)}}},
  };
  for (const Row& row : rows) {
    for (EKind kind : kAllKinds) {
      SCOPED_TRACE(std::string(row.what) + " on a " + kKindNames[static_cast<int>(kind)]);
      TElements e;
      TCapturingLogger log;
      ETYLStatusCode status;
      auto first = e.Add(kind, row.first, &status);
      for (const TQualifierSpec& spec : row.alsoHeld) e.Add(kind, spec, &status);
      ASSERT_EQ(status, kStatusOk);
      auto second = e.Add(kind, row.second, &status);
      EXPECT_EQ(status, kind == EKind::kClass ? row.classStatus : row.declStatus);
      EXPECT_EQ(e.Get(kind).GetQualifier(row.first.name, TContext()),
                row.replaced ? second : first);
      EXPECT_TRUE(log.Lines().empty());
    }
  }
}

TEST(DeclarationTest, QualifierLookupsPerKind) {
  struct Row {
    EKind kind;
    bool absentThrowsNotFound;  // else: an empty pointer
    bool flagLookupSupported;   // else: status 1, even for a held qualifier
  };
  const Row rows[] = {{EKind::kClass, false, true},
                      {EKind::kProperty, true, true},
                      {EKind::kMethod, false, false},
                      {EKind::kParameter, false, false}};
  for (const Row& row : rows) {
    SCOPED_TRACE(kKindNames[static_cast<int>(row.kind)]);
    TElements e;
    ETYLStatusCode status;
    auto held = e.Add(row.kind, {"Description", "text"}, &status);
    ICIMNamedElement& element = e.Get(row.kind);
    TCapturingLogger log;
    EXPECT_EQ(element.GetQualifier("dESCRIPTION", TContext()), held);
    boost::shared_ptr<const ICIMQualifier> absent;
    EXPECT_EQ(StatusOf([&] { absent = element.GetQualifier("Version", TContext()); }),
              row.absentThrowsNotFound ? kStatusNotFound : kStatusOk);
    EXPECT_FALSE(absent);
    for (bool present : {true, false}) {
      bool found = !present;
      boost::shared_ptr<const ICIMQualifier> got;
      const char* name = present ? "DESCRIPTION" : "Version";
      EXPECT_EQ(StatusOf([&] { got = element.GetQualifier(name, found, TContext()); }),
                row.flagLookupSupported ? kStatusOk : kStatusNotSupported);
      if (!row.flagLookupSupported) continue;
      EXPECT_EQ(found, present) << name;
      EXPECT_EQ(got, present ? held : nullptr) << name;
    }
    EXPECT_TRUE(log.Lines().empty());
  }
}

TEST(DeclarationTest, LocalChangesClearThePropagatedFlag) {
  struct Row {
    const char* what;
    std::function<void(ICIMQualifier&)> change;
    TCIMValue value;
    uint32_t flavor;
  };
  const Row rows[] = {
      {"equal value", [](ICIMQualifier& q) { q.SetValue("1.0", TContext()); }, "1.0", 6},
      {"other value", [](ICIMQualifier& q) { q.SetValue(TCIMValue(7), TContext()); }, TCIMValue(7), 6},
      {"add held bits", [](ICIMQualifier& q) { q.AddFlavor(2, TContext()); }, "1.0", 6},
      {"add new bits", [](ICIMQualifier& q) { q.AddFlavor(1 | 8, TContext()); }, "1.0", 15},
      {"remove absent bits", [](ICIMQualifier& q) { q.RemoveFlavor(1 | 16, TContext()); }, "1.0", 6},
      {"remove held bits", [](ICIMQualifier& q) { q.RemoveFlavor(4 | 1, TContext()); }, "1.0", 2},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    TElements e;
    TInmemQualifier q(e.cls, e.s.Namespace()->GetQualifierDecl("Version", TContext()),
                      TCIMValue("1.0"), 2 | 4);
    EXPECT_FALSE(q.IsPropagated(TContext()));
    q.SetPropagated(true);
    ASSERT_TRUE(q.IsPropagated(TContext()));
    row.change(q);
    EXPECT_FALSE(q.IsPropagated(TContext()));
    EXPECT_EQ(q.GetValue(TContext()), row.value);
    EXPECT_EQ(q.GetType(TContext()), row.value.GetType());
    EXPECT_EQ(q.GetFlavor(TContext()), row.flavor);
  }
}

TEST(DeclarationTest, QualifiersCompareByNormalisedDeclarationName) {
  TElements e;
  auto ns = e.s.Namespace();
  auto declare = [&](const char* name) {
    return ns->AllocateQualifierDecl(name, TCIMValue::Null(kCIMTypeString), ICIMQualifierDecl::kScopeAny,
                                     ICIMQualifierDecl::kFlavorNone, TContext());
  };
  TInmemQualifier units(e.cls, declare("Units"), TCIMValue("bytes"), 0);
  TInmemQualifier upper(e.cls, declare("UNITS"), TCIMValue("bits"), 3);
  TInmemQualifier zeta(e.cls, declare("Zeta"), TCIMValue("z"), 0);
  TInmemQualifier alpha(e.cls, declare("alpha"), TCIMValue("a"), 0);
  EXPECT_TRUE(units == upper);
  EXPECT_FALSE(units < upper || upper < units);
  EXPECT_FALSE(units == zeta);
  EXPECT_TRUE(alpha < zeta && !(zeta < alpha));  // byte order would say otherwise

  upper.SetPropagated(true);
  static_cast<ICIMQualifier&>(units) = upper;  // changes nothing
  EXPECT_EQ(units.GetValue(TContext()), TCIMValue("bytes"));
  EXPECT_EQ(units.GetFlavor(TContext()), 0u);
  EXPECT_EQ(units.GetName(TContext()), "Units");
  EXPECT_FALSE(units.IsPropagated(TContext()));
}

// Declarations take the type of the value they are given last.
TEST(DeclarationTest, DeclarationsFollowChangesOfFlavorAndValue) {
  TElements e;
  auto units = e.s.Namespace()->AllocateQualifierDecl(
      "Units", TCIMValue::Null(kCIMTypeString), ICIMQualifierDecl::kScopeProperty,
      static_cast<ICIMQualifierDecl::EFlavor>(2 | 4), TContext());
  units->AddFlavor(1 | 2, TContext());
  EXPECT_EQ(units->GetFlavor(TContext()), 7u);
  units->RemoveFlavor(2 | 8, TContext());
  EXPECT_EQ(units->GetFlavor(TContext()), 5u);
  EXPECT_EQ(units->GetScope(TContext()), static_cast<uint32_t>(ICIMQualifierDecl::kScopeProperty));
  units->SetValue(TCIMValue(kCIMTypeUint16, {TCIMValue(uint16_t{1})}), TContext());
  EXPECT_EQ(units->GetType(TContext()), ArrayTypeOf(kCIMTypeUint16));
  EXPECT_TRUE(units->IsArray(TContext()));
  e.property->SetDefaultValue(TCIMValue(kCIMTypeString, {TCIMValue("a")}), TContext());
  EXPECT_TRUE(e.property->IsArray(TContext()));
}

// A declaration whose class has gone can no longer enter it, and says nothing.
TEST(DeclarationTest, AnOrphanedDeclarationIsDroppedSilently) {
  TElements e;
  boost::shared_ptr<ICIMPropertyDecl> orphan;
  boost::weak_ptr<ICIMClass> gone;
  {
    auto transient = e.s.Class("Transient");
    orphan = transient->AllocatePropertyDecl("Name", TCIMValue::Null(kCIMTypeString), TContext());
    gone = transient;
  }
  ASSERT_TRUE(gone.expired());
  EXPECT_FALSE(orphan->GetClass(TContext()));
  EXPECT_EQ(OutcomeOf([&] { orphan->AddToClass(TContext()); }), kQuietSuccess);
}

TEST(DeclarationTest, SubclassesCopyToSubclassQualifiers) {
  TSchemaBuilder s;
  auto base = s.Class("Base", "",
                      {{"ABSTRACT", TCIMValue(true), kToSubclass},
                       {"Version", "1.0"},                        // declared to-subclass
                       {"Restricted", "r", kToSubclass},          // made to-subclass here
                       {"Description", "d", kOverridable},        // to-subclass dropped here
                       {"Local", "l"},                            // never to-subclass
                       {"dontcollect", TCIMValue(true), kToSubclass | 4}});
  s.Enter(base);
  auto derived = s.Class("Derived", "Base");
  TNames names;
  derived->EnumerateQualifiers(
      [&](boost::shared_ptr<ICIMQualifier> q) {
        const std::string& name = q->GetName(TContext());
        names.push_back(name);
        auto original = base->GetQualifier(name, TContext());
        EXPECT_NE(q, original) << name;  // a new object
        EXPECT_TRUE(q->IsPropagated(TContext())) << name;
        EXPECT_FALSE(original->IsPropagated(TContext())) << name;
        EXPECT_EQ(q->GetValue(TContext()), original->GetValue(TContext())) << name;
        EXPECT_EQ(q->GetFlavor(TContext()), original->GetFlavor(TContext())) << name;
        EXPECT_EQ(q->GetOwner(TContext()), derived) << name;
        return true;
      },
      TContext());
  EXPECT_EQ(names, TNames({"dontcollect", "Restricted", "Version"}));
  EXPECT_FALSE(derived->IsAbstract(TContext()));
}

}  // namespace
