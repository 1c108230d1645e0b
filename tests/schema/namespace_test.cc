#include "include/inmem_namespace.h"

#include <boost/make_shared.hpp>
#include <gtest/gtest.h>

#include "provider/inmem_namespace_provider.h"
#include "provider/library_entry.h"
#include "tests/support/schema_builder.h"
#include "tests/support/status_of.h"

namespace {

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
    EXPECT_EQ(OutcomeOf([&] { TInmemNamespace::NormalizeName(name); }),
              Refusal(kStatusInvalidName, std::string("Inmem: CIM name '") + name + "' is invalid"));
  }
}

// Classes are found by name in any case once entered; until then each
// allocation makes a new class. Allocating an entered class returns it,
// whatever superclass is asked for, with what its superclass gained since.
TEST(NamespaceTest, ClassesAreFoundOnceEntered) {
  TSchemaBuilder s;
  auto ns = s.Namespace();
  auto root = ns->GetClass("", TContext());
  EXPECT_EQ(ns->GetClass("<root>", TContext()), root);
  EXPECT_EQ(ns->AllocateClass("<root>", {}, TContext()), root);
  EXPECT_EQ(OutcomeOf([&] { ns->GetClass("<ROOT>", TContext()); }),
            Refusal(kStatusInvalidName, "Inmem: CIM name '<ROOT>' is invalid"));

  auto top = s.Class("Top");
  EXPECT_EQ(top->GetSuperClass(TContext()), root);
  EXPECT_TRUE(top->IsTopLevel(TContext()));
  EXPECT_EQ(StatusOf([&] { ns->GetClass("Top", TContext()); }), kStatusNotFound);
  EXPECT_NE(ns->AllocateClass("Top", {}, TContext()), top);
  s.Key(top, "Id");
  s.Enter(top);
  EXPECT_EQ(ns->GetClass("tOP", TContext()), top);
  auto derived = s.KeyedClass("Derived", "Top", "");
  s.Property(top, "Later", TCIMValue::Null(kCIMTypeUint32));
  EXPECT_EQ(PropertyDeclNames(*derived), TNames({"Id"}));
  EXPECT_EQ(ns->AllocateClass("TOP", derived, TContext()), top);
  EXPECT_EQ(top->GetSuperClass(TContext()), root);
  EXPECT_EQ(ns->AllocateClass("Derived", {}, TContext()), derived);
  EXPECT_EQ(PropertyDeclNames(*derived), TNames({"Id", "Later"}));
}

TEST(NamespaceTest, AnInvalidClassNameIsLoggedButAllocatedAndRefusedOnEntry) {
  TSchemaBuilder s;
  boost::shared_ptr<ICIMClass> cls;
  EXPECT_EQ(OutcomeOf([&] { cls = s.Namespace()->AllocateClass("bad-name", {}, TContext()); }),
            TOutcome({kStatusOk, {{3, "Inmem: CIM name 'bad-name' is invalid"}}}));
  ASSERT_TRUE(cls);
  cls->AddQualifier(s.Qualifier(*cls, {"ABSTRACT", TCIMValue(true)}), TContext());
  EXPECT_EQ(StatusOf([&] { cls->AddToNamespace(TContext()); }), kStatusInvalidName);
}

// A name already taken is refused without the redefinition flag; with it the
// newcomer replaces the first and takes over its subclasses, but physical
// network port classes are never replaced. Two classes of one name are
// allocated before the first is entered: AllocateClass finds entered ones.
TEST(NamespaceTest, EnteringATakenClassName) {
  struct Row {
    bool allowRedefinition;
    const char* first;
    const char* second;
    TOutcome outcome;
    bool replaced;
  };
  const Row rows[] = {
      {false, "Foo", "FOO",
       Refusal(kStatusAlreadyDefined, "Inmem: TInmemNamespace: class FOO already defined"), false},
      {true, "Foo", "FOO", kQuietSuccess, true},
      {true, "PELXA_PhysicalNetworkPort", "pelxa_physicalnetworkport", kQuietSuccess, false},
      {true, "My_PELXA_PHYSICALNETWORKPORT", "My_PELXA_PHYSICALNETWORKPORT", kQuietSuccess, false},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.second);
    TSchemaBuilder s(row.allowRedefinition);
    auto first = s.Class(row.first, "", {{"ABSTRACT", TCIMValue(true)}});
    auto second = s.Class(row.second, "", {{"ABSTRACT", TCIMValue(true)}});
    s.Enter(first);
    s.KeyedClass("Child", row.first, "Id");
    EXPECT_EQ(OutcomeOf([&] { s.Enter(second); }), row.outcome);
    auto held = row.replaced ? second : first;
    EXPECT_EQ(s.Namespace()->GetClass(row.first, TContext()), held);
    EXPECT_EQ(SubclassNames(*held, false), TNames({"Child"}));
  }
}

