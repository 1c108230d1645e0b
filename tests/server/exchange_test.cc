// CIM operations over HTTP without a socket: TCimHttpExchange answering
// requests as clients send them, on the fixture repository.

#include <cstdio>
#include <cstdlib>
#include <fstream>

#include <gtest/gtest.h>

#include "include/cim_class.h"
#include "core/tyl_exception.h"
#include "include/cim_instance.h"
#include "include/cim_property.h"
#include "include/cim_property_decl.h"
#include "include/cim_qualifier.h"
#include "server/user_file.h"
#include "tests/server/server_fixture.h"

namespace http = boost::beast::http;

namespace {

class ExchangeTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ns_ = FixtureNamespace();
    ASSERT_TRUE(ns_);
    Serve(TCimOperationsConfig(), THttpPolicy());
  }

  void Serve(const TCimOperationsConfig& config, const THttpPolicy& policy) {
    exchange_.reset();
    if (!namespaces_) namespaces_ = ServingAlone(ns_);
    operations_ = std::make_unique<TCimOperations>(*namespaces_, config);
    exchange_ = std::make_unique<TCimHttpExchange>(*operations_, policy);
  }

  // Runs `method` and returns the response document; *status gets the
  // HTTP status.
  std::string Call(const std::string& method, const std::string& parameters, unsigned* status = nullptr) {
    THttpAnswer answer = exchange_->Answer(CimPost(method, Envelope(method, parameters)), "localhost");
    if (status != nullptr) *status = static_cast<unsigned>(answer.status);
    last_ = answer.record;
    return Drained(answer);
  }

  // The CIM status code of a response document (0 for success).
  static int CodeOf(const std::string& document) {
    const size_t at = document.find("<ERROR CODE=\"");
    return at == std::string::npos ? 0 : std::atoi(document.c_str() + at + 13);
  }

  boost::shared_ptr<ICIMNamespace> ns_;
  std::unique_ptr<TNamespaceRegistry> namespaces_;
  std::unique_ptr<TCimOperations> operations_;
  std::unique_ptr<TCimHttpExchange> exchange_;
  TCallRecord last_;
};

TEST_F(ExchangeTest, RequestsThatAreNoCimOperationGetTheirHttpRefusal) {
  const std::string good = Envelope("GetClass", Param("ClassName", ClassName("Test_Disk")));
  struct TCase {
    const char* what;
    THttpRequest request;
    unsigned status;
    const char* cimError;
  };
  auto post = [&](const std::string& body) { return CimPost("GetClass", body); };
  std::vector<TCase> cases = {
      {"wrong path", post(good), 404, nullptr},
      {"GET", post(good), 405, nullptr},
      {"no CIMOperation", post(good), 400, "unsupported-operation"},
      {"CIMOperation not MethodCall", post(good), 400, "unsupported-operation"},
      {"CIMMethod of another method", post(good), 400, "header-mismatch"},
      {"no CIMObject", post(good), 400, "header-mismatch"},
      {"CIMObject of another namespace", post(good), 400, "header-mismatch"},
      {"not XML", post("<CIM><MESSAGE"), 400, "request-not-well-formed"},
      {"a DTD", post("<!DOCTYPE CIM [<!ENTITY a \"b\">]>" + good), 400, "request-not-well-formed"},
      {"not CIM", post("<HTML/>"), 400, "request-not-valid"},
      {"M-POST without Man", post(good), 510, nullptr},
  };
  cases[0].request.target("/nope");
  cases[1].request.method(http::verb::get);
  cases[2].request.erase("CIMOperation");
  cases[3].request.set("CIMOperation", "MethodResponse");
  cases[4].request.set("CIMMethod", "GetInstance");
  cases[5].request.erase("CIMObject");
  cases[6].request.set("CIMObject", "root%2Fother");
  cases[10].request.method_string("M-POST");
  for (TCase& c : cases) {
    THttpAnswer answer = exchange_->Answer(c.request, "localhost");
    EXPECT_EQ(static_cast<unsigned>(answer.status), c.status) << c.what;
    std::string cimError;
    for (const auto& h : answer.headers) cimError = h.first == "CIMError" ? h.second : cimError;
    EXPECT_EQ(cimError, c.cimError ? c.cimError : "") << c.what;
  }
  // An M-POST that declares the mapping uses its prefix on every CIM header.
  THttpRequest mpost = post(good);
  mpost.method_string("M-POST");
  mpost.set("Man", "http://www.dmtf.org/cim/mapping/http/v1.0 ; ns=73");
  for (const char* name : {"CIMOperation", "CIMMethod", "CIMObject"}) {
    mpost.set(std::string("73-") + name, mpost[name].to_string());
    mpost.erase(name);
  }
  THttpAnswer answer = exchange_->Answer(mpost, "localhost");
  EXPECT_EQ(answer.status, http::status::ok);
  EXPECT_NE(Drained(answer).find("<CLASS NAME=\"Test_Disk\""), std::string::npos);
}

