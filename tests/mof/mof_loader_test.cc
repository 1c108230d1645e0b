// MOF entered into a repository: every construct reaches the namespace, and
// the repository's refusals come back as errors that name their reason.

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>

#include <gtest/gtest.h>

#include "core/tyl_exception.h"
#include "include/cim_class.h"
#include "include/cim_instance.h"
#include "include/cim_method_decl.h"
#include "include/cim_parameter_decl.h"
#include "include/cim_property.h"
#include "include/cim_property_decl.h"
#include "include/cim_qualifier.h"
#include "mof/mof_loader.h"
#include "tests/support/capturing_logger.h"
#include "tests/support/provider_namespace.h"
#include "tests/support/schema_builder.h"

namespace {

const TContext kNone;

const char kQualifiers[] = R"(
  QUALIFIER Key : boolean = false, Scope(property, reference), Flavor(DisableOverride, ToSubclass);
  Qualifier Association : boolean = false, Scope(association), Flavor(DisableOverride, ToSubclass);
  qualifier Abstract : boolean = false, Scope(class, association, indication), Flavor(Restricted);
  Qualifier Override : string = null, Scope(property, reference, method), Flavor(EnableOverride, Restricted);
  Qualifier Description : string = null, Scope(any), Flavor(EnableOverride, ToSubclass, Translatable);
  Qualifier ValueMap : string[], Scope(property, method, parameter);
  Qualifier MaxLen : uint32 = null, Scope(property, method, parameter), Flavor(EnableOverride, Restricted);
  Qualifier In : boolean = true, Scope(parameter), Flavor(DisableOverride, ToSubclass);
)";

class MofLoaderTest : public testing::Test {
 protected:
  bool Load(const std::string& text) {
    TCapturingLogger quiet;
    return loader_.LoadText("test.mof", text);
  }
  std::string Errors() const {
    std::string all;
    for (const TMofDiagnostic& d : loader_.Diagnostics()) {
      if (d.severity == TMofDiagnostic::kError) all += d.Format() + "\n";
    }
    return all;
  }

  // Loading `mof` on top of what is loaded fails with a last error that says `error`.
  void ExpectRefused(const char* mof, const char* error) {
    TMofLoader loader(ns_);
    TCapturingLogger quiet;
    EXPECT_FALSE(loader.LoadText("t.mof", mof));
    ASSERT_FALSE(loader.Diagnostics().empty()) << mof;
    EXPECT_NE(loader.Diagnostics().back().message.find(error), std::string::npos)
        << mof << "\n" << loader.Diagnostics().back().Format();
  }

  boost::shared_ptr<ICIMNamespace> ns_ = NewProviderNamespace();
  TMofLoader loader_{ns_};
};