TEST(NamespaceTest, EnteringATakenQualifierName) {
  for (bool allowRedefinition : {false, true}) {
    TSchemaBuilder s(allowRedefinition);
    auto ns = s.Namespace();
    auto old = ns->GetQualifierDecl("KEY", TContext());
    auto key = ns->AllocateQualifierDecl("key", TCIMValue(false), ICIMQualifierDecl::kScopeAny,
                                         ICIMQualifierDecl::kFlavorNone, TContext());
    EXPECT_EQ(OutcomeOf([&] { key->AddToNamespace(TContext()); }),
              allowRedefinition ? kQuietSuccess
                                : Refusal(kStatusAlreadyDefined,
                                          "Inmem: TInmemNamespace: qualifier key already defined"));
    EXPECT_EQ(ns->GetQualifierDecl("Key", TContext()), allowRedefinition ? key : old);
  }
}

TEST(NamespaceTest, RootClassesAreTheDirectSubclassesOfRootInRegistrationOrder) {
  TSchemaBuilder s;
  for (const char* name : {"Zeta", "Alpha", "Mid"}) s.AbstractClass(name);
  s.AbstractClass("Child", "Alpha");
  EXPECT_EQ(RootClassNames(*s.Namespace()), TNames({"Zeta", "Alpha", "Mid"}));
  EXPECT_EQ(RootClassNames(*s.Namespace(), 2), TNames({"Zeta", "Alpha"}));  // false stops
}

TEST(NamespaceTest, QualifierDeclarationsAreLookedUpAndAllVisited) {
  TSchemaBuilder s;
  auto ns = s.Namespace();
  EXPECT_FALSE(ns->GetQualifierDecl("NoSuchQualifier", TContext()));
  EXPECT_EQ(ns->GetQualifierDecl("key", TContext())->GetName(TContext()), "KEY");
  TNames seen;
  ns->EnumerateQualifierDecls(
      [&](boost::shared_ptr<ICIMQualifierDecl> d) -> bool {
        seen.push_back(d->GetName(TContext()));
        if (seen.size() == 1) throw TTYLException(kStatusNotFound);
        if (seen.size() == 2) throw std::runtime_error("not ours either");
        return false;
      },
      TContext());
  EXPECT_EQ(seen, TNames({"ABBREVIATEUNITS", "ABSTRACT", "ASSOCIATION", "BASE", "Description",
                          "DISPLAYFIXEDUNITS", "dontcollect", "KEY", "Local", "NULLDISPLAY",
                          "OVERRIDE", "Restricted", "UNITS", "ValueMap", "Values", "Version"}));
}

TEST(NamespaceTest, UnsupportedOperationsAreRefusedSilently) {
  TSchemaBuilder s;
  auto ns = s.Namespace();
  TCapturingLogger log;
  TCIMReference path;
  std::string language = "WQL", query = "select * from x";
  EXPECT_EQ(StatusOf([&] { ns->Subscribe({}, {}, TContext()); }), kStatusNotSupported);
  EXPECT_EQ(StatusOf([&] { ns->ExecuteQuery({}, language, query, TContext()); }), kStatusNotSupported);
  EXPECT_EQ(StatusOf([&] { ns->DeleteInstance(path, TContext()); }), kStatusNotSupported);
  EXPECT_EQ(StatusOf([&] { ns->ModifyInstance(path, {}, TContext()); }), kStatusNotSupported);
  EXPECT_EQ(StatusOf([&] { ns->AddUnderlyingNamespace(ns, TContext()); }),
            kStatusUnderlyingNamespaceNotSupported);
  EXPECT_TRUE(log.Lines().empty());

  // Accepted and ignored.
  TSchemaBuilder other;
  other.AbstractClass("OnlyUpstairs");
  ns->SetUpcallNamespace(other.Namespace(), TContext());
  EXPECT_EQ(StatusOf([&] { ns->GetClass("OnlyUpstairs", TContext()); }), kStatusNotFound);
  int calls = 0;
  ns->EnumerateProviders([&](boost::shared_ptr<IProvider>) { return ++calls > 0; }, TContext());
  EXPECT_EQ(calls, 0);
}

