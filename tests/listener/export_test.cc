// The listener without a socket: TExportHttpExchange answering export
// requests as a WBEM server sends them, and what `inmem listen` prints of
// the indications it takes.

#include <cstdlib>
#include <sstream>

#include <gtest/gtest.h>

#include "listener/export_exchange.h"
#include "listener/indication_printer.h"
#include "mof/mof_loader.h"
#include "server/user_file.h"
#include "tests/server/server_fixture.h"

namespace http = boost::beast::http;

namespace {

// `text` as the content of an XML element or attribute.
std::string Escaped(const std::string& text) {
  std::string out;
  for (char c : text) {
    switch (c) {
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      case '&': out += "&amp;"; break;
      case '"': out += "&quot;"; break;
      default: out += c;
    }
  }
  return out;
}

std::string Property(const std::string& name, const std::string& type, const std::string& value,
                     const std::string& attributes = "") {
  return "<PROPERTY NAME=\"" + name + "\" TYPE=\"" + type + "\"" + attributes + "><VALUE>" + value +
         "</VALUE></PROPERTY>";
}

// A Test_Disk as a sender writes it; `keyQualifiers` marks its keys as the
// class does, for a listener without the class.
std::string Disk(const std::string& size, const std::string& kind, bool keyQualifiers = false) {
  const std::string key =
      keyQualifiers ? "<QUALIFIER NAME=\"Key\" TYPE=\"boolean\"><VALUE>TRUE</VALUE></QUALIFIER>" : "";
  return "<INSTANCE CLASSNAME=\"Test_Disk\">"
         "<PROPERTY NAME=\"Id\" TYPE=\"string\">" + key + "<VALUE>sda</VALUE></PROPERTY>"
         "<PROPERTY NAME=\"Slot\" TYPE=\"uint16\">" + key + "<VALUE>0</VALUE></PROPERTY>" +
         Property("Size", "uint64", size) + Property("Kind", "uint16", kind) + "</INSTANCE>";
}

const char kEmbedded[] = " EmbeddedObject=\"instance\"";

// An indication of `cls` with its identifier and time, and `more`.
std::string Indication(const std::string& cls, const std::string& more) {
  return "<INSTANCE CLASSNAME=\"" + cls + "\">" + Property("IndicationIdentifier", "string", "7") +
         Property("IndicationTime", "datetime", "20250102030405.000000+000") + more + "</INSTANCE>";
}

const std::string kCreation =
    Indication("CIM_InstCreation", Property("SourceInstance", "string", Escaped(Disk("1000", "3", true)), kEmbedded));
// Without the attribute, as older senders write it.
const std::string kModification = Indication(
    "CIM_InstModification", Property("PerceivedSeverity", "uint16", "2") +
                                Property("SourceInstance", "string", Escaped(Disk("2000000000", "2")), kEmbedded) +
                                Property("PreviousInstance", "string", Escaped(Disk("1000", "3"))));

// A whole export request document.
std::string Export(const std::string& parameters, const std::string& method = "ExportIndication",
                   const std::string& versions = "CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"",
                   const std::string& protocol = "1.0") {
  return "<?xml version=\"1.0\" encoding=\"utf-8\"?><CIM " + versions + "><MESSAGE ID=\"1001\" PROTOCOLVERSION=\"" +
         protocol + "\"><SIMPLEEXPREQ><EXPMETHODCALL NAME=\"" + method + "\">" + parameters +
         "</EXPMETHODCALL></SIMPLEEXPREQ></MESSAGE></CIM>";
}

std::string NewIndication(const std::string& instance) {
  return "<EXPPARAMVALUE NAME=\"NewIndication\">" + instance + "</EXPPARAMVALUE>";
}

// A POST with the headers a server sends for `method`.
THttpRequest ExportPost(const std::string& body, const std::string& method = "ExportIndication") {
  THttpRequest request{http::verb::post, "/", 11};
  request.set("CIMExport", "MethodRequest");
  request.set("CIMExportMethod", method);
  request.set(http::field::content_type, "application/xml; charset=utf-8");
  request.body() = body;
  request.prepare_payload();
  return request;
}

std::string Header(const THttpAnswer& answer, const std::string& name) {
  for (const auto& header : answer.headers) {
    if (header.first == name) return header.second;
  }
  return "<none>";
}

class ExportTest : public ::testing::Test {
 protected:
  void SetUp() override { Listen(true, THttpPolicy()); }

