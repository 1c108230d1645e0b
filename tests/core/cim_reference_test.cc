#include "core/cim_reference.h"

#include <boost/make_shared.hpp>
#include <gtest/gtest.h>

#include "core/tyl_exception.h"
#include "tests/support/capturing_logger.h"
#include "tests/support/mock_elements.h"
#include "tests/support/schema_builder.h"
#include "tests/support/status_of.h"

namespace {

using testing::_;
using testing::NiceMock;
using testing::Return;
using testing::ReturnRef;

TCIMReference Path(const std::string& cls) {
  TCIMReference path;
  path.SetClassName(cls);
  return path;
}

TEST(CIMReferenceTest, PathTextIsCanonical) {
  TCIMReference a = Path("CIM_Port");
  a.SetNameSpaceName("NOKRTYL20");
  a.AddKeyValue("SystemName", TCIMValue("host"));
  a.AddKeyValue("DeviceID", TCIMValue("eth0"));
  TCIMReference b = Path("cim_PORT");
  b.SetNameSpaceName("NOKRTYL20");
  b.AddKeyValue("deviceid", TCIMValue("eth0"));
  b.AddKeyValue("SYSTEMNAME", TCIMValue("host"));
  EXPECT_EQ(a.GetPath(), "NOKRTYL20:cim_port.deviceid=\"eth0\",systemname=\"host\"");
  EXPECT_EQ(a.GetPath(), b.GetPath());
  EXPECT_EQ(a, b);
  // Bindings keep the order in which they were added.
  EXPECT_EQ(a.GetKeyBindings()[0].first, "SystemName");
  EXPECT_EQ(Path("CIM_Singleton").GetPath(), "cim_singleton");
}

TEST(CIMReferenceTest, KeyValuesAreWrittenByType) {
  TCIMDateTime when = TCIMDateTime::Parse("20261122101530.000000+000");
  TCIMReference inner = Path("Inner");
  inner.AddKeyValue("Name", TCIMValue("say \"hi\""));
  struct Row {
    TCIMValue value;
    const char* text;
  };
  const Row rows[] = {
      {TCIMValue("plain"), "\"plain\""},
      {TCIMValue("a\"b\\c"), "\"a\\\"b\\\\c\""},
      {TCIMValue(u'"'), "\"\\\"\""},
      {TCIMValue(when), "\"20261122101530.000000+000\""},
      {TCIMValue(true), "TRUE"},
      {TCIMValue(false), "FALSE"},
      {TCIMValue(-42), "-42"},
      {TCIMValue(static_cast<unsigned char>(255)), "255"},
      {TCIMValue(2.5), "2.5"},
      {TCIMValue::Null(kCIMTypeString), "NULL"},
      {TCIMValue(inner), "\"inner.name=\\\"say \\\\\\\"hi\\\\\\\"\\\"\""},
      {TCIMValue(kCIMTypeUint8, {TCIMValue(static_cast<unsigned char>(1)),
                                 TCIMValue(static_cast<unsigned char>(2))}),
       "{1,2}"},
  };
  for (const Row& row : rows) {
    TCIMReference path = Path("C");
    path.AddKeyValue("K", row.value);
    EXPECT_EQ(path.GetPath(), std::string("c.k=") + row.text);
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

TEST(CIMReferenceTest, ParseReadsBackWhatGetPathWrites) {
  const char* const texts[] = {
      "cim_foo",
      "ns:cim_foo",
      "root/cimv2:cim_foo.a=1",
      "c.a=-9223372036854775808,b=18446744073709551615",
      "c.a=TRUE,b=FALSE,c=NULL",
      "c.s=\"with \\\"quotes\\\" and \\\\ and , and = and :\"",
      "c.r=\"inner.name=\\\"x\\\"\"",
      "c.x=1.5,y=-2e-05",
      "c.list={1,2,3},none={}",
  };
  for (const char* text : texts) {
    TCIMReference parsed = TCIMReference::Parse(text, {});
    EXPECT_EQ(parsed.GetPath(), text);
  }
}

TEST(CIMReferenceTest, ParseAcceptsAnyCaseAndKeyOrder) {
  TCIMReference parsed =
      TCIMReference::Parse("NOKRTYL20:CIM_Port.SystemName=\"h\",DeviceID=\"e\"", {});
  EXPECT_EQ(parsed.GetPath(), "NOKRTYL20:cim_port.deviceid=\"e\",systemname=\"h\"");
  EXPECT_EQ(parsed.GetClassName(), "CIM_Port");
  EXPECT_EQ(parsed.GetNameSpaceName(), "NOKRTYL20");
  EXPECT_EQ(parsed.FindKeyValue("deviceid")->GetString(), "e");
}

TEST(CIMReferenceTest, ParseRefusesMalformedTextNamingThePosition) {
  struct Row {
    const char* text;
    const char* where;
  };
  const Row rows[] = {
      {"", "position 1: expected a class name"},
      {"1abc", "position 1: expected a class name"},
      {"c.", "position 3: expected a key name"},
      {"c.k", "position 4: expected '='"},
      {"c.k=", "position 5: expected a key value"},
      {"c.k=\"open", "position 5: unterminated string"},
      {"c.k=\"a\\b\"", "position 8: expected '\\\"' or '\\\\' after a backslash"},
      {"c.k=1,", "position 7: expected a key name"},
      {"c.k=1;j=2", "position 5: expected a number"},
      {"c.k=abc", "position 5: expected a number"},
      {"c k=1", "position 2: expected '.'"},
      {"c.k={1,\"a\"}", "not all of one type"},
  };
  for (const Row& row : rows) {
    TCapturingLogger log;
    try {
      TCIMReference::Parse(row.text, {});
      ADD_FAILURE() << "accepted " << row.text;
    } catch (const TTYLException& e) {
      EXPECT_EQ(e.GetStatusCode(), kStatusInvalidParameter) << row.text;
    }
    ASSERT_EQ(log.Lines().size(), 1u) << row.text;
    EXPECT_NE(log.Lines()[0].second.find(row.where), std::string::npos)
        << row.text << " logged " << log.Lines()[0].second;
  }
}

// A repository with one class "CIM_Thing" whose keys are declared with types.
class ReferenceWithNamespaceTest : public testing::Test {
 protected:
  void SetUp() override {
    cls_ = s_.Class("CIM_Thing", "", {{"ASSOCIATION", TCIMValue(true)}});
    const std::vector<TQualifierSpec> key = {{"KEY", TCIMValue(true)}};
    s_.Property(cls_, "When", TCIMValue::Null(kCIMTypeDateTime), key);
    s_.Property(cls_, "Letter", TCIMValue::Null(kCIMTypeChar16), key);
    s_.Property(cls_, "Small", TCIMValue::Null(kCIMTypeUint8), key);
    s_.Reference(cls_, "Other", cls_, key);
    s_.Enter(cls_);
  }

  // Files a stand-in instance under `path` in CIM_Thing.
  boost::shared_ptr<ICIMInstance> File(const TCIMReference& path) {
    auto instance = boost::make_shared<NiceMock<MockInstance>>();
    ON_CALL(*instance, GetElementReference(_)).WillByDefault(Return(path));
    cls_->AddInstance(instance, TContext());
    return instance;
  }

  TSchemaBuilder s_;
  boost::shared_ptr<ICIMClass> cls_;
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

TEST_F(ReferenceWithNamespaceTest, ParseRefusesValuesThatDoNotFitTheDeclaration) {
  const char* const texts[] = {
      "CIM_Thing.Small=300",        "CIM_Thing.Small=\"7\"",
      "CIM_Thing.When=\"friday\"",  "CIM_Thing.Letter=\"ab\"",
      "CIM_Thing.Small=TRUE",       "CIM_Thing.Small=1.5",
  };
  for (const char* text : texts) {
    TCapturingLogger log;
    EXPECT_EQ(StatusOf([&] { TCIMReference::Parse(text, s_.Namespace()); }),
              kStatusInvalidParameter)
        << text;
  }
}

TEST_F(ReferenceWithNamespaceTest, GetCIMElementFindsTheInstanceFiledUnderThePath) {
  TCIMReference path(s_.Namespace(), TContext());
  path.SetClass(cls_);
  path.AddKeyValue("Small", TCIMValue(static_cast<unsigned char>(1)));
  boost::shared_ptr<ICIMInstance> instance = File(path);
  EXPECT_EQ(path.GetCIMElement(false), instance);
  TCIMReference withoutNamespace;  // resolved through its class's namespace
  withoutNamespace.SetClass(cls_);
  withoutNamespace.AddKeyValue("small", TCIMValue(static_cast<unsigned char>(1)));
  EXPECT_EQ(withoutNamespace.GetCIMElement(false), instance);
}

TEST_F(ReferenceWithNamespaceTest, GetCIMElementThrowsNotFoundWhenNothingAnswers) {
  auto status = [](const TCIMReference& path) {
    return StatusOf([&] { path.GetCIMElement(false); });
  };
  EXPECT_EQ(status(TCIMReference()), kStatusNotFound);    // no class at all
  EXPECT_EQ(status(Path("CIM_Thing")), kStatusNotFound);  // no namespace to ask
  TCIMReference path(s_.Namespace(), TContext());
  path.SetClass(cls_);
  EXPECT_EQ(status(path), kStatusNotFound);               // no such instance
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