TEST_F(ExchangeTest, FailuresAreCimErrorsWithTheirStatus) {
  const struct {
    const char* method;
    std::string parameters;
    int code;
    const char* description;
  } cases[] = {
      {"GetClass", Param("ClassName", ClassName("Nope")), 6, "no class named Nope"},
      {"EnumerateInstances", Param("ClassName", ClassName("Nope")), 5, "no class named Nope"},
      {"GetInstance", Param("InstanceName", "<INSTANCENAME CLASSNAME=\"Test_System\"><KEYBINDING NAME=\"Name\">"
                                            "<KEYVALUE>nope</KEYVALUE></KEYBINDING></INSTANCENAME>"),
       6, "no instance test_system.name=&quot;nope&quot;"},
      {"GetInstance", Param("InstanceName", "<INSTANCENAME CLASSNAME=\"Test_Disk\"><KEYBINDING NAME=\"Slot\">"
                                            "<KEYVALUE>many</KEYVALUE></KEYBINDING></INSTANCENAME>"),
       4, "is no uint16"},
      {"GetInstance", "", 4, "InstanceName is required"},
      {"GetProperty", Param("InstanceName", kSda) + Param("PropertyName", Value("HealthState")), 12,
       "no property HealthState"},
      {"Associators", Param("ObjectName", kAlpha) + Param("AssocClass", ClassName("Nope")), 4,
       "no class named Nope (AssocClass)"},
      {"ExecQuery", "", 4, "parameter QueryLanguage is required"},
      {"DeleteClass", Param("ClassName", ClassName("Test_Disk")), 1, "class Test_SystemDisk refers to Test_Disk"},
      {"OpenEnumerateInstances", Param("ClassName", ClassName("Test_Disk")) + Param("FilterQuery", Value("Slot = 0")),
       4, "FilterQuery and FilterQueryLanguage come together"},
      {"OpenEnumerateInstances", Param("ClassName", ClassName("Test_Disk")) + Param("ContinueOnError", Value("TRUE")),
       26, "ContinueOnError"},
      {"OpenEnumerateInstances", Param("ClassName", ClassName("Test_Disk")) + Param("OperationTimeout", Value("0")),
       22, "OperationTimeout"},
      {"PullInstancesWithPath", Param("EnumerationContext", Value("feed")) + Param("MaxObjectCount", Value("1")),
       21, "no open enumeration feed"},
  };
  for (const auto& c : cases) {
    const std::string document = Call(c.method, c.parameters);
    EXPECT_EQ(CodeOf(document), c.code) << c.method << ": " << document;
    EXPECT_NE(document.find(c.description), std::string::npos) << document;
    EXPECT_EQ(last_.status, c.code);
  }
  // A property the class lacks was not made up on the way.
  EXPECT_THROW(ns_->GetClass("Test_Disk", TContext())->GetPropertyDecl("HealthState", TContext()), TTYLException);
  // Another namespace, and an extrinsic method, are refused too.
  const std::string other = Envelope("GetClass", Param("ClassName", ClassName("Test_Disk")),
                                     "<NAMESPACE NAME=\"interop\"/>");
  THttpRequest request = CimPost("GetClass", other);
  request.set("CIMObject", "interop");
  THttpAnswer answer = exchange_->Answer(request, "localhost");
  EXPECT_EQ(CodeOf(Drained(answer)), 3);
}