  // A listener with the test schema loaded, or with an empty repository.
  void Listen(bool schema, THttpPolicy policy) {
    ns_ = NewProviderNamespace();
    if (schema) {
      TMofLoader loader(ns_);
      ASSERT_TRUE(loader.LoadFile(INMEM_LISTENER_SCHEMA));
    }
    exchange_ = std::make_unique<TExportHttpExchange>(policy, ns_, [this](const TReceivedIndication& indication) {
      received_.push_back(indication);
    });
  }

  THttpAnswer Send(const THttpRequest& request) { return exchange_->Answer(request, "localhost"); }

  // What the listener prints of the indications it took, as if received
  // at 2025-01-02T03:04:05.678Z.
  std::string Printed(bool json) {
    std::ostringstream out;
    for (TReceivedIndication indication : received_) {
      indication.received = std::chrono::system_clock::time_point(std::chrono::milliseconds(1735787045678));
      PrintIndication(indication, json, out);
    }
    return out.str();
  }

  boost::shared_ptr<ICIMNamespace> ns_;
  std::unique_ptr<TExportHttpExchange> exchange_;
  std::vector<TReceivedIndication> received_;
};

TEST_F(ExportTest, AnIndicationIsAnsweredWithTheExportResponse) {
  THttpAnswer answer = Send(ExportPost(Export(NewIndication(kCreation))));
  EXPECT_EQ(static_cast<unsigned>(answer.status), 200u);
  EXPECT_EQ(Header(answer, "CIMExport"), "MethodResponse");
  EXPECT_EQ(answer.record.operation, "ExportIndication");
  EXPECT_EQ(answer.record.target, "CIM_InstCreation");
  const std::string document = Drained(answer);
  EXPECT_NE(document.find("<MESSAGE ID=\"1001\" PROTOCOLVERSION=\"1.0\"><SIMPLEEXPRSP>"
                          "<EXPMETHODRESPONSE NAME=\"ExportIndication\"></EXPMETHODRESPONSE></SIMPLEEXPRSP>"),
            std::string::npos)
      << document;
  ASSERT_EQ(received_.size(), 1u);
  EXPECT_EQ(received_[0].indication.className, "CIM_InstCreation");

  // An M-POST names the CIM headers with its prefix, and so does the answer.
  THttpRequest mandatory{http::verb::unknown, "/listener/7", 11};
  mandatory.method_string("M-POST");
  mandatory.set("Man", "http://www.dmtf.org/cim/mapping/http/v1.0 ; ns=42");
  mandatory.set("42-CIMExport", "MethodRequest");
  mandatory.set("42-CIMExportMethod", "ExportIndication");
  mandatory.body() = Export(NewIndication(kModification));
  mandatory.prepare_payload();
  answer = Send(mandatory);
  EXPECT_EQ(static_cast<unsigned>(answer.status), 200u);
  EXPECT_EQ(Header(answer, "42-CIMExport"), "MethodResponse");
  EXPECT_EQ(Header(answer, "Ext"), "");
  EXPECT_EQ(CimCodeOf(Drained(answer)), 0);
  EXPECT_EQ(received_.size(), 2u);
}

TEST_F(ExportTest, RequestsThatAreNoExportRequestGetTheirHttpRefusal) {
  const std::string good = Export(NewIndication(kCreation));
  struct TCase {
    const char* what;
    THttpRequest request;
    unsigned status;
    const char* cimError;
  };
  auto post = [](const std::string& body) { return ExportPost(body); };
  // Deeper than the 64 levels XML may nest: well-formed, over a limit.
  std::string deep = "<EXPPARAMVALUE NAME=\"NewIndication\">";
  for (int i = 0; i < 70; ++i) deep += "<INSTANCE CLASSNAME=\"A\">";
  for (int i = 0; i < 70; ++i) deep += "</INSTANCE>";
  std::vector<TCase> cases = {
      {"GET of another page", post(good), 404, nullptr},
      {"PUT", post(good), 405, nullptr},
      {"no CIMExport", post(good), 400, "unsupported-operation"},
      {"CIMExport not MethodRequest", post(good), 400, "unsupported-operation"},
      {"a CIM operation", post(good), 400, "unsupported-operation"},
      {"no CIMExportMethod", post(good), 400, "header-mismatch"},
      {"CIMExportMethod of another method", post(good), 400, "header-mismatch"},
      {"not XML", post("<CIM><MESSAGE"), 400, "request-not-well-formed"},
      {"a DTD", post("<!DOCTYPE CIM [<!ENTITY a \"b\">]>" + good), 400, "request-not-well-formed"},
      {"not CIM", post("<HTML/>"), 400, "request-not-valid"},
      {"an operation request", post(
          "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"1\" PROTOCOLVERSION=\"1.0\"><SIMPLEREQ>"
          "<IMETHODCALL NAME=\"ExportIndication\"><LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/>"
          "</LOCALNAMESPACEPATH></IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>"), 400, "request-not-valid"},
      {"no EXPMETHODCALL", post("<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"1\" PROTOCOLVERSION=\"1.0\">"
                                "<SIMPLEEXPREQ/></MESSAGE></CIM>"), 400, "request-not-valid"},
      {"no message ID", post("<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE PROTOCOLVERSION=\"1.0\">"
                             "<SIMPLEEXPREQ><EXPMETHODCALL NAME=\"ExportIndication\"/></SIMPLEEXPREQ></MESSAGE></CIM>"),
       400, "request-not-valid"},
      {"NewIndication twice", post(Export(NewIndication(kCreation) + NewIndication(kCreation))), 400,
       "request-not-valid"},
      {"MULTIEXPREQ", post("<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"1\" PROTOCOLVERSION=\"1.0\">"
                           "<MULTIEXPREQ/></MESSAGE></CIM>"), 501, "multiple-requests-unsupported"},
      {"CIM 3", post(Export(NewIndication(kCreation), "ExportIndication", "CIMVERSION=\"3.0\" DTDVERSION=\"2.0\"")),
       501, "unsupported-cim-version"},
      {"DTD 3", post(Export(NewIndication(kCreation), "ExportIndication", "CIMVERSION=\"2.0\" DTDVERSION=\"3.1\"")),
       501, "unsupported-dtd-version"},
      {"protocol 2", post(Export(NewIndication(kCreation), "ExportIndication",
                                 "CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"", "2.0")),
       501, "unsupported-protocol-version"},
      {"nested past the depth limit", post(Export(deep + "</EXPPARAMVALUE>")), 400, "request-not-valid"},
      {"M-POST without Man", post(good), 510, nullptr},
  };
  cases[0].request.method(http::verb::get);
  cases[0].request.target("/cimom");
  cases[1].request.method(http::verb::put);
  cases[2].request.erase("CIMExport");
  cases[3].request.set("CIMExport", "MethodCall");
  cases[4].request.erase("CIMExport");
  cases[4].request.set("CIMOperation", "MethodCall");
  cases[5].request.erase("CIMExportMethod");
  cases[6].request.set("CIMExportMethod", "ExportSomethingElse");
  cases.back().request.method_string("M-POST");
  for (const TCase& c : cases) {
    THttpAnswer answer = Send(c.request);
    EXPECT_EQ(static_cast<unsigned>(answer.status), c.status) << c.what;
    EXPECT_EQ(Header(answer, "CIMError"), c.cimError == nullptr ? "<none>" : c.cimError) << c.what;
    EXPECT_EQ(Header(answer, "CIMExport"), "<none>") << c.what;
  }
  EXPECT_TRUE(received_.empty());
  // The listener goes on after them all.
  EXPECT_EQ(static_cast<unsigned>(Send(ExportPost(good)).status), 200u);
  EXPECT_EQ(received_.size(), 1u);
}

TEST_F(ExportTest, WhatTheExportMethodRefusesIsACimErrorInAnExportResponse) {
  const std::string notXml = Property("SourceInstance", "string", "&lt;INSTANCE", kEmbedded);
  const std::string aClass = Property("SourceInstance", "string", Escaped("<CLASS NAME=\"Test_Disk\"/>"), kEmbedded);
  // More attributes on one element than the 32 XML may carry.
  std::string wide = "<INSTANCE CLASSNAME=\"Test_Disk\"";
  for (int i = 0; i < 40; ++i) wide += " a" + std::to_string(i) + "=\"\"";
  wide += "/>";
  struct TCase {
    const char* what;
    std::string method;
    std::string parameters;
    int code;
  };
  const std::vector<TCase> cases = {
      {"another export method", "ExportSomething", NewIndication(kCreation), 7},
      {"no NewIndication", "ExportIndication", "", 4},
      {"NewIndication empty", "ExportIndication", "<EXPPARAMVALUE NAME=\"NewIndication\"/>", 4},
      {"another parameter", "ExportIndication",
       NewIndication(kCreation) + "<EXPPARAMVALUE NAME=\"Extra\"/>", 4},
      {"a value that is no uint16", "ExportIndication",
       NewIndication(Indication("CIM_InstCreation", Property("PerceivedSeverity", "uint16", "many"))), 4},
      {"a property without a type", "ExportIndication",
       NewIndication("<INSTANCE CLASSNAME=\"X_Unknown\"><PROPERTY NAME=\"A\"><VALUE>1</VALUE></PROPERTY></INSTANCE>"),
       4},
      {"SourceInstance not XML", "ExportIndication", NewIndication(Indication("CIM_InstCreation", notXml)), 4},
      {"SourceInstance a class", "ExportIndication", NewIndication(Indication("CIM_InstCreation", aClass)), 4},
      {"SourceInstance past the attribute limit", "ExportIndication",
       NewIndication(Indication("CIM_InstCreation",
                                Property("SourceInstance", "string", Escaped(wide), kEmbedded))), 4},
  };
  const char* dtd = std::getenv("INMEM_CIM_DTD");
  for (const TCase& c : cases) {
    const std::string request = Export(c.parameters, c.method);
    THttpAnswer answer = Send(ExportPost(request, c.method));
    EXPECT_EQ(static_cast<unsigned>(answer.status), 200u) << c.what;
    EXPECT_EQ(Header(answer, "CIMExport"), "MethodResponse") << c.what;
    const std::string document = Drained(answer);
    EXPECT_EQ(CimCodeOf(document), c.code) << c.what << ": " << document;
    EXPECT_NE(document.find("<EXPMETHODRESPONSE NAME=\"" + c.method + "\"><ERROR"), std::string::npos) << c.what;
    EXPECT_EQ(static_cast<int>(answer.record.status), c.code) << c.what;
    if (dtd != nullptr) {
      EXPECT_EQ(DtdComplaints(dtd, document), "") << c.what;
    }
  }
  EXPECT_TRUE(received_.empty());
}

TEST_F(ExportTest, AnswersAndTheRequestsTheyAnswerAreValidByTheDtd) {
  const char* dtd = std::getenv("INMEM_CIM_DTD");
  if (dtd == nullptr) GTEST_SKIP() << "INMEM_CIM_DTD names no DTD";
  for (const std::string& indication : {kCreation, kModification}) {
    const std::string request = Export(NewIndication(indication));
    EXPECT_EQ(DtdComplaints(dtd, request), "");
    THttpAnswer answer = Send(ExportPost(request));
    EXPECT_EQ(DtdComplaints(dtd, Drained(answer)), "");
  }
  // The embedded instances are CIM-XML of their own, valid inside a CIM
  // declaration's envelope.
  EXPECT_EQ(DtdComplaints(dtd, "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><DECLARATION><DECLGROUP>"
                               "<VALUE.OBJECT>" + Disk("1", "2", true) + "</VALUE.OBJECT></DECLGROUP>"
                               "</DECLARATION></CIM>"),
            "");
  // A document the DTD refuses is caught: the check can fail.
  EXPECT_NE(DtdComplaints(dtd, "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"1\" PROTOCOLVERSION=\"1.0\">"
                               "<SIMPLEEXPRSP/></MESSAGE></CIM>"),
            "");
}

TEST_F(ExportTest, ACreationPrintsItsSourceInstanceRawWithoutTheSchema) {
  Listen(false, THttpPolicy());
  ASSERT_EQ(static_cast<unsigned>(Send(ExportPost(Export(NewIndication(kCreation)))).status), 200u);
  // The keys come from the Key qualifiers the sender wrote.
  EXPECT_EQ(Printed(false),
            "2025-01-02T03:04:05.678Z CIM_InstCreation test_disk.id=\"sda\",slot=0\n"
            "    IndicationIdentifier = 7\n"
            "    IndicationTime = 20250102030405.000000+000\n"
            "    SourceInstance Test_Disk\n"
            "        Id = sda\n"
            "        Slot = 0\n"
            "        Size = 1000\n"
            "        Kind = 3\n");
  EXPECT_EQ(Printed(true),
            "{\"received\":\"2025-01-02T03:04:05.678Z\",\"class\":\"CIM_InstCreation\","
            "\"path\":\"test_disk.id=\\\"sda\\\",slot=0\",\"properties\":{"
            "\"IndicationIdentifier\":{\"value\":\"7\",\"display\":\"7\"},"
            "\"IndicationTime\":{\"value\":\"20250102030405.000000+000\",\"display\":\"20250102030405.000000+000\"}},"
            "\"sourceInstance\":{\"class\":\"Test_Disk\",\"path\":\"test_disk.id=\\\"sda\\\",slot=0\",\"properties\":{"
            "\"Id\":{\"value\":\"sda\",\"display\":\"sda\"},\"Slot\":{\"value\":0,\"display\":\"0\"},"
            "\"Size\":{\"value\":1000,\"display\":\"1000\"},\"Kind\":{\"value\":3,\"display\":\"3\"}}}}\n");
}

TEST_F(ExportTest, AModificationPrintsWhatChangedWithTheSchemasDisplayText) {
  ASSERT_EQ(static_cast<unsigned>(Send(ExportPost(Export(NewIndication(kModification)))).status), 200u);
  // No Key qualifiers: the class gives the keys.
  EXPECT_EQ(Printed(false),
            "2025-01-02T03:04:05.678Z CIM_InstModification test_disk.id=\"sda\",slot=0\n"
            "    IndicationIdentifier = 7\n"
            "    IndicationTime = 20250102030405.000000+000\n"
            "    PerceivedSeverity = Information\n"
            "    SourceInstance Test_Disk\n"
            "        Id = sda\n"
            "        Slot = 0\n"
            "        Size = 1.9 Gigabytes (was 1000 Bytes)\n"
            "        Kind = Rotating (was Solid)\n");
  const std::string json = Printed(true);
  EXPECT_NE(json.find("\"PerceivedSeverity\":{\"value\":2,\"display\":\"Information\"}"), std::string::npos) << json;
  EXPECT_NE(json.find("\"Size\":{\"value\":2000000000,\"display\":\"1.9 Gigabytes\",\"previous\":\"1000 Bytes\"}"),
            std::string::npos)
      << json;
  EXPECT_NE(json.find(",\"previousInstance\":{\"class\":\"Test_Disk\",\"path\":\"test_disk.id=\\\"sda\\\",slot=0\","
                      "\"properties\":{\"Id\":{\"value\":\"sda\",\"display\":\"sda\"},\"Slot\":{\"value\":0,"
                      "\"display\":\"0\"},\"Size\":{\"value\":1000,\"display\":\"1000 Bytes\"},"
                      "\"Kind\":{\"value\":3,\"display\":\"Solid\"}}}}\n"),
            std::string::npos)
      << json;
  EXPECT_EQ(std::count(json.begin(), json.end(), '\n'), 1);
  // The repository is left as it was: the instances shown were never filed.
  size_t instances = 0;
  ns_->GetClass("Test_Disk", TContext())->EnumerateInstances([&](boost::shared_ptr<ICIMInstance>) {
    ++instances;
    return true;
  }, true, TContext());
  EXPECT_EQ(instances, 0u);
}

TEST_F(ExportTest, ValuesFromTheSenderArePrintedOnOneLineEach) {
  const std::string model = Property("SourceInstanceModelPath", "string", "Test_Disk.Id=&quot;sdb&quot;,Slot=1");
  const std::string odd = "<PROPERTY.ARRAY NAME=\"Notes\" TYPE=\"string\"><VALUE.ARRAY><VALUE>two&#10;lines</VALUE>"
                          "<VALUE.NULL/><VALUE>back&#13;</VALUE></VALUE.ARRAY></PROPERTY.ARRAY>"
                          "<PROPERTY.REFERENCE NAME=\"Where\"><VALUE.REFERENCE><INSTANCENAME CLASSNAME=\"X_Box\">"
                          "<KEYBINDING NAME=\"N\"><KEYVALUE VALUETYPE=\"numeric\">3</KEYVALUE></KEYBINDING>"
                          "</INSTANCENAME></VALUE.REFERENCE></PROPERTY.REFERENCE>";
  ASSERT_EQ(static_cast<unsigned>(
                Send(ExportPost(Export(NewIndication(Indication("X_Alert", model + odd))))).status),
            200u);
  // The model path names what the indication is about, and a value's line
  // breaks and control characters are escaped.
  EXPECT_EQ(Printed(false),
            "2025-01-02T03:04:05.678Z X_Alert Test_Disk.Id=\"sdb\",Slot=1\n"
            "    IndicationIdentifier = 7\n"
            "    IndicationTime = 20250102030405.000000+000\n"
            "    SourceInstanceModelPath = Test_Disk.Id=\"sdb\",Slot=1\n"
            "    Notes = {two\\x0Alines, null, back\\x0D}\n"
            "    Where = x_box.n=3\n");
  EXPECT_NE(Printed(true).find("\"Notes\":{\"value\":[\"two\\nlines\",null,\"back\\r\"],"
                               "\"display\":[\"two\\nlines\",null,\"back\\r\"]}"),
            std::string::npos)
      << Printed(true);
}

TEST_F(ExportTest, WithUsersEveryRequestNeedsTheirCredentials) {
  TUserFile users;
  ASSERT_TRUE(users.SetPassword("ops", "s3cret"));
  THttpPolicy policy;
  policy.users = &users;
  Listen(true, policy);
  THttpRequest request = ExportPost(Export(NewIndication(kCreation)));
  THttpAnswer answer = Send(request);
  EXPECT_EQ(static_cast<unsigned>(answer.status), 401u);
  EXPECT_EQ(Header(answer, "WWW-Authenticate"), "Basic realm=\"inmem\"");
  request.set(http::field::authorization, "Basic b3BzOnMzY3JldHg=");  // ops:s3cretx
  EXPECT_EQ(static_cast<unsigned>(Send(request).status), 401u);
  EXPECT_TRUE(received_.empty());
  request.set(http::field::authorization, "Basic b3BzOnMzY3JldA==");  // ops:s3cret
  EXPECT_EQ(static_cast<unsigned>(Send(request).status), 200u);
  EXPECT_EQ(received_.size(), 1u);
}

}  // namespace
