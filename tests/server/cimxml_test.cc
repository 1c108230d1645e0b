// The XML side of the server: hostile documents, request envelopes, value
// texts, and values written by the writer and read back by the reader.

#include <cmath>

#include <gtest/gtest.h>

#include "include/cim_class.h"
#include "include/cim_instance.h"
#include "server/cimxml_reader.h"
#include "server/cimxml_request.h"
#include "server/cimxml_writer.h"
#include "server/xml_document.h"
#include "tests/server/server_fixture.h"

namespace {

TEST(XmlDocumentTest, HostileAndMalformedDocumentsAreRefusedWhole) {
  TXmlLimits limits;
  limits.maxDepth = 8;
  limits.maxElements = 100;
  limits.maxAttributes = 4;
  limits.maxTextBytes = 64;
  std::string deep, many, attributes = "<a";
  for (int i = 0; i < 9; ++i) deep += "<a>";
  for (int i = 0; i < 9; ++i) deep += "</a>";
  for (int i = 0; i < 101; ++i) many += "<b/>";
  for (int i = 0; i < 5; ++i) attributes += " x" + std::to_string(i) + "=\"1\"";
  const struct {
    std::string document;
    bool tooLarge;
    const char* why;
  } cases[] = {
      {"<!DOCTYPE a [<!ENTITY x \"xx\"><!ENTITY y \"&x;&x;&x;\">]><a>&y;</a>", false, "document type"},
      {"<!DOCTYPE a SYSTEM \"file:///etc/passwd\"><a/>", false, "document type"},
      {deep, true, "deeper than 8"},
      {"<r>" + many + "</r>", true, "more than 100 elements"},
      {attributes + "/>", true, "more than 4 attributes"},
      {"<a>" + std::string(65, 'x') + "</a>", true, "longer than 64"},
      {"<a><b></a>", false, "mismatched tag"},
      {"", false, "no element found"},
      {"<a>&undefined;</a>", false, "undefined entity"},
      {"<a>\xff</a>", false, "not well-formed"},
  };
  for (const auto& c : cases) {
    std::string error;
    bool tooLarge = false;
    EXPECT_EQ(ReadXmlDocument(c.document, limits, &error, &tooLarge), nullptr) << c.document;
    EXPECT_EQ(tooLarge, c.tooLarge) << c.document;
    EXPECT_NE(error.find(c.why), std::string::npos) << error;
  }
  std::string error;
  bool tooLarge = false;
  auto ok = ReadXmlDocument("<a x=\"&lt;1&#10;\">t<b/>&amp;u</a>", limits, &error, &tooLarge);
  ASSERT_NE(ok, nullptr) << error;
  EXPECT_EQ(*ok->Attribute("x"), "<1\n");
  EXPECT_EQ(ok->text, "t&u");
  EXPECT_NE(ok->Child("b"), nullptr);
}

TEST(CimRequestTest, EnvelopesThatAreNoSimpleRequestAreRefusedWithTheirHttpStatus) {
  const std::string call = "<IMETHODCALL NAME=\"GetClass\"><LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/>"
                           "</LOCALNAMESPACEPATH></IMETHODCALL>";
  auto message = [&](const std::string& cim, const std::string& protocol, const std::string& inside) {
    return "<CIM " + cim + "><MESSAGE ID=\"1\" PROTOCOLVERSION=\"" + protocol + "\">" + inside + "</MESSAGE></CIM>";
  };
  const std::string v2 = "CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"";
  const struct {
    std::string document;
    int status;
    const char* cimError;
  } cases[] = {
      {message("CIMVERSION=\"3.0\" DTDVERSION=\"2.0\"", "1.0", "<SIMPLEREQ>" + call + "</SIMPLEREQ>"), 501,
       "unsupported-cim-version"},
      {message("CIMVERSION=\"2.0\" DTDVERSION=\"20\"", "1.0", "<SIMPLEREQ>" + call + "</SIMPLEREQ>"), 501,
       "unsupported-dtd-version"},
      {message(v2, "2.1", "<SIMPLEREQ>" + call + "</SIMPLEREQ>"), 501, "unsupported-protocol-version"},
      {message(v2, "1.0", "<MULTIREQ><SIMPLEREQ>" + call + "</SIMPLEREQ><SIMPLEREQ>" + call +
                              "</SIMPLEREQ></MULTIREQ>"),
       501, "multiple-requests-unsupported"},
      {message(v2, "1.0", "<SIMPLERSP/>"), 400, "request-not-valid"},
      {"<CIM " + v2 + "/>", 400, "request-not-valid"},
      {"<HTML/>", 400, "request-not-valid"},
      {message(v2, "1.0", "<SIMPLEREQ><IMETHODCALL NAME=\"GetClass\"/></SIMPLEREQ>"), 400, "request-not-valid"},
      {message(v2, "1.0", "<SIMPLEREQ><IMETHODCALL NAME=\"X\"><LOCALNAMESPACEPATH><NAMESPACE NAME=\"r\"/>"
                              "</LOCALNAMESPACEPATH><IPARAMVALUE NAME=\"A\"/><IPARAMVALUE NAME=\"a\"/>"
                              "</IMETHODCALL></SIMPLEREQ>"),
       400, "request-not-valid"},
  };
  for (const auto& c : cases) {
    std::string error;
    bool tooLarge = false;
    auto root = ReadXmlDocument(c.document, TXmlLimits(), &error, &tooLarge);
    ASSERT_NE(root, nullptr) << error;
    try {
      ReadCimRequest(*root);
      ADD_FAILURE() << "accepted: " << c.document;
    } catch (const TCimProtocolError& e) {
      EXPECT_EQ(e.HttpStatus(), c.status) << c.document;
      EXPECT_STREQ(e.CimError(), c.cimError) << c.document;
    }
  }
}

TEST(CimValueTextTest, TextsReadAsTheirTypeOrSayWhyNot) {
  const struct {
    const char* text;
    ECIMType type;
    const char* expected;  // the value's text, or nullptr when refused
  } cases[] = {
      {" TRUE ", kCIMTypeBoolean, "TRUE"},   {"false", kCIMTypeBoolean, "FALSE"},
      {"yes", kCIMTypeBoolean, nullptr},     {"255", kCIMTypeUint8, "255"},
      {"256", kCIMTypeUint8, nullptr},       {"-1", kCIMTypeUint32, nullptr},
      {"-0", kCIMTypeUint16, "0"},           {"0x1F", kCIMTypeUint16, "31"},
      {"010", kCIMTypeUint16, "10"},         {"-128", kCIMTypeSint8, "-128"},
      {"-129", kCIMTypeSint8, nullptr},      {"18446744073709551615", kCIMTypeUint64, "18446744073709551615"},
      {"18446744073709551616", kCIMTypeUint64, nullptr},
      {"-9223372036854775808", kCIMTypeSint64, "-9223372036854775808"},
      {"1.5e3", kCIMTypeUint32, nullptr},    {"12a", kCIMTypeSint32, nullptr},
      {"", kCIMTypeUint32, nullptr},         {"1.5e3", kCIMTypeReal64, "1500"},
      {"+2.5", kCIMTypeReal32, "2.5"},       {"1e56", kCIMTypeReal32, nullptr},
      {"1e400", kCIMTypeReal64, nullptr},    {"-INF", kCIMTypeReal64, "-inf"},
      {"NaN", kCIMTypeReal32, "nan"},        {"one", kCIMTypeReal64, nullptr},
      {"x", kCIMTypeChar16, "x"},            {"xy", kCIMTypeChar16, nullptr},
      {" ", kCIMTypeChar16, " "},            {" a b ", kCIMTypeString, " a b "},
      {"20261125101500.000000+060", kCIMTypeDateTime, "20261125101500.000000+060"},
      {"20261325101500.000000+060", kCIMTypeDateTime, nullptr},
  };
  for (const auto& c : cases) {
    TCIMValue value;
    std::string why;
    const bool read = ReadScalarText(c.text, c.type, &value, &why);
    ASSERT_EQ(read, c.expected != nullptr) << c.text << " as " << CIMTypeName(c.type) << ": " << why;
    if (read) {
      EXPECT_EQ(value.GetType(), c.type);
      EXPECT_EQ(value.ToString(), c.expected) << c.text;
    } else {
      EXPECT_FALSE(why.empty());
    }
  }
}

// Every kind of value, written as a property of an instance would be and
// read back as the declaration's type: the same value comes back.
TEST(CimValueXmlTest, EveryTypeRoundTripsThroughTheWriterAndTheReader) {
  boost::shared_ptr<ICIMNamespace> ns = FixtureNamespace();
  ASSERT_TRUE(ns);
  boost::shared_ptr<ICIMInstance> disk =
      ns->GetInstance(TCIMReference::Parse("Test_Disk.Id=\"sda\",Slot=0", ns), TContext());
  ASSERT_TRUE(disk);
  std::vector<TCIMValue> values = {
      TCIMValue(true),
      TCIMValue(static_cast<unsigned char>(200)),
      TCIMValue(static_cast<signed char>(-100)),
      TCIMValue(static_cast<unsigned short>(65535)),
      TCIMValue(static_cast<short>(-32768)),
      TCIMValue(4000000000u),
      TCIMValue(-2000000000),
      TCIMValue(18446744073709551615ull),
      TCIMValue(-9223372036854775807ll - 1),
      TCIMValue(0.1f),
      TCIMValue(-1.0 / 3.0),
      TCIMValue(std::numeric_limits<double>::infinity()),
      TCIMValue(u'\u00e9'),
      TCIMValue("<tag> & \"quotes\"\r\n\ttabs \xc3\xa9"),
      TCIMValue(""),
      TCIMValue(TCIMDateTime::Parse("00000001020304.000005:000")),
      TCIMValue(disk->GetReference(TContext())),
      TCIMValue(kCIMTypeUint16, {TCIMValue(static_cast<unsigned short>(1)), TCIMValue::Null(kCIMTypeUint16)}),
      TCIMValue(kCIMTypeString, {}),
      TCIMValue(kCIMTypeString, {TCIMValue("a,b"), TCIMValue("")}),
  };
  TCimXmlReader reader(ns, "root/cimv2", PathTextBudget(0));
  for (const TCIMValue& value : values) {
    TXmlOut xml;
    TCimXmlWriter writer(xml, "localhost", "root/cimv2");
    writer.Value(value);
    const std::string text = xml.Take();
    std::string error;
    bool tooLarge = false;
    auto element = ReadXmlDocument(text, TXmlLimits(), &error, &tooLarge);
    ASSERT_NE(element, nullptr) << text << ": " << error;
    const TCIMValue back = reader.Value(element.get(), value.GetType(), disk->GetClass(TContext()));
    EXPECT_EQ(back, value) << text << " read back as " << back.ToString();
  }
  // NaN compares unequal to itself; it must still come back as NaN.
  TXmlOut xml;
  TCimXmlWriter(xml, "h", "n").Value(TCIMValue(std::nan("")));
  std::string error;
  bool tooLarge = false;
  auto nan = ReadXmlDocument(xml.Take(), TXmlLimits(), &error, &tooLarge);
  EXPECT_TRUE(std::isnan(static_cast<double>(reader.Value(nan.get(), kCIMTypeReal64, nullptr))));
}

TEST(CimValueXmlTest, ControlCharactersXmlCannotCarryBecomeReplacementCharacters) {
  TXmlOut xml;
  TCimXmlWriter(xml, "h", "n").Value(TCIMValue(std::string("a\x01" "b\xff" "c\xef\xbf\xbe", 8)));
  EXPECT_EQ(xml.Take(), "<VALUE>a\xEF\xBF\xBD" "b\xEF\xBF\xBD" "c\xEF\xBF\xBD</VALUE>");
}

}  // namespace