// Refused writes change nothing: the repository exports the same MOF after
// each, and after a read-only server refused them all.
TEST_F(ExchangeTest, RefusedWritesLeaveTheRepositoryAsItWas) {
  const std::string before = Exported(*ns_);
  auto disk = [](const std::string& properties) {
    return Param("NewInstance", "<INSTANCE CLASSNAME=\"Test_Disk\">" + properties + "</INSTANCE>");
  };
  const std::string id = "<PROPERTY NAME=\"Id\" TYPE=\"string\"><VALUE>sdz</VALUE></PROPERTY>";
  const std::string slot = "<PROPERTY NAME=\"Slot\" TYPE=\"uint16\"><VALUE>9</VALUE></PROPERTY>";
  const struct {
    const char* method;
    std::string parameters;
    int code;
  } cases[] = {
      {"CreateInstance", Param("NewInstance", "<INSTANCE CLASSNAME=\"Test_Element\"></INSTANCE>"), 4},
      {"CreateInstance", disk(id), 4},  // a key left null
      {"CreateInstance", disk(id + slot + "<PROPERTY NAME=\"Kind\" TYPE=\"string\"><VALUE>2</VALUE></PROPERTY>"), 13},
      {"CreateInstance", disk(id + slot + "<PROPERTY NAME=\"U8\" TYPE=\"uint8\"><VALUE>256</VALUE></PROPERTY>"), 4},
      {"CreateInstance", disk(id + slot + "<PROPERTY NAME=\"Nope\" TYPE=\"string\"><VALUE>x</VALUE></PROPERTY>"), 12},
      {"CreateInstance", disk("<PROPERTY NAME=\"Id\" TYPE=\"string\"><VALUE>sda</VALUE></PROPERTY>"
                              "<PROPERTY NAME=\"Slot\" TYPE=\"uint16\"><VALUE>0</VALUE></PROPERTY>"),
       11},
      {"CreateInstance", Param("NewInstance", "<INSTANCE CLASSNAME=\"Test_SystemDisk\">"
                                              "<PROPERTY.REFERENCE NAME=\"System\"><VALUE.REFERENCE>" + kAlpha +
                                              "</VALUE.REFERENCE></PROPERTY.REFERENCE><PROPERTY.REFERENCE "
                                              "NAME=\"Disk\"><VALUE.REFERENCE><INSTANCENAME CLASSNAME=\"Test_Disk\">"
                                              "<KEYBINDING NAME=\"Id\"><KEYVALUE>gone</KEYVALUE></KEYBINDING>"
                                              "<KEYBINDING NAME=\"Slot\"><KEYVALUE>5</KEYVALUE></KEYBINDING>"
                                              "</INSTANCENAME></VALUE.REFERENCE></PROPERTY.REFERENCE></INSTANCE>"),
       4},
      {"ModifyInstance", Param("ModifiedInstance", "<VALUE.NAMEDINSTANCE>" + kSda + "<INSTANCE CLASSNAME=\"Test_Disk\">"
                                                   "<PROPERTY NAME=\"Slot\" TYPE=\"uint16\"><VALUE>3</VALUE></PROPERTY>"
                                                   "<PROPERTY NAME=\"Kind\" TYPE=\"uint16\"><VALUE>1</VALUE></PROPERTY>"
                                                   "</INSTANCE></VALUE.NAMEDINSTANCE>"),
       4},
      {"SetProperty", Param("InstanceName", kSda) + Param("PropertyName", Value("Kind")) +
                          Param("NewValue", Value("-1")), 4},
      {"SetProperty", Param("InstanceName", kSda) + Param("PropertyName", Value("speedDuplex")) +
                          Param("NewValue", Value("1")), 12},
      {"CreateClass", Param("NewClass", "<CLASS NAME=\"Test_Disk\"></CLASS>"), 11},
      {"CreateClass", Param("NewClass", "<CLASS NAME=\"Test_New\" SUPERCLASS=\"Nope\"></CLASS>"), 10},
      {"CreateClass", Param("NewClass", "<CLASS NAME=\"Test_New\"><QUALIFIER NAME=\"Undeclared\" TYPE=\"boolean\">"
                                        "<VALUE>TRUE</VALUE></QUALIFIER></CLASS>"), 4},
      {"SetQualifier", Param("QualifierDeclaration", "<QUALIFIER.DECLARATION NAME=\"Key\" TYPE=\"string\">"
                                                     "<SCOPE PROPERTY=\"true\"/></QUALIFIER.DECLARATION>"), 1},
      {"DeleteInstance", Param("InstanceName", "<INSTANCENAME CLASSNAME=\"Test_Disk\"><KEYBINDING NAME=\"Id\">"
                                               "<KEYVALUE>x</KEYVALUE></KEYBINDING></INSTANCENAME>"), 6},
  };
  for (const auto& c : cases) {
    const std::string document = Call(c.method, c.parameters);
    EXPECT_EQ(CodeOf(document), c.code) << c.method << ": " << document;
    EXPECT_EQ(Exported(*ns_), before) << c.method << " changed the repository: " << document;
  }
  TCimOperationsConfig readOnly;
  readOnly.readOnly = true;
  Serve(readOnly, THttpPolicy());
  EXPECT_EQ(CodeOf(Call("DeleteInstance", Param("InstanceName", kSda))), 2);
  EXPECT_EQ(Exported(*ns_), before);
}