// Elements and instances hold each other in cycles (an association that
// references its own class, an instance whose references point at itself);
// the namespace breaks them all when it goes.
TEST(NamespaceTest, DroppingANamespaceFreesEveryElementAndInstance) {
  std::vector<boost::weak_ptr<void>> watched;
  {
    TSchemaBuilder s;
    auto base = s.KeyedClass("Base", "", "Id");
    auto assoc = s.Class("Assoc", "", {{"ASSOCIATION", TCIMValue(true)}});
    auto self = s.Reference(assoc, "Self", assoc, {{"KEY", TCIMValue(true)}});
    auto other = s.Reference(assoc, "Other", base, {{"KEY", TCIMValue(true)}});
    auto method = s.Method(base, "Reset", kCIMTypeUint32);
    method->DefineParameter("Force", kCIMTypeBoolean, TContext());
    s.Enter(assoc);
    auto link = s.Association("Link", "", {{"From", base}, {"To", base}});
    auto a = s.Instance("Base", {{"Id", TCIMValue("a")}});
    TCIMValue toA(a->GetReference(TContext()));
    auto loop = s.Instance("Link", {{"From", toA}, {"To", toA}});
    ASSERT_TRUE(s.Namespace()->GetInstance(loop->GetReference(TContext()), TContext()));
    for (boost::shared_ptr<void> p : std::vector<boost::shared_ptr<void>>{
             s.Namespace(), base, assoc, self, other, method, link, a, loop,
             s.Namespace()->GetClass("", TContext()),
             s.Namespace()->GetQualifierDecl("KEY", TContext())}) {
      watched.push_back(p);
    }
  }
  for (const auto& w : watched) EXPECT_TRUE(w.expired());
}

// Copies share the original's classes. Dropping a copy, made either way,
// leaves the original's instances and association walks whole; assigning
// over a namespace frees what only its old elements held; and the last
// namespace to go frees everything, a class entered through a copy included.
TEST(NamespaceTest, CopiesShareTheElementsUntilTheLastOneGoes) {
  typedef std::vector<boost::shared_ptr<ICIMInstance>> TInstances;
  for (bool assign : {false, true}) {
    SCOPED_TRACE(assign ? "copy assignment" : "copy construction");
    std::vector<boost::weak_ptr<void>> watched;
    {
      TSchemaBuilder s;
      auto base = s.KeyedClass("Base", "", "Id");
      s.Association("Link", "", {{"From", base}, {"To", base}});
      auto a = s.Instance("Base", {{"Id", TCIMValue("a")}});
      auto b = s.Instance("Base", {{"Id", TCIMValue("b")}});
      auto link = s.Instance("Link", {{"From", TCIMValue(a->GetReference(TContext()))},
                                      {"To", TCIMValue(b->GetReference(TContext()))}});
      {
        boost::shared_ptr<TInmemNamespace> copy;
        if (assign) {
          TSchemaBuilder target;
          target.KeyedClass("Old", "", "Id");
          boost::weak_ptr<ICIMInstance> old = target.Instance("Old", {{"Id", TCIMValue("o")}});
          copy = target.Namespace();
          *copy = *s.Namespace();
          EXPECT_TRUE(old.expired());
        } else {
          copy = boost::make_shared<TInmemNamespace>(*s.Namespace());
        }
        auto late = copy->AllocateClass("Late", {}, TContext());
        s.Key(late, "Id");
        s.Enter(late);
        auto item = late->AllocateInstance(TContext());
        item->SetPropertyValue("Id", TCIMValue("l"), TContext());
        item->AddToNamespace(TContext());
        ASSERT_EQ(copy->GetInstance(item->GetReference(TContext()), TContext()), item);
        // Each namespace finds the classes entered into it, not the other's.
        EXPECT_EQ(StatusOf([&] { s.Namespace()->GetClass("late", TContext()); }), kStatusNotFound);
        watched = {late, item, base, a, link};
      }
      EXPECT_EQ(s.Namespace()->GetInstance(a->GetReference(TContext()), TContext()), a);
      TInstances far, links;
      a->EnumerateAssociatedInstances([&](auto i) { far.push_back(i); return true; }, "Link",
                                      "Base", "", "", TContext());
      a->EnumerateAssociationInstances([&](auto i) { links.push_back(i); return true; }, "Link", "",
                                       TContext());
      EXPECT_EQ(far, TInstances({b}));
      EXPECT_EQ(links, TInstances({link}));
    }
    for (const auto& w : watched) EXPECT_TRUE(w.expired());
  }
}

}  // namespace