TEST_F(MofLoaderTest, EveryConstructReachesTheRepository) {
  ASSERT_TRUE(Load(std::string(kQualifiers) + R"(
    [Abstract, Description("A thing " "in two parts.")]
    CLASS Base {
      [Key] String Name;
      uint8 Octal = 010;
      sint16 Negative = -0x10;
      uint32 Bits = 101b;
      real64 Ratio = 2.5e-1;
      char16 Letter = '\x41';
      string Text = "tab\there \"quoted\" \x00e9";
      boolean Flag = TRUE;
      uint16 Codes[];
      string Empty = NULL;
      [ValueMap{"0", "1"}] uint32 Reset([In] boolean Force, [In(false)] Base REF Other,
                                        string Names[]);
    };
    class Derived : Base { [Override("Octal")] uint8 Octal = 7; };
    [Association] class Link {
      [Key] Base REF From;
      [Key] Base REF To;
    };
    instance of Derived as $a { Name = "a"; Ratio = 1; };
    Instance Of Derived AS $b { Name = "b"; Codes = {9}; };
    instance of Link { From = $a; To = "Derived.Name=\"b\""; };
  )")) << Errors();
  EXPECT_EQ(loader_.Counts().classes, 3);
  EXPECT_EQ(loader_.Counts().instances, 3);

  auto base = ns_->GetClass("base", kNone);
  EXPECT_EQ(base->GetQualifier("description", kNone)->GetValue(kNone), TCIMValue("A thing in two parts."));
  auto defaultOf = [&](const char* name) { return base->GetPropertyDecl(name, kNone)->GetDefaultValue(kNone); };
  EXPECT_EQ(defaultOf("Octal"), TCIMValue(static_cast<unsigned char>(8)));
  EXPECT_EQ(defaultOf("Negative"), TCIMValue(static_cast<short>(-16)));
  EXPECT_EQ(defaultOf("Bits"), TCIMValue(5u));
  EXPECT_EQ(defaultOf("Ratio"), TCIMValue(0.25));
  EXPECT_EQ(defaultOf("Letter"), TCIMValue(u'A'));
  EXPECT_EQ(defaultOf("Text"), TCIMValue("tab\there \"quoted\" \xc3\xa9"));
  EXPECT_EQ(defaultOf("Flag"), TCIMValue(true));
  EXPECT_EQ(defaultOf("Empty"), TCIMValue::Null(kCIMTypeString));

  auto reset = base->GetMethodDecl("Reset", kNone);
  EXPECT_EQ(reset->GetReturnType(kNone), kCIMTypeUint32);
  EXPECT_EQ(reset->GetParameter("other", kNone)->GetType(kNone), kCIMTypeReference);
  EXPECT_TRUE(reset->GetParameter("Names", kNone)->IsArray(kNone));
  EXPECT_EQ(reset->GetParameter("Force", kNone)->GetQualifier("In", kNone)->GetValue(kNone), TCIMValue(true));

  TCIMReference b = TCIMReference::Parse("Derived.Name=\"b\"", ns_);
  auto instance = ns_->GetInstance(b, kNone);
  ASSERT_TRUE(instance);
  EXPECT_EQ(instance->GetProperty("Codes", kNone)->GetValue(kNone).ToString(), "{9}");
  // The alias and the path text both became references.
  EXPECT_TRUE(ns_->GetInstance(
      TCIMReference::Parse(R"(Link.From="Derived.Name=\"a\"",To="Derived.Name=\"b\"")", ns_), kNone));
}

// Where redefinition is allowed, a class is defined again only while it has
// no instances: a key declared again would replace the declaration that
// their properties stand for.
TEST(MofRedefinitionTest, AClassWithInstancesIsNotDefinedAgain) {
  boost::shared_ptr<ICIMNamespace> ns = NewProviderNamespace(true);
  TMofLoadOptions options;
  options.allowRedefinition = true;
  TMofLoader loader(ns, options);
  TCapturingLogger quiet;
  const std::string v = "class V { [Key] uint8 K; string Label; };\n";
  ASSERT_TRUE(loader.LoadText("a.mof", std::string(kQualifiers) + v + v));
  ASSERT_TRUE(loader.LoadText("b.mof", "instance of V { K = 1; Label = \"one\"; };"));
  EXPECT_FALSE(loader.LoadText("c.mof", v));
  EXPECT_NE(loader.Diagnostics().back().Format().find(
                "class V has instances and cannot be defined again"),
            std::string::npos)
      << loader.Diagnostics().back().Format();
  auto instance = ns->GetInstance(TCIMReference::Parse("V.K=1", ns), kNone);
  ASSERT_TRUE(instance);
  EXPECT_EQ(instance->GetProperty("K", kNone)->GetDecl(kNone)->GetName(kNone), "K");
}

TEST_F(MofLoaderTest, RefusedElementsAreReportedAndNotEntered) {
  ASSERT_TRUE(Load(kQualifiers));
  struct Row {
    const char* mof;
    const char* error;
  };
  const Row rows[] = {
      {"class A : Missing {};", "superclass Missing is not defined"},
      {"[Unknown] class A {};", "qualifier Unknown is not declared"},
      {"class A { [Key] string Id; uint8 Small = 256; };", "256 is out of range for uint8"},
      {"class A { [Key] string Id; sint8 S = -129; };", "-129 is out of range for sint8"},
      {"class A { [Key] string Id; uint64 U = 18446744073709551616; };",
       "18446744073709551616 is out of range for uint64"},
      {"class A { [Key] string Id; real32 R = 1e56; };", "1e56 is out of range for real32"},
      {"class A { [Key] string Id; real64 R = -1e309; };", "-1e309 is out of range for real64"},
      {"class A { [Key] string Id;\n  uint32 N; string n; };",
       "property n is given twice in class A (first at line 2, column 3)"},
      {"class A { [Key] string Id; uint32 M(); uint32 m(); };", "method m is given twice in class A"},
      {"class A { [Key, KEY] string Id; };", "qualifier KEY is given twice in one qualifier list"},
      {"class A { [Key] string Id; B REF Other; };", "class B is not defined"},
      {"class A { [Key] string Id; A REF Self; };",
       "class A refused by the repository: reference property on a non-association class "
       "(status 22); logged: \"Inmem: Attempt to add reference property Self to non-association "
       "class A\""},
      {"[Key(1)] class A {};", "expected a boolean value, found an integer"},
  };
  for (const Row& row : rows) {
    ExpectRefused(row.mof, row.error);
    EXPECT_THROW(ns_->GetClass("A", kNone), TTYLException) << row.mof;
  }
}

TEST_F(MofLoaderTest, InheritanceStopsAtItsDepthLimit) {
  std::string mof = std::string(kQualifiers) + "class C0 { [Key] string Id; };\n";
  for (int i = 1; i <= 257; ++i) {
    mof += "class C" + std::to_string(i) + " : C" + std::to_string(i - 1) + " {};\n";
  }
  EXPECT_FALSE(Load(mof));
  EXPECT_EQ(loader_.ErrorCount(), 1);
  EXPECT_NE(Errors().find("error: class C257: inheritance deeper than 256 levels"),
            std::string::npos)
      << Errors();
  EXPECT_TRUE(ns_->GetClass("C256", kNone));
}

// Aliases copy the paths they name, and a path keyed by an alias holds that
// path escaped: chains double at every link. What aliases bring is bounded
// by the MOF read, so neither a chain nor one long path used over and over
// can turn a kilobyte of MOF into gigabytes; honest uses are untouched.
TEST_F(MofLoaderTest, AliasesCannotMultiplyTheMof) {
  const std::string classes = std::string(kQualifiers) +
                              "[Association] class Link { [Key] string K; };\n"
                              "[Association] class Chain : Link { [Key] Link REF Previous; };\n";
  // A chain of `links` instances, each keyed by the one before, around a
  // key of `backslashes`; then `uses` more instances keyed by its end.
  auto chain = [&](int links, size_t backslashes, int uses) {
    std::string mof = classes + "instance of Link as $l0 { K = \"" + std::string(2 * backslashes, '\\') + "\"; };\n";
    for (int i = 1; i <= links; ++i) {
      mof += "instance of Chain as $l" + std::to_string(i) + " { K = \"c\"; Previous = $l" + std::to_string(i - 1) +
             "; };\n";
    }
    for (int i = 0; i < uses; ++i) {
      mof += "instance of Chain { K = \"u" + std::to_string(i) + "\"; Previous = $l" + std::to_string(links) + "; };\n";
    }
    return mof;
  };
  struct {
    const char* name;
    std::string mof;
    bool loads;
  } cases[] = {
      {"an honest chain", chain(3, 100, 10), true},
      {"a chain that doubles 30 times", chain(30, 100, 0), false},
      {"a long path used over and over", chain(0, 8192, 5000), false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    boost::shared_ptr<ICIMNamespace> ns = NewProviderNamespace();
    TMofLoader loader(ns);
    TCapturingLogger quiet;
    EXPECT_EQ(loader.LoadText("aliases.mof", c.mof), c.loads);
    if (c.loads) continue;
    EXPECT_EQ(loader.ErrorCount(), 1);
    EXPECT_NE(loader.Diagnostics().back().message.find("the paths that aliases bring would take more than"),
              std::string::npos)
        << loader.Diagnostics().back().Format();
    // Everything entered before the bound stays, and is no larger than it.
    size_t text = 0;
    ns->GetClass("Link", kNone)->EnumerateInstances(
        [&](boost::shared_ptr<ICIMInstance> instance) {
          text += instance->GetReference(kNone).PathText().size();
          return true;
        },
        true, kNone);
    EXPECT_LT(text, 2 * (TMofLoader::kAliasTextFloor + TMofLoader::kAliasTextFactor * c.mof.size()));
  }
}

// With a namespace for each name, `#pragma namespace` sends what follows to
// the namespace it names; each load starts again in the loader's own.
TEST_F(MofLoaderTest, NamespacePragmasChooseWhereProductionsGo) {
  std::map<std::string, boost::shared_ptr<ICIMNamespace>> made;
  TMofLoadOptions options;
  options.namespaceFor = [&](const std::string& name, std::string* why) {
    if (name == "no/such") {
      *why = "not served here";
      return boost::shared_ptr<ICIMNamespace>();
    }
    boost::shared_ptr<ICIMNamespace>& ns = made[name];
    if (!ns) ns = NewProviderNamespace();
    return ns;
  };
  TMofLoader loader(ns_, options);
  TCapturingLogger quiet;
  const std::string twice = std::string(kQualifiers) + "class Thing { [Key] string Id; };\n";
  ASSERT_TRUE(loader.LoadText("a.mof", twice + "#pragma namespace (\"root/a\")\n" + twice +
                                           "instance of Thing { Id = \"in a\"; };\n"
                                           "#pragma namespace (\"root/b\")\n" + twice))
      << Errors();
  for (const auto& ns : {ns_, made.at("root/a"), made.at("root/b")}) EXPECT_TRUE(ns->GetClass("Thing", kNone));
  bool inA = false;
  made.at("root/a")->GetClass("Thing", kNone)->EnumerateInstances(
      [&](boost::shared_ptr<ICIMInstance>) { return !(inA = true); }, true, kNone);
  EXPECT_TRUE(inA);
  // The next load starts in the loader's namespace again: Thing is there.
  EXPECT_FALSE(loader.LoadText("b.mof", "class Thing { [Key] string Id; };"));
  EXPECT_FALSE(loader.LoadText("c.mof", "#pragma namespace (\"no/such\")\n"));
  EXPECT_NE(loader.Diagnostics().back().message.find("#pragma namespace (\"no/such\"): not served here"),
            std::string::npos)
      << loader.Diagnostics().back().Format();
  // Without a place for it, the pragma changes nothing.
  boost::shared_ptr<ICIMNamespace> alone = NewProviderNamespace();
  EXPECT_TRUE(TMofLoader(alone).LoadText("d.mof", std::string(kQualifiers) + "#pragma namespace (\"root/x\")\n"
                                                                             "class Other { [Key] string Id; };"));
  EXPECT_TRUE(alone->GetClass("Other", kNone));
}

// keepDefinedClasses: a class the namespace has stays as it is, and the
// rest of the file loads on top of it.
TEST_F(MofLoaderTest, DefinedClassesCanBeKept) {
  ASSERT_TRUE(Load(std::string(kQualifiers) + "class Base { [Key] string Id; string Mine; };"));
  TMofLoadOptions options;
  options.keepDefinedClasses = true;
  options.keepDeclaredQualifiers = true;
  TMofLoader loader(ns_, options);
  TCapturingLogger quiet;
  ASSERT_TRUE(loader.LoadText("bundled.mof", std::string(kQualifiers) +
                                                 "class Base { [Key] string Id; };\nclass Derived : Base { };"));
  EXPECT_TRUE(ns_->GetClass("Derived", kNone)->GetPropertyDecl("Mine", kNone));
  bool noted = false;
  for (const TMofDiagnostic& d : loader.Diagnostics()) {
    noted = noted || (d.severity == TMofDiagnostic::kNote && d.message.find("class Base is defined already") == 0);
  }
  EXPECT_TRUE(noted);
}

TEST_F(MofLoaderTest, DuplicatesAndBadInstancesAreErrors) {
  ASSERT_TRUE(Load(std::string(kQualifiers) +
                   "class A { [Key] string Id; uint32 N; };\n"
                   "[Abstract] class Abs { [Key] string Id; };\n"
                   "instance of A { Id = \"x\"; };\n"));
  const std::pair<const char*, const char*> rows[] = {
      {"class A { [Key] string Id; };", "class A is already defined"},
      {"instance of A { Id = \"x\"; };", "an instance a.id=\"x\" is already there"},
      {"instance of A { Id = \"y\"; Nope = 1; };", "class A has no property Nope"},
      {"instance of A { N = 1; };", "refused by the repository: key property is null (status 18); "
                                    "logged: \"Inmem: Instance A: key property Id is NULL\""},
      {"instance of A { Id = $nobody; };", "expected a string value, found an alias"},
      {"instance of A { Id = \"z\"; N = 1; n = 2; };", "property n is given twice in this instance"},
      {"instance of Abs { Id = \"a\"; };", "class Abs is abstract: it has no instances"},
  };
  for (const auto& row : rows) ExpectRefused(row.first, row.second);
}

TEST_F(MofLoaderTest, AnOverridingPropertyKeepsTheInheritedToSubclassQualifiers) {
  ASSERT_TRUE(Load(std::string(kQualifiers) + R"(
    class Base { [Key, Description("base"), MaxLen(8)] string Id; };
    class Sub : Base { [Override("Id"), Description("sub")] string Id; };
    instance of Sub { Id = "one"; };
  )")) << Errors();
  EXPECT_EQ(loader_.Counts().keylessClasses, 0);
  auto id = ns_->GetClass("Sub", kNone)->GetPropertyDecl("Id", kNone);
  bool found = false;
  EXPECT_EQ(id->GetQualifier("KEY", found, kNone)->GetValue(kNone), TCIMValue(true));
  EXPECT_EQ(id->GetQualifier("Description", found, kNone)->GetValue(kNone), TCIMValue("sub"));
  EXPECT_FALSE(id->GetQualifier("MaxLen", found, kNone));  // restricted: not taken over
  EXPECT_TRUE(ns_->GetInstance(TCIMReference::Parse("Sub.Id=\"one\"", ns_), kNone));
}

TEST_F(MofLoaderTest, KeylessConcreteClassesAreEnteredWithANote) {
  ASSERT_TRUE(Load(std::string(kQualifiers) + "class Event { string Text; };"));
  EXPECT_EQ(loader_.Counts().keylessClasses, 1);
  EXPECT_TRUE(ns_->GetClass("Event", kNone));
  EXPECT_EQ(loader_.Diagnostics().back().severity, TMofDiagnostic::kNote);
}

TEST_F(MofLoaderTest, IncludesAreFoundNextToTheFileAndOnTheSearchPath) {
  char folder[] = "/tmp/mofXXXXXX";
  ASSERT_NE(mkdtemp(folder), nullptr);
  std::string dir(folder);
  std::ofstream(dir + "/top.mof") << "#pragma locale (\"en_US\")\n#pragma include (\"q.mof\")\n"
                                     "#pragma include (\"lib.mof\")\n";
  std::ofstream(dir + "/q.mof") << kQualifiers;
  ASSERT_EQ(system(("mkdir -p " + dir + "/lib").c_str()), 0);
  std::ofstream(dir + "/lib/lib.mof") << "[Abstract] class FromLib {};";
  TMofLoadOptions options;
  options.includePaths = {dir + "/lib"};
  TMofLoader loader(ns_, options);
  TCapturingLogger quiet;
  EXPECT_TRUE(loader.LoadFile(dir + "/top.mof"));
  EXPECT_TRUE(ns_->GetClass("FromLib", kNone));
  EXPECT_EQ(loader.Counts().files, 3);

  TMofLoader missing(ns_);
  EXPECT_FALSE(missing.LoadText("m.mof", "#pragma include (\"nowhere.mof\")"));
  EXPECT_NE(missing.Diagnostics().back().message.find("cannot read included file \"nowhere.mof\""),
            std::string::npos);
  ASSERT_EQ(system(("rm -rf " + dir).c_str()), 0);
}

TEST_F(MofLoaderTest, IncludeCyclesAndFoldersAreRefusedWithTheirReason) {
  // Files served from memory; "deep.mof" includes itself under ever new
  // names; "fan<N>" includes "fan<N+1>" twice, 2^41 reads down to "fan40".
  const std::map<std::string, std::string> files = {
      {"self.mof", "#pragma include (\"self.mof\")"},
      {"a.mof", "\n#pragma include (\"b.mof\")"},
      {"b.mof", "  #pragma include (\"a.mof\")"},
  };
  TMofLoadOptions options;
  options.keepGoing = true;
  options.readFile = [&](const std::string& path, TMofFile* file, std::string* error) {
    error->clear();
    if (path.compare(0, 4, "deep") == 0) {
      *file = {path, "#pragma include (\"" + path + "x\")"};
      return true;
    }
    if (path.compare(0, 3, "fan") == 0) {
      int next = std::stoi(path.substr(3)) + 1;
      std::string include = "#pragma include (\"fan" + std::to_string(next) + "\")\n";
      *file = {path, next > 40 ? std::string() : include + include};
      return true;
    }
    auto it = files.find(path);
    if (it == files.end()) return false;
    *file = {it->first, it->second};
    return true;
  };
  const std::pair<const char*, const char*> rows[] = {
      {"self.mof", "self.mof:1:1: error: include cycle: self.mof:1:1 includes self.mof again"},
      {"a.mof", "b.mof:1:3: error: include cycle: a.mof:2:1 includes b.mof, b.mof:1:3 includes a.mof again"},
      {"deep", "error: includes nest deeper than 64 files"},
      {"fan0", "error: one load reads at most 16384 files"},
  };
  for (const auto& row : rows) {
    TMofLoader loader(ns_, options);
    EXPECT_FALSE(loader.LoadFile(row.first));
    ASSERT_EQ(loader.ErrorCount(), 1) << row.first;
    EXPECT_NE(loader.Diagnostics().back().Format().find(row.second), std::string::npos)
        << loader.Diagnostics().back().Format();
  }

  char folder[] = "/tmp/mofXXXXXX";
  ASSERT_NE(mkdtemp(folder), nullptr);
  TMofLoader fromDisk(ns_);
  EXPECT_FALSE(fromDisk.LoadFile(folder));
  EXPECT_EQ(fromDisk.Diagnostics().back().message, std::string(folder) + " is a folder, not a MOF file");
  EXPECT_FALSE(fromDisk.LoadText("f.mof", "#pragma include (\"" + std::string(folder) + "\")"));
  EXPECT_NE(fromDisk.Diagnostics().back().message.find("is a folder"), std::string::npos);
  rmdir(folder);
}

TEST(MofSchemaTest, TheWholeCIMSchemaLoads) {
  const char* schema = std::getenv("INMEM_CIM_SCHEMA");
  if (schema == nullptr || *schema == '\0') GTEST_SKIP() << "INMEM_CIM_SCHEMA is not set";
  boost::shared_ptr<ICIMNamespace> ns = NewProviderNamespace();
  TMofLoader loader(ns);
  TCapturingLogger quiet;
  EXPECT_TRUE(loader.LoadFile(schema));
  for (const TMofDiagnostic& d : loader.Diagnostics()) {
    EXPECT_NE(d.severity, TMofDiagnostic::kError) << d.Format();
    EXPECT_NE(d.severity, TMofDiagnostic::kWarning) << d.Format();
  }
  EXPECT_EQ(static_cast<int>(SubclassNames(*ns->GetClass("", kNone), true).size()),
            loader.Counts().classes);
  EXPECT_GT(loader.Counts().classes, 1300);
  EXPECT_TRUE(ns->GetClass("CIM_ComputerSystem", kNone)->IsSubclassOf(ns->GetClass("CIM_ManagedElement", kNone), kNone));
  EXPECT_TRUE(ns->GetClass("CIM_SystemDevice", kNone)->IsAssociation(kNone));
}

}  // namespace