TEST_F(ExchangeTest, WritesGoThroughTheRepositorysRules) {
  const std::string created = Call(
      "CreateInstance", Param("NewInstance", "<INSTANCE CLASSNAME=\"Test_Disk\"><PROPERTY NAME=\"Id\" TYPE=\"string\">"
                                             "<VALUE>sdc</VALUE></PROPERTY><PROPERTY NAME=\"Slot\" TYPE=\"uint16\">"
                                             "<VALUE>2</VALUE></PROPERTY><PROPERTY.ARRAY NAME=\"Codes\" TYPE=\"uint16\">"
                                             "<VALUE.ARRAY><VALUE>7</VALUE><VALUE.NULL/></VALUE.ARRAY>"
                                             "</PROPERTY.ARRAY></INSTANCE>"));
  EXPECT_NE(created.find("<KEYVALUE VALUETYPE=\"numeric\" TYPE=\"uint16\">2</KEYVALUE>"), std::string::npos) << created;
  const std::string sdc =
      "<INSTANCENAME CLASSNAME=\"Test_Disk\"><KEYBINDING NAME=\"Id\"><KEYVALUE>sdc</KEYVALUE></KEYBINDING>"
      "<KEYBINDING NAME=\"Slot\"><KEYVALUE>2</KEYVALUE></KEYBINDING></INSTANCENAME>";
  // ModifyInstance changes what it names through SetPropertyValue, so the
  // previous value a host stored stays; a property in the list but not in
  // the instance goes back to its default.
  boost::shared_ptr<ICIMInstance> instance =
      ns_->GetInstance(TCIMReference::Parse("Test_Disk.Id=\"sdc\",Slot=2", ns_), TContext());
  ASSERT_TRUE(instance);
  instance->GetProperty("Kind", TContext())->SetPrevValue(TCIMValue(static_cast<unsigned short>(1)));
  EXPECT_EQ(CodeOf(Call("ModifyInstance",
                        Param("ModifiedInstance", "<VALUE.NAMEDINSTANCE>" + sdc + "<INSTANCE CLASSNAME=\"Test_Disk\">"
                                                  "<PROPERTY NAME=\"Kind\" TYPE=\"uint16\"><VALUE>3</VALUE></PROPERTY>"
                                                  "<PROPERTY NAME=\"U8\" TYPE=\"uint8\"><VALUE>9</VALUE></PROPERTY>"
                                                  "</INSTANCE></VALUE.NAMEDINSTANCE>") +
                            Param("PropertyList", "<VALUE.ARRAY><VALUE>kind</VALUE><VALUE>Codes</VALUE></VALUE.ARRAY>"))),
            0);
  EXPECT_EQ(instance->GetProperty("Kind", TContext())->GetValue(TContext()).ToString(), "3");
  EXPECT_EQ(instance->GetProperty("Kind", TContext())->GetPrevValue().ToString(), "1");
  EXPECT_TRUE(instance->GetProperty("U8", TContext())->GetValue(TContext()).IsNull());  // not in the list
  EXPECT_TRUE(instance->GetProperty("Codes", TContext())->GetValue(TContext()).IsNull());
  EXPECT_EQ(CodeOf(Call("DeleteInstance", Param("InstanceName", sdc))), 0);
  EXPECT_FALSE(ns_->GetInstance(TCIMReference::Parse("Test_Disk.Id=\"sdc\",Slot=2", ns_), TContext()));
  // A class and a qualifier declaration enter as MOF would: the override
  // takes over the key, the class reads back.
  EXPECT_EQ(CodeOf(Call("SetQualifier", Param("QualifierDeclaration",
                                              "<QUALIFIER.DECLARATION NAME=\"Color\" TYPE=\"string\" ISARRAY=\"false\" "
                                              "TOSUBCLASS=\"false\"><SCOPE CLASS=\"true\" PROPERTY=\"true\"/>"
                                              "<VALUE>red</VALUE></QUALIFIER.DECLARATION>"))),
            0);
  EXPECT_EQ(CodeOf(Call("CreateClass", Param("NewClass",
                                            "<CLASS NAME=\"Test_Flash\" SUPERCLASS=\"Test_Disk\">"
                                            "<QUALIFIER NAME=\"Color\" TYPE=\"string\"><VALUE>green</VALUE></QUALIFIER>"
                                            "<PROPERTY NAME=\"Id\" TYPE=\"string\" PROPAGATED=\"true\"/>"
                                            "<PROPERTY NAME=\"Kind\" TYPE=\"uint16\"><QUALIFIER NAME=\"Override\" "
                                            "TYPE=\"string\"><VALUE>Kind</VALUE></QUALIFIER><VALUE>3</VALUE></PROPERTY>"
                                            "<PROPERTY.ARRAY NAME=\"Wear\" TYPE=\"real32\"/></CLASS>"))),
            0);
  boost::shared_ptr<ICIMClass> flash = ns_->GetClass("Test_Flash", TContext());
  EXPECT_EQ(flash->GetPropertyDecl("Kind", TContext())->GetDefaultValue(TContext()).ToString(), "3");
  EXPECT_EQ(flash->GetPropertyDecl("Wear", TContext())->GetType(TContext()), ArrayTypeOf(kCIMTypeReal32));
  EXPECT_EQ(flash->GetQualifier("Color", TContext())->GetValue(TContext()).ToString(), "green");
  const std::string got = Call("GetClass", Param("ClassName", ClassName("Test_Flash")) +
                                               Param("LocalOnly", Value("TRUE")) +
                                               Param("IncludeClassOrigin", Value("TRUE")));
  EXPECT_NE(got.find("<PROPERTY NAME=\"Kind\" TYPE=\"uint16\" CLASSORIGIN=\"Test_Flash\">"), std::string::npos) << got;
  EXPECT_EQ(got.find("NAME=\"Id\""), std::string::npos) << "LocalOnly leaves inherited properties out";
}

