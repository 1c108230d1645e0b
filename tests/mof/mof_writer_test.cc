// What the writer gives reads back to the same repository.

#include <pthread.h>

#include <cmath>
#include <functional>
#include <limits>
#include <sstream>
#include <vector>

#include <gtest/gtest.h>

#include "include/cim_class.h"
#include "include/cim_instance.h"
#include "include/cim_property.h"
#include "mof/mof_loader.h"
#include "mof/mof_writer.h"
#include "tests/support/capturing_logger.h"
#include "tests/support/provider_namespace.h"
#include "tests/support/schema_builder.h"

namespace {

std::string Export(ICIMNamespace& ns) {
  std::ostringstream out;
  TMofWriter(out).WriteNamespace(ns);
  return out.str();
}

// Loads `mof` into a fresh namespace, exports it, reloads the export and
// checks that a second export is the same text; returns the export.
std::string ExpectRoundTrip(const std::string& name, const std::string& mof, bool isFile) {
  TCapturingLogger quiet;
  boost::shared_ptr<ICIMNamespace> first = NewProviderNamespace();
  TMofLoader loader(first);
  EXPECT_TRUE(isFile ? loader.LoadFile(mof) : loader.LoadText(name, mof));
  std::string exported = Export(*first);
  boost::shared_ptr<ICIMNamespace> second = NewProviderNamespace();
  TMofLoader reloader(second);
  bool reloaded = reloader.LoadText("export.mof", exported);
  for (const TMofDiagnostic& d : reloader.Diagnostics()) {
    EXPECT_NE(d.severity, TMofDiagnostic::kError) << d.Format();
  }
  EXPECT_TRUE(reloaded);
  EXPECT_EQ(reloader.Counts().classes, loader.Counts().classes);
  EXPECT_EQ(reloader.Counts().instances, loader.Counts().instances);
  EXPECT_EQ(Export(*second), exported);
  return exported;
}

TEST(MofWriterTest, ASmallSchemaWithInstancesRoundTrips) {
  std::string exported = ExpectRoundTrip("small.mof", R"(
    Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride, ToSubclass);
    Qualifier Association : boolean = false, Scope(association), Flavor(DisableOverride, ToSubclass);
    Qualifier Abstract : boolean = false, Scope(class, association), Flavor(Restricted);
    Qualifier Description : string = null, Scope(any), Flavor(EnableOverride, ToSubclass, Translatable);
    Qualifier Override : string = null, Scope(property, method), Flavor(EnableOverride, Restricted);
    Qualifier ValueMap : string[], Scope(property, parameter);
    Qualifier Units : string, Scope(property);
    Qualifier Carried : boolean = false, Scope(class), Flavor(ToInstance);
    [Carried] class Marked {};
    [Abstract, Description("Top \"of\" all\n")] class Element { string Caption = "none"; };
    [Description("A box")] class Box : Element {
      [Key] string Name;
      [ValueMap{"0", "1"}, Description("State") : Restricted] uint16 State;
      [Units("Bytes")] uint64 Sizes[] = {1, 2};
      [Override("Caption")] string Caption = "box";
      uint32 Move([Description("where")] Box REF To, string Notes[]);
      char16 Letter = '\'';
      datetime When = "00000001020304.000000:000";
      real32 Ratio = 0.5;
    };
    [Association] class Holds { [Key] Box REF Outer; [Key] Box REF Inner; };
    instance of Box as $a { Name = "a"; State = 1; When = "20261122101530.000000+000"; };
    instance of Box as $b { Name = "b\\c"; Sizes = {3}; };
    instance of Holds { Outer = $a; Inner = $b; };
  )", false);
  // Every flavor is written, not only those that reach subclasses.
  EXPECT_NE(exported.find("Scope(class),\n    Flavor(EnableOverride, ToSubclass, ToInstance);"),
            std::string::npos)
      << exported;
}

