#include "core/cim_reference.h"

#include <tuple>

#include <gtest/gtest.h>

#include "core/namespace_directory.h"
#include "core/tyl_exception.h"
#include "tests/support/capturing_logger.h"
#include "tests/support/schema_builder.h"
#include "tests/support/status_of.h"

namespace {

typedef unsigned char u8;

TCIMReference Path(const std::string& cls) {
  TCIMReference path;
  path.SetClassName(cls);
  return path;
}

// Paths built or parsed in any case and key order have one text, and
// compare equal; names keep their own spelling and bindings their order.
TEST(CIMReferenceTest, PathTextIsCanonical) {
  TCIMReference a = Path("CIM_Port");
  a.SetNameSpaceName("NOKRTYL20");
  a.AddKeyValue("SystemName", TCIMValue("host"));
  a.AddKeyValue("DeviceID", TCIMValue("eth0"));
  TCIMReference b = Path("cim_PORT");
  b.SetNameSpaceName("NOKRTYL20");
  b.AddKeyValue("deviceid", TCIMValue("eth0"));
  b.AddKeyValue("SYSTEMNAME", TCIMValue("host"));
  TCIMReference parsed =
      TCIMReference::Parse("NOKRTYL20:CIM_PORT.SystemName=\"host\",DEVICEID=\"eth0\"", {});
  EXPECT_EQ(a.GetPath(), "NOKRTYL20:cim_port.deviceid=\"eth0\",systemname=\"host\"");
  EXPECT_EQ(a, b);
  EXPECT_EQ(a, parsed);
  EXPECT_EQ(parsed.GetClassName(), "CIM_PORT");
  EXPECT_EQ(a.GetKeyBindings()[0].first, "SystemName");
  for (const char* text : {"cim_singleton", "ns:cim_foo", "root/cimv2:cim_foo.a=1"}) {
    EXPECT_EQ(TCIMReference::Parse(text, {}).GetPath(), text);
  }
}

// Each key value is written by its type, and the text parses back to itself.
TEST(CIMReferenceTest, KeyValuesAreWrittenByTypeAndReadBack) {
  TCIMReference inner = Path("Inner");
  inner.AddKeyValue("Name", TCIMValue("say \"hi\""));
  const std::pair<TCIMValue, const char*> rows[] = {
      {TCIMValue("a\"b\\c, = and :"), "\"a\\\"b\\\\c, = and :\""},
      {TCIMValue(u'"'), "\"\\\"\""},
      {TCIMValue(TCIMDateTime::Parse("20261122101530.000000+000")),
       "\"20261122101530.000000+000\""},
      {TCIMValue(true), "TRUE"},
      {TCIMValue(false), "FALSE"},
      {TCIMValue(std::numeric_limits<long long>::min()), "-9223372036854775808"},
      {TCIMValue(std::numeric_limits<unsigned long long>::max()), "18446744073709551615"},
      {TCIMValue(-2e-05), "-2e-05"},
      {TCIMValue::Null(kCIMTypeString), "NULL"},
      {TCIMValue(inner), "\"inner.name=\\\"say \\\\\\\"hi\\\\\\\"\\\"\""},
      {TCIMValue(kCIMTypeUint8, {TCIMValue(u8{1}), TCIMValue(u8{2})}), "{1,2}"},
      {TCIMValue(kCIMTypeUint8, {}), "{}"},
      // Reals always carry a point or an exponent, so they never read back
      // as integers (or fail to, beyond the range of uint64).
      {TCIMValue(-0.0), "-0.0"},
      {TCIMValue(18446744073809555456.0), "18446744073809555456.0"},
      {TCIMValue(1e30f), "1e+30"},
      {TCIMValue(std::numeric_limits<double>::quiet_NaN()), "nan"},
      {TCIMValue(-std::numeric_limits<double>::infinity()), "-inf"},
      {TCIMValue(kCIMTypeReal64, {TCIMValue(2.0), TCIMValue(-1.5)}), "{2.0,-1.5}"},
      {TCIMValue(kCIMTypeSint64, {TCIMValue(3ll), TCIMValue(-4ll)}), "{3,-4}"},
  };
  for (const auto& row : rows) {
    TCIMReference path = Path("C");
    path.AddKeyValue("K", row.first);
    EXPECT_EQ(path.GetPath(), std::string("c.k=") + row.second);
    EXPECT_EQ(TCIMReference::Parse(path.GetPath(), {}).GetPath(), path.GetPath());
  }
}

// Without a declaration an integer is a uint64 when its value is not
// negative and a sint64 when it is, whatever sign is written, so that its
// text reads back to the same type.
TEST(CIMReferenceTest, UntypedIntegersTakeTheirTypeFromTheirValue) {
  const std::tuple<const char*, ECIMType, const char*> rows[] = {
      {"-0", kCIMTypeUint64, "0"},
      {"-00", kCIMTypeUint64, "0"},
      {"-1", kCIMTypeSint64, "-1"},
      {"7", kCIMTypeUint64, "7"},
      {"{-0,-1}", ArrayTypeOf(kCIMTypeSint64), "{0,-1}"},
      {"{-0,3}", ArrayTypeOf(kCIMTypeUint64), "{0,3}"},
  };
  for (const auto& [text, type, written] : rows) {
    TCIMReference path = TCIMReference::Parse(std::string("c.k=") + text, {});
    EXPECT_EQ(path.FindKeyValue("k")->GetType(), type) << text;
    EXPECT_EQ(path.GetPath(), std::string("c.k=") + written) << text;
    TCIMReference again = TCIMReference::Parse(path.GetPath(), {});
    EXPECT_EQ(*again.FindKeyValue("k"), *path.FindKeyValue("k")) << text;
  }
}

TEST(CIMReferenceTest, AddingAKeyAgainInAnyCaseReplacesIt) {
  TCIMReference path = Path("C");
  path.AddKeyValue("Name", TCIMValue("first"));
  path.AddKeyValue("NAME", TCIMValue("second"));
  ASSERT_EQ(path.GetKeyBindings().size(), 1u);
  EXPECT_EQ(path.FindKeyValue("name")->GetString(), "second");
  EXPECT_EQ(path.FindKeyValue("other"), nullptr);
}

// Copies share one set of parts until one of them changes; the change is
// that copy's alone.
TEST(CIMReferenceTest, ACopySharesPartsUntilItChanges) {
  TCIMReference original = Path("C");
  original.AddKeyValue("Name", TCIMValue("a"));
  TCIMReference copy = original;
  TCIMValue held(original);
  EXPECT_TRUE(copy.SharesPartsWith(original));
  EXPECT_TRUE(held.GetReference().SharesPartsWith(original));
  copy.AddKeyValue("Name", TCIMValue("b"));
  EXPECT_FALSE(copy.SharesPartsWith(original));
  EXPECT_EQ(original.GetPath(), "c.name=\"a\"");
  EXPECT_EQ(held.GetReference().GetPath(), "c.name=\"a\"");
  EXPECT_EQ(copy.GetPath(), "c.name=\"b\"");
  TCIMReference empty;
  TCIMReference named = empty;
  named.SetNameSpaceName("root");
  EXPECT_EQ(empty.GetPath(), "");
  EXPECT_EQ(named.GetPath(), "root:");
}

// A path may stand in for another only when nothing a reader sees differs,
// though the texts are one.
TEST(CIMReferenceTest, SameInEveryPartTellsEveryVisibleDifference) {
  TSchemaBuilder s;
  auto cls = s.KeyedClass("CIM_Plain", "", "Id");
  TSchemaBuilder other;
  auto otherCls = other.KeyedClass("CIM_Plain", "", "Id");
  auto make = [](const boost::shared_ptr<ICIMClass>& c, const std::string& keyName,
                 const TCIMValue& value) {
    return TCIMReference(c, "", {{keyName, value}});
  };
  const TCIMReference base = make(cls, "Id", TCIMValue("x"));
  TCIMReference byName = Path("CIM_Plain");  // the class by name only
  byName.AddKeyValue("Id", TCIMValue("x"));
  TCIMReference viaNamespace(s.Namespace(), TContext());
  viaNamespace.SetClass(cls);
  viaNamespace.AddKeyValue("Id", TCIMValue("x"));
  TCIMReference nested = Path("CIM_Link");
  nested.AddKeyValue("To", TCIMValue(base));
  TCIMReference nestedOther = Path("CIM_Link");
  nestedOther.AddKeyValue("To", TCIMValue(make(cls, "ID", TCIMValue("x"))));
  const std::tuple<TCIMReference, TCIMReference, bool> rows[] = {
      {base, make(cls, "Id", TCIMValue("x")), true},
      {base, make(cls, "ID", TCIMValue("x")), false},             // key name spelling
      {base, make(otherCls, "Id", TCIMValue("x")), false},        // another class object
      {base, byName, false},
      {base, viaNamespace, false},                                // namespace object
      {base, TCIMReference(cls, "root/a", {{"Id", TCIMValue("x")}}), false},  // namespace name
      {make(cls, "Id", TCIMValue(static_cast<unsigned char>(1))),
       make(cls, "Id", TCIMValue(static_cast<unsigned short>(1))), false},  // key type
      {nested, nested, true},
      {nested, nestedOther, false},                               // a nested difference
  };
  for (const auto& row : rows) {
    const TCIMReference& a = std::get<0>(row);
    const TCIMReference& b = std::get<1>(row);
    EXPECT_EQ(a.SameInEveryPart(b), std::get<2>(row)) << a.GetPath() << " / " << b.GetPath();
    EXPECT_EQ(b.SameInEveryPart(a), std::get<2>(row)) << b.GetPath() << " / " << a.GetPath();
  }
}

TEST(CIMReferenceTest, ParseRefusesMalformedTextNamingThePosition) {
  const std::pair<const char*, const char*> rows[] = {
      {"", "position 1: expected a class name"},
      {"c.k", "position 4: expected '='"},
      {"c.k=", "position 5: expected a key value"},
      {"c.k=\"open", "position 5: unterminated string"},
      {"c.k=\"a\\b\"", "position 8: expected '\\\"' or '\\\\' after a backslash"},
      {"c.k=1,", "position 7: expected a key name"},
      {"c.k=1;j=2", "position 5: expected a number"},
      {"c.k=1,K=2", "position 7: key K is given twice"},
      {"c k=1", "position 2: expected '.'"},
      {"c.k={1,\"a\"}", "not all of one type"},
      {"c.k={18446744073709551615,-1}", "not all of one type"},
      {"c.k=1e999", "position 5: 1e999 is out of range for key k of type real64"},
      {"c.k=18446744073709551616", "position 5: 18446744073709551616 is out of range for key k of type uint64"},
      {"c.k=-9223372036854775809", "position 5: -9223372036854775809 is out of range for key k of type sint64"},
      // Nesting is refused at once, however deep the text goes.
      {"c.k={{1}}", "position 6: an array key value cannot hold an array"},
  };
  for (const auto& row : rows) {
    TOutcome outcome = OutcomeOf([&] { TCIMReference::Parse(row.first, {}); });
    EXPECT_EQ(outcome.status, kStatusInvalidParameter) << row.first;
    EXPECT_TRUE(outcome.LoggedOnce(row.second)) << row.first << ": " << outcome;
  }
  // A path of a megabyte of braces is refused without exhausting the stack,
  // and the log line quotes only the start of it.
  TOutcome deep = OutcomeOf([] { TCIMReference::Parse("c.k=" + std::string(1 << 20, '{'), {}); });
  EXPECT_TRUE(deep.LoggedOnce("cannot hold an array")) << deep;
  EXPECT_LT(deep.lines[0].second.size(), 400u);
}

// A repository with an association "CIM_Thing" whose keys are declared with
// types, and a class "CIM_Plain" with key Id.
class ReferenceWithNamespaceTest : public testing::Test {
 protected:
  void SetUp() override {
    cls_ = s_.Class("CIM_Thing", "", {{"ASSOCIATION", TCIMValue(true)}});
    const std::vector<TQualifierSpec> key = {{"KEY", TCIMValue(true)}};
    s_.Property(cls_, "When", TCIMValue::Null(kCIMTypeDateTime), key);
    s_.Property(cls_, "Letter", TCIMValue::Null(kCIMTypeChar16), key);
    s_.Property(cls_, "Small", TCIMValue::Null(kCIMTypeUint8), key);
    s_.Property(cls_, "Ratio", TCIMValue::Null(kCIMTypeReal32), key);
    s_.Reference(cls_, "Other", cls_, key);
    s_.Enter(cls_);
    plain_ = s_.KeyedClass("CIM_Plain", "", "Id");
  }