// An enumeration opened in small pieces stays right while instances go.
TEST_F(ExchangeTest, PullsSkipInstancesDeletedSinceTheEnumerationOpened) {
  auto contextOf = [](const std::string& document) {
    const std::string mark = "<PARAMVALUE NAME=\"EnumerationContext\" PARAMTYPE=\"string\"><VALUE>";
    const size_t at = document.find(mark);
    return at == std::string::npos ? std::string()
                                   : document.substr(at + mark.size(), document.find('<', at + mark.size()) - at - mark.size());
  };
  auto count = [](const std::string& document, const std::string& what) {
    size_t n = 0;
    for (size_t at = document.find(what); at != std::string::npos; at = document.find(what, at + 1)) ++n;
    return n;
  };
  const std::string opened = Call("OpenEnumerateInstancePaths", Param("ClassName", ClassName("Test_Element")) +
                                                                    Param("MaxObjectCount", Value("1")));
  EXPECT_EQ(count(opened, "<INSTANCEPATH>"), 1u);
  EXPECT_NE(opened.find("<VALUE>FALSE</VALUE>"), std::string::npos);
  const std::string id = contextOf(opened);
  ASSERT_EQ(id.size(), 32u) << opened;
  // Pulling paths from it as instances is refused and leaves it open.
  EXPECT_EQ(CodeOf(Call("PullInstancesWithPath", Param("EnumerationContext", Value(id)) +
                                                     Param("MaxObjectCount", Value("5")))),
            21);
  // Of the two left (the disks), one goes.
  EXPECT_EQ(CodeOf(Call("DeleteInstance", Param("InstanceName", kSda))), 0);
  const std::string rest = Call("PullInstancePaths", Param("EnumerationContext", Value(id)) +
                                                         Param("MaxObjectCount", Value("5")));
  EXPECT_EQ(count(rest, "<INSTANCEPATH>"), 1u) << rest;
  EXPECT_EQ(rest.find("sda"), std::string::npos);
  EXPECT_NE(rest.find("<VALUE>TRUE</VALUE>"), std::string::npos);
  EXPECT_EQ(operations_->OpenEnumerations(), 0u);
  EXPECT_EQ(CodeOf(Call("CloseEnumeration", Param("EnumerationContext", Value(id)))), 21);
}