// Values a host may put in that MOF text cannot hold as they are: every
// one is written so that it reads back equal, and the second export is the
// same text.
TEST(MofWriterTest, EveryValueAHostCanSetReadsBackEqual) {
  TCapturingLogger quiet;
  boost::shared_ptr<ICIMNamespace> first = NewProviderNamespace();
  ASSERT_TRUE(TMofLoader(first).LoadText("t.mof", R"(
    Qualifier Key : boolean = false, Scope(property), Flavor(DisableOverride, ToSubclass);
    class V { [Key] uint32 Id; real32 Single; real64 Double; string Text; char16 Letter; };
  )"));
  const double inf = std::numeric_limits<double>::infinity();
  const std::vector<std::pair<const char*, std::vector<TCIMValue>>> columns = {
      {"Single", {TCIMValue(static_cast<float>(inf)), TCIMValue(-0.0f),
                  TCIMValue(std::numeric_limits<float>::max()),
                  TCIMValue(std::numeric_limits<float>::denorm_min())}},
      {"Double", {TCIMValue(-inf), TCIMValue(std::numeric_limits<double>::quiet_NaN()),
                  TCIMValue(18446744073809555456.0), TCIMValue(-5e-324)}},
      {"Text", {TCIMValue(std::string("nul \0 bell \x07 del \x7F \\ \" end", 26)),
                TCIMValue("surrogate \xED\xA0\x80 and \xF0\x9F\x98\x80"), TCIMValue("")}},
      {"Letter", {TCIMValue(u'\0'), TCIMValue(u'\xd800'), TCIMValue(u'\xffff'), TCIMValue(u'\'')}},
  };
  unsigned id = 0;
  for (const auto& column : columns) {
    for (const TCIMValue& value : column.second) {
      boost::shared_ptr<ICIMInstance> v = first->GetClass("V", TContext())->AllocateInstance(TContext());
      v->SetPropertyValue("Id", TCIMValue(++id), TContext());
      v->SetPropertyValue(column.first, value, TContext());
      v->AddToNamespace(TContext());
    }
  }
  std::string exported = Export(*first);
  boost::shared_ptr<ICIMNamespace> second = NewProviderNamespace();
  TMofLoader reloader(second);
  ASSERT_TRUE(reloader.LoadText("export.mof", exported))
      << reloader.Diagnostics().back().Format() << "\n" << exported;
  id = 0;
  for (const auto& column : columns) {
    for (const TCIMValue& value : column.second) {
      TCIMReference path;
      path.SetClassName("V");
      path.AddKeyValue("Id", TCIMValue(++id));
      boost::shared_ptr<ICIMInstance> v = second->GetInstance(path, TContext());
      ASSERT_TRUE(v) << path.GetPath();
      const TCIMValue& read = v->GetProperty(column.first, TContext())->GetValue(TContext());
      EXPECT_EQ(read, value) << column.first << " " << id << ": " << read.ToString();
      if (IsRealType(value.GetType())) {  // -0.0 == 0.0: the sign must come back too
        EXPECT_EQ(std::signbit(static_cast<double>(read)), std::signbit(static_cast<double>(value)));
      }
    }
  }
  EXPECT_EQ(Export(*second), exported);
}

// Runs `work` on a thread whose stack holds `bytes`.
void RunOnStack(size_t bytes, std::function<void()> work) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, bytes);
  pthread_t thread;
  auto run = [](void* w) -> void* {
    (*static_cast<std::function<void()>*>(w))();
    return nullptr;
  };
  ASSERT_EQ(pthread_create(&thread, &attributes, run, &work), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

// Each class of a chain references the next one and comes before it in the
// namespace, so every class waits for the rest of the chain: the export is
// written in that order all the same, on a stack far smaller than the chain.
TEST(MofWriterTest, ALongChainOfReferencesNeedsNoDeepStack) {
  TCapturingLogger quiet;
  TSchemaBuilder s;
  const int length = 5000;
  std::vector<TClassPtr> chain;
  for (int i = 0; i < length; ++i) {
    chain.push_back(s.Class("C" + std::to_string(i), "", {{"ASSOCIATION", TCIMValue(true)}}));
  }
  for (int i = 0; i < length; ++i) {
    if (i + 1 < length) {
      s.Reference(chain[i], "Next", chain[i + 1], {{"KEY", TCIMValue(true)}});
    } else {
      s.Key(chain[i], "Id");
    }
    s.Enter(chain[i]);
  }
  std::string exported;
  RunOnStack(128 << 10, [&] { exported = Export(*s.Namespace()); });
  EXPECT_LT(exported.find("class C4999 "), exported.find("class C4998 "));
  boost::shared_ptr<ICIMNamespace> reread = NewProviderNamespace();
  TMofLoader loader(reread);
  EXPECT_TRUE(loader.LoadText("export.mof", exported));
  EXPECT_EQ(loader.Counts().classes, length);
}

TEST(MofWriterTest, TheCIMSchemaRoundTrips) {
  const char* schema = std::getenv("INMEM_CIM_SCHEMA");
  if (schema == nullptr || *schema == '\0') GTEST_SKIP() << "INMEM_CIM_SCHEMA is not set";
  ExpectRoundTrip("", schema, true);
}

TEST(MofWriterTest, AClassShownForPeopleMarksWhatItInherits) {
  TCapturingLogger quiet;
  boost::shared_ptr<ICIMNamespace> ns = NewProviderNamespace();
  TMofLoader loader(ns);
  ASSERT_TRUE(loader.LoadText("t.mof", R"(
    Qualifier Key : boolean = false, Scope(property), Flavor(DisableOverride, ToSubclass);
    class Base { [Key] string Id; };
    class Derived : Base { uint8 Own; };
  )"));
  std::ostringstream out;
  TMofWriter(out).WriteClass(*ns->GetClass("Derived", TContext()), true);
  EXPECT_EQ(out.str(),
            "class Derived : Base {\n\n"
            "   // inherited from Base\n   [Key(TRUE)]\n   string Id;\n\n"
            "   uint8 Own;\n};\n\n");
}

}  // namespace