  TSchemaBuilder s_;
  boost::shared_ptr<ICIMClass> cls_, plain_;
};

TEST_F(ReferenceWithNamespaceTest, ParseGivesKeysTheirDeclaredTypes) {
  TCIMReference parsed = TCIMReference::Parse(
      "CIM_Thing.When=\"20261122101530.000000+000\",Letter=\"\xc3\xa9\",Small=200,"
      "Other=\"CIM_Thing.Small=1\",Free=\"text\"",
      s_.Namespace());
  EXPECT_EQ(parsed.GetClass(), cls_);
  EXPECT_EQ(parsed.FindKeyValue("When")->GetType(), kCIMTypeDateTime);
  EXPECT_EQ(static_cast<char16_t>(*parsed.FindKeyValue("Letter")), u'\u00e9');
  EXPECT_EQ(parsed.FindKeyValue("Small")->GetType(), kCIMTypeUint8);
  const TCIMValue& other = *parsed.FindKeyValue("Other");
  ASSERT_TRUE(other.IsReference());
  EXPECT_EQ(static_cast<TCIMReference>(other).GetPath(), "cim_thing.small=1");
  EXPECT_EQ(parsed.FindKeyValue("Free")->GetType(), kCIMTypeString);
}

TEST_F(ReferenceWithNamespaceTest, TypedPathsReadBackToThemselves) {
  TCIMReference inner(s_.Namespace(), TContext());
  inner.SetClass(cls_);
  inner.AddKeyValue("Ratio", TCIMValue(-0.0f));
  TCIMReference path(s_.Namespace(), TContext());
  path.SetClass(cls_);
  path.AddKeyValue("When", TCIMValue(TCIMDateTime::Parse("00000001020304.000005:000")));
  path.AddKeyValue("Letter", TCIMValue(u'\xd800'));  // a lone surrogate is a char16 too
  path.AddKeyValue("Small", TCIMValue(u8{255}));
  path.AddKeyValue("Ratio", TCIMValue(3.4028235e38f));
  path.AddKeyValue("Other", TCIMValue(inner));
  for (const boost::shared_ptr<ICIMNamespace>& ns : {boost::shared_ptr<ICIMNamespace>(s_.Namespace()), boost::shared_ptr<ICIMNamespace>()}) {
    TCIMReference parsed = TCIMReference::Parse(path.GetPath(), ns);
    EXPECT_EQ(parsed, path) << parsed.GetPath() << "\n" << path.GetPath();
  }
}

TEST_F(ReferenceWithNamespaceTest, ParseRefusesValuesThatDoNotFitTheDeclaration) {
  // References quoted inside references, deeper than the reader goes.
  std::string nested = "CIM_Thing.Small=1";
  for (int depth = 0; depth < 17; ++depth) {
    std::string quoted;
    for (char c : nested) quoted += (c == '"' || c == '\\') ? std::string("\\") + c : std::string(1, c);
    nested = "CIM_Thing.Other=\"" + quoted + "\"";
  }
  const std::pair<std::string, const char*> rows[] = {
      {"CIM_Thing.Small=300", "300 is out of range for key Small of type uint8"},
      {"CIM_Thing.Small=99999999999999999999", "99999999999999999999 is out of range for key Small of type uint8"},
      {"CIM_Thing.Small=\"7\"", "key Small is declared uint8"},
      {"CIM_Thing.When=\"friday\"", "key When is not a CIM datetime (expected 25 characters"},
      {"CIM_Thing.Letter=\"ab\"", "key Letter is a char16"},
      {"CIM_Thing.Ratio=1e39", "1e39 is out of range for key Ratio of type real32"},
      {"CIM_Thing.Other=\"CIM_Thing.Small=x\"", "key Other is not an object path: at its position 17"},
      {nested, "nesting deeper than 16 references"},
  };
  for (const auto& row : rows) {
    TOutcome outcome = OutcomeOf([&] { TCIMReference::Parse(row.first, s_.Namespace()); });
    EXPECT_EQ(outcome.status, kStatusInvalidParameter) << row.first;
    EXPECT_TRUE(outcome.LoggedOnce(row.second)) << outcome;
  }
}

// A path resolves through its namespace, or else its class's, to the
// instance filed under it; anything else is not found.
TEST_F(ReferenceWithNamespaceTest, GetCIMElementFindsTheInstanceFiledUnderThePath) {
  auto status = [](const TCIMReference& path) {
    return StatusOf([&] { path.GetCIMElement(false); });
  };
  TCIMReference path(s_.Namespace(), TContext());
  path.SetClass(plain_);
  path.AddKeyValue("Id", TCIMValue("1"));
  EXPECT_EQ(status(path), kStatusNotFound);  // no such instance yet
  auto instance = s_.Instance("CIM_Plain", {{"Id", TCIMValue("1")}});
  EXPECT_EQ(path.GetCIMElement(false), instance);
  TCIMReference withoutNamespace;
  withoutNamespace.SetClass(plain_);
  withoutNamespace.AddKeyValue("ID", TCIMValue("1"));
  EXPECT_EQ(withoutNamespace.GetCIMElement(false), instance);
  EXPECT_EQ(status(TCIMReference()), kStatusNotFound);    // no class at all
  EXPECT_EQ(status(Path("CIM_Plain")), kStatusNotFound);  // no namespace to ask
}

// A path that names a namespace a host registered resolves there, from
// whatever namespace it was read in; its keys take that namespace's types.
TEST_F(ReferenceWithNamespaceTest, ANamedNamespaceResolvesThroughTheDirectory) {
  auto instance = s_.Instance("CIM_Plain", {{"Id", TCIMValue("1")}});
  TSchemaBuilder elsewhere;  // another repository, where the path is read
  const std::string text = "root/Served:CIM_Plain.Id=\"1\"";
  TCIMReference before = TCIMReference::Parse(text, elsewhere.Namespace());
  EXPECT_EQ(StatusOf([&] { before.GetCIMElement(false); }), kStatusNotFound);
  EXPECT_FALSE(before.GetClass());

  TNamespaceDirectory::Register("/ROOT/served/", s_.Namespace());
  TCIMReference read = TCIMReference::Parse(text, elsewhere.Namespace());
  EXPECT_EQ(read.GetCIMElement(false), instance);
  EXPECT_EQ(before.GetCIMElement(false), instance);  // resolved when asked, not when read
  EXPECT_EQ(read.GetClass(), plain_);
  EXPECT_EQ(read.GetPath(), "root/Served:cim_plain.id=\"1\"");
  TCIMReference typed = TCIMReference::Parse("root/served:CIM_Thing.Small=7", elsewhere.Namespace());
  EXPECT_EQ(typed.FindKeyValue("Small")->GetType(), kCIMTypeUint8);

  // Only the namespace registered under the name unregisters it.
  TNamespaceDirectory::Unregister("root/served", elsewhere.Namespace().get());
  EXPECT_EQ(TNamespaceDirectory::Find("root/served"), s_.Namespace());
  TNamespaceDirectory::Unregister("root/served", s_.Namespace().get());
  EXPECT_FALSE(TNamespaceDirectory::Find("root/served"));
  EXPECT_EQ(StatusOf([&] { read.GetCIMElement(false); }), kStatusNotFound);
}

TEST(CIMReferenceTest, AReferenceKeepsNeitherClassNorNamespaceAlive) {
  TCIMReference path;
  boost::weak_ptr<ICIMClass> watchClass;
  boost::weak_ptr<ICIMNamespace> watchNamespace;
  {
    TSchemaBuilder s;
    auto cls = s.Class("CIM_Thing");
    path = TCIMReference(s.Namespace(), TContext());
    path.SetClass(cls);
    watchClass = cls;
    watchNamespace = s.Namespace();
  }
  EXPECT_TRUE(watchClass.expired());
  EXPECT_TRUE(watchNamespace.expired());
  // The path still names the class it was made for.
  EXPECT_EQ(path.GetPath(), "cim_thing");
  EXPECT_FALSE(path.GetClass());
  EXPECT_EQ(StatusOf([&] { path.GetCIMElement(false); }), kStatusNotFound);
}

}  // namespace