TEST_F(ExchangeTest, AssociationsAreWalkedFromInstancesAndClasses) {
  const struct {
    const char* method;
    std::string parameters;
    std::vector<std::string> found;
  } cases[] = {
      {"AssociatorNames", Param("ObjectName", kAlpha), {"sda", "sdb"}},
      {"AssociatorNames", Param("ObjectName", kSda), {"alpha"}},
      {"AssociatorNames", Param("ObjectName", kSda) + Param("ResultRole", Value("Disk")), {}},
      {"AssociatorNames", Param("ObjectName", kAlpha) + Param("ResultClass", ClassName("Test_System")), {}},
      {"ReferenceNames", Param("ObjectName", kSda) + Param("Role", Value("Disk")), {"Test_SystemDisk"}},
      {"ReferenceNames", Param("ObjectName", kSda) + Param("Role", Value("System")), {}},
      {"AssociatorNames", Param("ObjectName", ClassName("Test_Disk")), {"<CLASSNAME NAME=\"Test_System\""}},
      {"ReferenceNames", Param("ObjectName", ClassName("Test_System")), {"<CLASSNAME NAME=\"Test_SystemDisk\""}},
  };
  for (const auto& c : cases) {
    const std::string document = Call(c.method, c.parameters);
    ASSERT_EQ(CodeOf(document), 0) << document;
    size_t paths = 0;
    for (size_t at = document.find("<OBJECTPATH>"); at != std::string::npos; at = document.find("<OBJECTPATH>", at + 1)) {
      ++paths;
    }
    EXPECT_EQ(paths, c.found.size()) << c.method << ": " << document;
    for (const std::string& f : c.found) EXPECT_NE(document.find(f), std::string::npos) << document;
  }
}

