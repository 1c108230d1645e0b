#include "include/inmem_namespace.h"

#include <boost/make_shared.hpp>
#include <gtest/gtest.h>

#include "provider/inmem_namespace_provider.h"
#include "provider/library_entry.h"
#include "tests/support/status_of.h"
#include "tests/support/capturing_logger.h"
#include "tests/support/schema_builder.h"

namespace {

typedef std::vector<TCapturingLogger::TLine> TLines;

TEST(NamespaceTest, NormalizeNameLowerCasesValidNames) {
  const std::pair<const char*, const char*> rows[] = {
      {"", ""}, {"CIM_System", "cim_system"}, {"_x1", "_x1"}, {"A", "a"}, {"abc_DEF_123", "abc_def_123"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(TInmemNamespace::NormalizeName(row.first), row.second);
    EXPECT_EQ(TInmemNamespace::NormalizeName(row.second), row.second);  // idempotent
  }
}

TEST(NamespaceTest, NormalizeNameRefusesWhatIsNotACIMName) {
  const char* const names[] = {"1abc", "a-b", "a b", "a.b", "a:b", "<root>", "<ROOT>", "caf\xc3\xa9",
                               "x\xff"};
  for (const char* name : names) {
    TCapturingLogger log;
    EXPECT_EQ(StatusOf([&] { TInmemNamespace::NormalizeName(name); }), kStatusInvalidName) << name;
    EXPECT_EQ(log.Lines(), TLines({{3, std::string("Inmem: CIM name '") + name + "' is invalid"}}));
  }
}

TEST(NamespaceTest, GetClassFindsEnteredClassesOnly) {
  TSchemaBuilder s;
  auto ns = s.Namespace();
  EXPECT_EQ(ns->GetClass("", TContext()), ns->GetClass("<root>", TContext()));
  auto cls = s.Class("CIM_Foo");
  EXPECT_EQ(StatusOf([&] { ns->GetClass("CIM_Foo", TContext()); }), kStatusNotFound);
  s.Key(cls, "Id");
  s.Enter(cls);
  EXPECT_EQ(ns->GetClass("CIM_Foo", TContext()), cls);
  EXPECT_EQ(ns->GetClass("cim_FOO", TContext()), cls);
  TCapturingLogger log;
  EXPECT_EQ(StatusOf([&] { ns->GetClass("bad name", TContext()); }), kStatusInvalidName);
  EXPECT_EQ(StatusOf([&] { ns->GetClass("<ROOT>", TContext()); }), kStatusInvalidName);
  EXPECT_EQ(log.Lines().size(), 2u);
}

TEST(NamespaceTest, AllocateClassReturnsTheEnteredClassAndIgnoresTheSuperclass) {
  TSchemaBuilder s;
  auto ns = s.Namespace();
  auto root = ns->GetClass("", TContext());
  EXPECT_EQ(ns->AllocateClass("<root>", {}, TContext()), root);
  EXPECT_EQ(ns->AllocateClass("", {}, TContext()), root);

  auto top = s.Class("Top");
  EXPECT_EQ(top->GetSuperClass(TContext()), root);
  EXPECT_TRUE(top->IsTopLevel(TContext()));
  // Not entered yet: a second allocation makes a second, independent class.
  EXPECT_NE(ns->AllocateClass("Top", {}, TContext()), top);
  s.Key(top, "Id");
  s.Enter(top);
  auto other = s.Class("Other");
  EXPECT_EQ(ns->AllocateClass("TOP", other, TContext()), top);
  EXPECT_EQ(top->GetSuperClass(TContext()), root);
}

TEST(NamespaceTest, AllocatingAnExistingClassCopiesWhatItsSuperclassGainedSince) {
  TSchemaBuilder s;
  auto base = s.Class("Base");
  s.Key(base, "Id");
  s.Enter(base);
  auto derived = s.Class("Derived", "Base");
  s.Enter(derived);
  s.Property(base, "Later", TCIMValue::Null(kCIMTypeUint32));
  EXPECT_EQ(PropertyDeclNames(*derived), std::vector<std::string>({"Id"}));
  EXPECT_EQ(s.Namespace()->AllocateClass("Derived", {}, TContext()), derived);
  EXPECT_EQ(PropertyDeclNames(*derived), std::vector<std::string>({"Id", "Later"}));
}

TEST(NamespaceTest, AnInvalidClassNameIsLoggedButAllocatedAndRefusedOnEntry) {
  TSchemaBuilder s;
  TCapturingLogger log;
  auto cls = s.Namespace()->AllocateClass("bad-name", {}, TContext());
  ASSERT_TRUE(cls);
  EXPECT_EQ(log.Lines(), TLines({{3, "Inmem: CIM name 'bad-name' is invalid"}}));
  cls->AddQualifier(s.Qualifier(*cls, {"ABSTRACT", TCIMValue(true)}), TContext());
  EXPECT_EQ(StatusOf([&] { cls->AddToNamespace(TContext()); }), kStatusInvalidName);
}

// A class is found by AllocateClass only once entered, so two classes of one
// name are allocated before the first is entered.
TEST(NamespaceTest, EnteringANameTwiceWithoutRedefinitionIsRefused) {
  TSchemaBuilder s(false);
  auto first = s.Class("Foo", "", {{"ABSTRACT", TCIMValue(true)}});
  auto second = s.Class("FOO", "", {{"ABSTRACT", TCIMValue(true)}});
  s.Enter(first);
  TCapturingLogger log;
  EXPECT_EQ(StatusOf([&] { second->AddToNamespace(TContext()); }), kStatusAlreadyDefined);
  EXPECT_EQ(log.Lines(), TLines({{3, "Inmem: TInmemNamespace: class FOO already defined"}}));
  EXPECT_EQ(s.Namespace()->GetClass("foo", TContext()), first);

  auto ns = s.Namespace();
  log.Clear();
  EXPECT_EQ(StatusOf([&] {
              ns->AllocateQualifierDecl("key", TCIMValue(false), ICIMQualifierDecl::kScopeAny,
                                        ICIMQualifierDecl::kFlavorNone, TContext())
                  ->AddToNamespace(TContext());
            }),
            kStatusAlreadyDefined);
  EXPECT_EQ(log.Lines(), TLines({{3, "Inmem: TInmemNamespace: qualifier key already defined"}}));
}

TEST(NamespaceTest, RedefinitionReplacesAndKeepsTheSubclassList) {
  TSchemaBuilder s(true);
  auto foo = s.Class("Foo", "", {{"ABSTRACT", TCIMValue(true)}});
  auto newFoo = s.Class("FOO", "", {{"ABSTRACT", TCIMValue(true)}});
  s.Enter(foo);
  auto child = s.Class("Child", "Foo");
  s.Key(child, "Id");
  s.Enter(child);
  TCapturingLogger log;
  s.Enter(newFoo);
  EXPECT_TRUE(log.Lines().empty());
  EXPECT_EQ(s.Namespace()->GetClass("foo", TContext()), newFoo);
  EXPECT_EQ(SubclassNames(*newFoo, false), std::vector<std::string>({"Child"}));

  // A qualifier declaration entered again replaces the first as well.
  auto ns = s.Namespace();
  auto decl = ns->AllocateQualifierDecl("KEY", TCIMValue(true), ICIMQualifierDecl::kScopeAny,
                                        ICIMQualifierDecl::kFlavorNone, TContext());
  decl->AddToNamespace(TContext());
  EXPECT_EQ(ns->GetQualifierDecl("Key", TContext()), decl);
}

TEST(NamespaceTest, PhysicalNetworkPortClassesAreNeverReplaced) {
  TSchemaBuilder s(true);
  const char* const names[] = {"PELXA_PhysicalNetworkPort", "pelxa_physicalnetworkportex",
                               "My_PELXA_PHYSICALNETWORKPORT"};
  for (const char* name : names) {
    auto first = s.Class(name, "", {{"ABSTRACT", TCIMValue(true)}});
    auto twin = s.Class(name, "", {{"ABSTRACT", TCIMValue(true)}});
    s.Enter(first);
    TCapturingLogger log;
    s.Enter(twin);
    EXPECT_TRUE(log.Lines().empty()) << name;
    EXPECT_EQ(s.Namespace()->GetClass(name, TContext()), first) << name;
  }
}

TEST(NamespaceTest, RootClassesAreTheDirectSubclassesOfRootInRegistrationOrder) {
  TSchemaBuilder s;
  for (const char* name : {"Zeta", "Alpha", "Mid"}) {
    auto cls = s.Class(name, "", {{"ABSTRACT", TCIMValue(true)}});
    s.Enter(cls);
  }
  auto child = s.Class("Child", "Alpha", {{"ABSTRACT", TCIMValue(true)}});
  s.Enter(child);
  std::vector<std::string> seen;
  s.Namespace()->EnumerateRootClasses(
      [&](boost::shared_ptr<ICIMClass> c) {
        seen.push_back(c->GetName(TContext()));
        return seen.size() < 2;  // false stops
      },
      TContext());
  EXPECT_EQ(seen, std::vector<std::string>({"Zeta", "Alpha"}));
}

TEST(NamespaceTest, QualifierDeclarationsAreLookedUpAndAllVisited) {
  TSchemaBuilder s;
  auto ns = s.Namespace();
  EXPECT_FALSE(ns->GetQualifierDecl("NoSuchQualifier", TContext()));
  EXPECT_EQ(ns->GetQualifierDecl("key", TContext())->GetName(TContext()), "KEY");
  std::vector<std::string> seen;
  ns->EnumerateQualifierDecls(
      [&](boost::shared_ptr<ICIMQualifierDecl> d) -> bool {
        seen.push_back(d->GetName(TContext()));
        if (seen.size() == 1) throw TTYLException(kStatusNotFound);
        if (seen.size() == 2) throw std::runtime_error("not ours either");
        return false;
      },
      TContext());
  EXPECT_EQ(seen, std::vector<std::string>(
                      {"ABBREVIATEUNITS", "ABSTRACT", "ASSOCIATION", "BASE", "Description",
                       "DISPLAYFIXEDUNITS", "dontcollect", "KEY", "Local", "NULLDISPLAY",
                       "OVERRIDE", "Restricted", "UNITS", "ValueMap", "Values", "Version"}));
}

TEST(NamespaceTest, UnsupportedOperationsAreRefusedSilently) {
  TSchemaBuilder s;
  auto ns = s.Namespace();
  TCapturingLogger log;
  std::string language = "WQL", query = "select * from x";
  TCIMReference path;
  EXPECT_EQ(StatusOf([&] { ns->Subscribe({}, {}, TContext()); }), kStatusNotSupported);
  EXPECT_EQ(StatusOf([&] { ns->DeleteInstance(path, TContext()); }), kStatusNotSupported);
  EXPECT_EQ(StatusOf([&] { ns->ModifyInstance(path, {}, TContext()); }), kStatusNotSupported);
  EXPECT_EQ(StatusOf([&] { ns->ExecuteQuery({}, language, query, TContext()); }),
            kStatusNotSupported);
  EXPECT_EQ(StatusOf([&] { ns->AddUnderlyingNamespace(ns, TContext()); }),
            kStatusUnderlyingNamespaceNotSupported);
  EXPECT_TRUE(log.Lines().empty());

  // Accepted and ignored.
  TSchemaBuilder other;
  auto only = other.Class("OnlyUpstairs", "", {{"ABSTRACT", TCIMValue(true)}});
  other.Enter(only);
  ns->SetUpcallNamespace(other.Namespace(), TContext());
  EXPECT_EQ(StatusOf([&] { ns->GetClass("OnlyUpstairs", TContext()); }), kStatusNotFound);
  int calls = 0;
  ns->EnumerateProviders([&](boost::shared_ptr<IProvider>) { return ++calls > 0; }, TContext());
  EXPECT_EQ(calls, 0);
}

TEST(NamespaceTest, GetInstanceSearchesOnlyTheNamedClass) {
  TSchemaBuilder s;
  auto cls = s.Class("CIM_Foo");
  s.Key(cls, "Id");
  s.Enter(cls);
  TCIMReference path;
  path.SetClass(cls);
  path.AddKeyValue("Id", TCIMValue("1"));
  EXPECT_FALSE(s.Namespace()->GetInstance(path, TContext()));
  path.SetClassName("CIM_Unknown");
  EXPECT_EQ(StatusOf([&] { s.Namespace()->GetInstance(path, TContext()); }), kStatusNotFound);
}

TEST(NamespaceTest, DroppingANamespaceFreesEveryElement) {
  boost::weak_ptr<TInmemNamespace> watchNamespace;
  std::vector<boost::weak_ptr<void>> watched;
  {
    TSchemaBuilder s;
    watchNamespace = s.Namespace();
    auto base = s.Class("Base");
    s.Key(base, "Id");
    s.Enter(base);
    auto assoc = s.Class("Assoc", "", {{"ASSOCIATION", TCIMValue(true)}});
    // An association that references its own class holds itself.
    auto self = s.Reference(assoc, "Self", assoc, {{"KEY", TCIMValue(true)}});
    auto other = s.Reference(assoc, "Other", base, {{"KEY", TCIMValue(true)}});
    auto method = s.Method(base, "Reset", kCIMTypeUint32);
    method->DefineParameter("Force", kCIMTypeBoolean, TContext());
    s.Enter(assoc);
    for (boost::shared_ptr<void> p : std::vector<boost::shared_ptr<void>>{
             base, assoc, self, other, method, s.Namespace()->GetClass("", TContext()),
             s.Namespace()->GetQualifierDecl("KEY", TContext())}) {
      watched.push_back(p);
    }
  }
  EXPECT_TRUE(watchNamespace.expired());
  for (const auto& w : watched) EXPECT_TRUE(w.expired());
}

}  // namespace