TEST_F(ExchangeTest, WithUsersEveryRequestNeedsTheirCredentials) {
  TUserFile users;
  ASSERT_TRUE(users.SetPassword("ops", "s3cret"));
  THttpPolicy policy;
  policy.users = &users;
  Serve(TCimOperationsConfig(), policy);
  const struct {
    const char* authorization;
    unsigned status;
  } cases[] = {
      {nullptr, 401}, {"Basic b3BzOnMzY3JldA==", 200}, {"Basic b3BzOnMzY3JldHg=", 401},
      {"Basic bm9ib2R5OnMzY3JldA==", 401}, {"Basic !!!", 401}, {"Bearer b3BzOnMzY3JldA==", 401},
  };
  for (const auto& c : cases) {
    THttpRequest request = CimPost("GetClass", Envelope("GetClass", Param("ClassName", ClassName("Test_Disk"))));
    if (c.authorization != nullptr) request.set(http::field::authorization, c.authorization);
    THttpAnswer answer = exchange_->Answer(request, "localhost");
    EXPECT_EQ(static_cast<unsigned>(answer.status), c.status) << (c.authorization ? c.authorization : "none");
    if (c.status == 401) {
      EXPECT_EQ(answer.headers.at(0).first, "WWW-Authenticate");
    }
  }
}

TEST(UserFileTest, PasswordsSurviveTheFileAndBadLinesAreRefused) {
  const std::string path = ::testing::TempDir() + "inmem_users";
  TUserFile users;
  ASSERT_TRUE(users.SetPassword("ops", "one"));
  ASSERT_TRUE(users.SetPassword("ro", "two"));
  EXPECT_FALSE(users.SetPassword("a:b", "x"));
  std::string error;
  ASSERT_TRUE(users.Save(path, &error)) << error;
  TUserFile read;
  ASSERT_TRUE(read.Load(path, false, &error)) << error;
  EXPECT_TRUE(read.Check("ops", "one"));
  EXPECT_FALSE(read.Check("ops", "two"));
  EXPECT_FALSE(read.Check("nobody", "one"));
  std::ofstream(path) << "ops:md5$1$x$y\n";
  EXPECT_FALSE(read.Load(path, false, &error));
  EXPECT_NE(error.find(":1: not a line"), std::string::npos) << error;
  std::remove(path.c_str());
}

// Every answer of the read operations is valid CIM-XML by the DMTF's DTD
// (when INMEM_CIM_DTD names it; xmllint checks).
TEST_F(ExchangeTest, AnswersAreValidByTheCimXmlDtd) {
  const char* dtd = std::getenv("INMEM_CIM_DTD");
  if (dtd == nullptr || *dtd == '\0') GTEST_SKIP() << "INMEM_CIM_DTD does not name the CIM-XML DTD";
  const std::string all = Param("IncludeQualifiers", Value("TRUE")) + Param("IncludeClassOrigin", Value("TRUE"));
  const struct {
    const char* method;
    std::string parameters;
  } cases[] = {
      {"GetClass", Param("ClassName", ClassName("Test_System")) + Param("LocalOnly", Value("FALSE")) + all},
      {"EnumerateClasses", Param("DeepInheritance", Value("TRUE")) + all},
      {"EnumerateClassNames", Param("DeepInheritance", Value("TRUE"))},
      {"GetInstance", Param("InstanceName", kSda) + all},
      {"EnumerateInstances", Param("ClassName", ClassName("Test_Element")) + all},
      {"EnumerateInstances", Param("ClassName", ClassName("Test_SystemDisk"))},
      {"EnumerateInstanceNames", Param("ClassName", ClassName("Test_SystemDisk"))},
      {"Associators", Param("ObjectName", kAlpha) + all},
      {"References", Param("ObjectName", kSda)},
      {"Associators", Param("ObjectName", ClassName("Test_Disk")) + all},
      {"ReferenceNames", Param("ObjectName", ClassName("Test_Disk"))},
      {"GetProperty", Param("InstanceName", kAlpha) + Param("PropertyName", Value("Tags"))},
      {"GetQualifier", Param("QualifierName", Value("ValueMap"))},
      {"EnumerateQualifiers", ""},
      {"OpenEnumerateInstances", Param("ClassName", ClassName("Test_Element")) + Param("MaxObjectCount", Value("9"))},
      {"OpenReferenceInstancePaths", Param("InstanceName", kAlpha) + Param("MaxObjectCount", Value("1"))},
      {"GetClass", Param("ClassName", ClassName("Nope"))},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(DtdComplaints(dtd, Call(c.method, c.parameters)), "") << c.method;
  }
}

}  // namespace
