// Subscriptions made over CIM-XML as clients make them, and the lifecycle
// indications the server sends for them: what each carries, which filters
// keep which changes, the refusals, and what delivery failures do to a
// subscription. Requests are caught where the delivery engine would take
// them, and checked against the CIM-XML DTD when INMEM_CIM_DTD names it.

#include <cstdlib>
#include <map>
#include <sstream>

#include <gtest/gtest.h>

#include "indication/indication_service.h"
#include "server/cim_operations.h"
#include "server/xml_document.h"
#include "tests/server/server_fixture.h"

namespace {

const TContext kNone;

std::string Property(const std::string& name, const std::string& type, const std::string& value) {
  return "<PROPERTY NAME=\"" + name + "\" TYPE=\"" + type + "\"><VALUE>" + value + "</VALUE></PROPERTY>";
}

std::string Reference(const std::string& name, const std::string& instanceName) {
  return "<PROPERTY.REFERENCE NAME=\"" + name + "\"><VALUE.REFERENCE>" + instanceName +
         "</VALUE.REFERENCE></PROPERTY.REFERENCE>";
}

std::string Disk(const std::string& id, int slot, const std::string& more = std::string()) {
  return "<INSTANCE CLASSNAME=\"Test_Disk\">" + Property("Id", "string", id) +
         Property("Slot", "uint16", std::to_string(slot)) + more + "</INSTANCE>";
}

std::string DiskName(const std::string& id, int slot) {
  return "<INSTANCENAME CLASSNAME=\"Test_Disk\"><KEYBINDING NAME=\"Id\"><KEYVALUE>" + id +
         "</KEYVALUE></KEYBINDING><KEYBINDING NAME=\"Slot\"><KEYVALUE VALUETYPE=\"numeric\">" +
         std::to_string(slot) + "</KEYVALUE></KEYBINDING></INSTANCENAME>";
}

// The properties of an INSTANCE element: name to value text ("" for null).
std::map<std::string, std::string> PropertiesOf(const TXmlElement& instance) {
  std::map<std::string, std::string> values;
  for (const auto& p : instance.children) {
    const TXmlElement* value = p->Child("VALUE");
    values[*p->Attribute("NAME")] = value != nullptr ? value->text : std::string();
  }
  return values;
}

// An indication as a listener reads it out of an export request.
struct TSeen {
  std::string className;
  std::map<std::string, std::string> properties;
  std::string sourceClass;
  std::map<std::string, std::string> source;
  std::map<std::string, std::string> previous;
  std::string embeddedAttribute;  // EmbeddedObject of SourceInstance
};

TSeen Read(const std::string& request) {
  TSeen seen;
  std::string error;
  bool tooLarge = false;
  std::unique_ptr<TXmlElement> root = ReadXmlDocument(request, TXmlLimits(), &error, &tooLarge);
  EXPECT_TRUE(root) << error;
  if (!root) return seen;
  const TXmlElement* call = root->Child("MESSAGE")->Child("SIMPLEEXPREQ")->Child("EXPMETHODCALL");
  EXPECT_EQ(*call->Attribute("NAME"), "ExportIndication");
  const TXmlElement* parameter = call->Child("EXPPARAMVALUE");
  EXPECT_EQ(*parameter->Attribute("NAME"), "NewIndication");
  const TXmlElement* instance = parameter->Child("INSTANCE");
  seen.className = *instance->Attribute("CLASSNAME");
  seen.properties = PropertiesOf(*instance);
  for (const auto& p : instance->children) {
    if (*p->Attribute("NAME") != "SourceInstance" && *p->Attribute("NAME") != "PreviousInstance") continue;
    if (*p->Attribute("NAME") == "SourceInstance") {
      const std::string* attribute = p->Attribute("EmbeddedObject");
      seen.embeddedAttribute = attribute != nullptr ? *attribute : std::string();
    }
    const TXmlElement* value = p->Child("VALUE");
    if (value == nullptr) continue;
    std::unique_ptr<TXmlElement> embedded = ReadXmlDocument(value->text, TXmlLimits(), &error, &tooLarge);
    EXPECT_TRUE(embedded) << error << ": " << value->text;
    if (!embedded) continue;
    if (*p->Attribute("NAME") == "SourceInstance") {
      seen.sourceClass = *embedded->Attribute("CLASSNAME");
      seen.source = PropertiesOf(*embedded);
    } else {
      seen.previous = PropertiesOf(*embedded);
    }
  }
  return seen;
}

class IndicationServiceTest : public ::testing::Test {
 protected:
  struct TSent {
    TDestination destination;
    std::string request;
    std::string subscription;
  };

  // (Again) from the fixture alone, nothing subscribed.
  void SetUp() override {
    client_.reset();
    service_.reset();
    interop_.reset();
    sent_.clear();
    namespaces_ = ServingAlone(FixtureNamespace());
    TServerIdentity identity;
    identity.version = "9.8.7";
    identity.hostName = "testhost";
    identity.indications.offered = true;
    interop_ = std::make_unique<TInteropNamespace>(*namespaces_, "interop", identity);
    interop_->Start();
    TSubscriptionRules rules;
    rules.hostName = "testhost";
    rules.maxSubscriptions = 3;
    service_ = std::make_unique<TIndicationService>(
        *namespaces_, *interop_, rules,
        [this](const std::vector<TIndicationToSend>& requests) {
          for (const TIndicationToSend& r : requests) sent_.push_back({r.destination, r.body->Text(), r.subscriptionKey});
        },
        log_);
    service_->OnForget([this](const std::string& key) { forgotten_.push_back(key); });
    service_->Reload();
    TCimOperationsConfig config;
    config.interop = interop_.get();
    config.changes = service_.get();
    config.subscriptions = service_.get();
    client_ = std::make_unique<TExchangeClient>(*namespaces_, config);
  }

  std::string Call(const std::string& ns, const std::string& method, const std::string& parameters) {
    return client_->Call(ns, method, parameters);
  }
  // The INSTANCENAME a CreateInstance answered, or the whole answer when it
  // failed.
  std::string Create(const std::string& ns, const std::string& instance) {
    const std::string answer = Call(ns, "CreateInstance", Param("NewInstance", instance));
    const size_t start = answer.find("<INSTANCENAME");
    const size_t end = answer.rfind("</INSTANCENAME>");
    EXPECT_EQ(CimCodeOf(answer), 0) << answer;
    if (start == std::string::npos || end == std::string::npos) return answer;
    return answer.substr(start, end + 15 - start);
  }
  int CreateCode(const std::string& ns, const std::string& instance) {
    return CimCodeOf(Call(ns, "CreateInstance", Param("NewInstance", instance)));
  }
  static std::string Filter(const std::string& query, const std::string& sources = "root/cimv2",
                            const std::string& language = "WQL") {
    std::string escaped;
    for (char c : query) escaped += c == '<' ? "&lt;" : c == '>' ? "&gt;" : std::string(1, c);
    std::string xml = "<INSTANCE CLASSNAME=\"CIM_IndicationFilter\">" + Property("Query", "string", escaped) +
                      Property("QueryLanguage", "string", language);
    if (!sources.empty()) {
      xml += "<PROPERTY.ARRAY NAME=\"SourceNamespaces\" TYPE=\"string\"><VALUE.ARRAY><VALUE>" + sources +
             "</VALUE></VALUE.ARRAY></PROPERTY.ARRAY>";
    }
    return xml + "</INSTANCE>";
  }
  static std::string Destination(const std::string& url) {
    return "<INSTANCE CLASSNAME=\"CIM_ListenerDestinationCIMXML\">" + Property("Destination", "string", url) +
           "</INSTANCE>";
  }
  // Subscribes `url` to `query`; returns the subscription's name.
  std::string Subscribe(const std::string& query, const std::string& url = "http://127.0.0.1:5990",
                        const std::string& more = std::string()) {
    filter_ = Create("interop", Filter(query));
    destination_ = Create("interop", Destination(url));
    return Create("interop", "<INSTANCE CLASSNAME=\"CIM_IndicationSubscription\">" + Reference("Filter", filter_) +
                                 Reference("Handler", destination_) + more + "</INSTANCE>");
  }
  void ModifyKind(const std::string& id, int slot, int kind) {
    const std::string answer =
        Call("root/cimv2", "ModifyInstance",
             Param("ModifiedInstance", "<VALUE.NAMEDINSTANCE>" + DiskName(id, slot) +
                                           Disk(id, slot, Property("Kind", "uint16", std::to_string(kind))) +
                                           "</VALUE.NAMEDINSTANCE>"));
    EXPECT_EQ(CimCodeOf(answer), 0) << answer;
  }
  void Delete(const std::string& ns, const std::string& name) {
    const std::string answer = Call(ns, "DeleteInstance", Param("InstanceName", name));
    EXPECT_EQ(CimCodeOf(answer), 0) << answer;
  }
  // The classes of the indications sent since the last call.
  std::vector<std::string> SentClasses() {
    std::vector<std::string> classes;
    for (const TSent& s : sent_) classes.push_back(Read(s.request).className);
    sent_.clear();
    return classes;
  }

  std::ostringstream log_;
  std::unique_ptr<TNamespaceRegistry> namespaces_;
  std::unique_ptr<TInteropNamespace> interop_;
  std::unique_ptr<TIndicationService> service_;
  std::unique_ptr<TExchangeClient> client_;
  std::vector<TSent> sent_;
  std::vector<std::string> forgotten_;
  std::string filter_, destination_;
};

TEST_F(IndicationServiceTest, EveryClientWriteIsToldWithItsInstances) {
  const std::string subscription = Subscribe("SELECT * FROM CIM_InstIndication");
  // The server filled the keys the client left out.
  EXPECT_NE(filter_.find("<KEYBINDING NAME=\"SystemName\"><KEYVALUE VALUETYPE=\"string\" TYPE=\"string\">testhost"),
            std::string::npos)
      << filter_;
  EXPECT_NE(filter_.find("inmem:filter:"), std::string::npos) << filter_;
  EXPECT_TRUE(sent_.empty());  // the subscription classes are in interop, not listened to

  Create("root/cimv2", Disk("sdz", 9, Property("Kind", "uint16", "2")));
  ModifyKind("sdz", 9, 3);
  Delete("root/cimv2", DiskName("sdz", 9));
  ASSERT_EQ(sent_.size(), 3u);
  const char* dtd = std::getenv("INMEM_CIM_DTD");
  const char* classes[] = {"CIM_InstCreation", "CIM_InstModification", "CIM_InstDeletion"};
  std::set<std::string> identifiers;
  for (size_t i = 0; i < 3; ++i) {
    const TSeen seen = Read(sent_[i].request);
    EXPECT_EQ(seen.className, classes[i]);
    EXPECT_EQ(sent_[i].destination.url, "http://127.0.0.1:5990");
    EXPECT_NE(sent_[i].subscription.find("cim_indicationsubscription"), std::string::npos);
    EXPECT_EQ(seen.sourceClass, "Test_Disk");
    EXPECT_EQ(seen.source.at("Id"), "sdz");
    EXPECT_EQ(seen.source.at("Kind"), i == 0 ? "2" : "3");  // the deleted instance as it was
    EXPECT_EQ(seen.embeddedAttribute, "object");
    EXPECT_EQ(seen.properties.at("SourceInstanceModelPath"), "root/cimv2:test_disk.id=\"sdz\",slot=9");
    EXPECT_EQ(seen.properties.at("SourceInstanceHost"), "testhost");
    EXPECT_EQ(seen.properties.at("IndicationTime").size(), 25u);
    EXPECT_EQ(seen.properties.at("IndicationFilterName").rfind("inmem:filter:", 0), 0u);
    identifiers.insert(seen.properties.at("IndicationIdentifier"));
    EXPECT_EQ(seen.previous.empty(), i != 1);
    if (dtd != nullptr) {
      EXPECT_EQ(DtdComplaints(dtd, sent_[i].request), "") << sent_[i].request;
    }
  }
  EXPECT_EQ(identifiers.size(), 3u);
  EXPECT_EQ(Read(sent_[1].request).previous.at("Kind"), "2");
  EXPECT_EQ(service_->Made(), 3u);
}

// A deletion takes the associations that point at the instance along, and
// each is told.
TEST_F(IndicationServiceTest, AssociationsTakenAlongAreToldToo) {
  Subscribe("SELECT * FROM CIM_InstDeletion");
  Delete("root/cimv2", DiskName("sda", 0));
  std::vector<std::string> gone;
  for (const TSent& s : sent_) gone.push_back(Read(s.request).sourceClass);
  EXPECT_EQ(gone, (std::vector<std::string>{"Test_SystemDisk", "Test_Disk"}));
}

// A filter that keeps one class's changes makes nothing for another's:
// not even the indication it would throw away.
TEST_F(IndicationServiceTest, ChangesNoFilterCanKeepMakeNothing) {
  Subscribe("SELECT * FROM CIM_InstCreation WHERE SourceInstance ISA Test_Disk AND SourceInstance.Slot > 0");
  Create("root/cimv2", "<INSTANCE CLASSNAME=\"Test_System\">" + Property("Name", "string", "beta") + "</INSTANCE>");
  EXPECT_EQ(service_->Made(), 0u);
  Create("root/cimv2", Disk("sdz", 0));  // made, and put to the filter, which drops it
  Create("root/cimv2", Disk("sdy", 1));
  EXPECT_EQ(service_->Made(), 2u);
  ASSERT_EQ(sent_.size(), 1u);
  EXPECT_EQ(Read(sent_[0].request).source.at("Id"), "sdy");
}

TEST_F(IndicationServiceTest, FiltersKeepWhatTheirConditionsSelect) {
  // A disk made with Kind 2, changed to 3, changed to 3 again, deleted.
  const struct {
    const char* query;
    std::vector<std::string> told;
  } cases[] = {
      {"SELECT * FROM CIM_InstCreation", {"CIM_InstCreation"}},
      {"SELECT * FROM CIM_InstDeletion WHERE SourceInstance ISA Test_Element", {"CIM_InstDeletion"}},
      {"SELECT * FROM CIM_InstIndication WHERE SourceInstance ISA Test_System", {}},
      {"SELECT * FROM CIM_InstModification WHERE SourceInstance.Kind <> PreviousInstance.Kind",
       {"CIM_InstModification"}},
      {"SELECT * FROM CIM_InstIndication WHERE SourceInstance.Kind = 3",
       {"CIM_InstModification", "CIM_InstModification", "CIM_InstDeletion"}},
      {"SELECT * FROM CIM_Indication", {"CIM_InstCreation", "CIM_InstModification", "CIM_InstModification",
                                        "CIM_InstDeletion"}},
      {"SELECT * FROM CIM_InstCreation WHERE SourceInstanceHost = 'elsewhere'", {}},
  };
  for (const auto& c : cases) {
    SetUp();
    Subscribe(c.query);
    Create("root/cimv2", Disk("sdz", 9, Property("Kind", "uint16", "2")));
    ModifyKind("sdz", 9, 3);
    ModifyKind("sdz", 9, 3);
    Delete("root/cimv2", DiskName("sdz", 9));
    EXPECT_EQ(SentClasses(), c.told) << c.query;
  }
}

TEST_F(IndicationServiceTest, FiltersListenToTheirSourceNamespacesAndSendWhatTheySelect) {
  // The filter listens to interop only: changes in root/cimv2 are not its.
  filter_ = Create("interop", Filter("SELECT * FROM CIM_InstCreation", "interop"));
  destination_ = Create("interop", Destination("http://localhost:5990/listener"));
  Create("interop", "<INSTANCE CLASSNAME=\"CIM_IndicationSubscription\">" + Reference("Filter", filter_) +
                        Reference("Handler", destination_) + "</INSTANCE>");
  // It hears of what is made in interop (the subscription itself), not in
  // root/cimv2.
  ASSERT_EQ(SentClasses(), std::vector<std::string>{"CIM_InstCreation"});
  Create("root/cimv2", Disk("sdz", 9));
  EXPECT_TRUE(sent_.empty());
  // A projection: the indication carries what the SELECT list names.
  Subscribe("SELECT SourceInstance, IndicationTime FROM CIM_InstCreation");
  sent_.clear();  // the first subscription heard of the second one's parts
  Create("root/cimv2", Disk("sdy", 8));
  ASSERT_EQ(sent_.size(), 1u);
  const TSeen seen = Read(sent_[0].request);
  std::set<std::string> names;
  for (const auto& p : seen.properties) names.insert(p.first);
  EXPECT_EQ(names, (std::set<std::string>{"SourceInstance", "IndicationTime"}));
  EXPECT_EQ(seen.source.at("Id"), "sdy");
}

TEST_F(IndicationServiceTest, WhatCannotBeHonouredIsRefusedWhenMade) {
  filter_ = Create("interop", Filter("SELECT * FROM CIM_InstCreation"));
  destination_ = Create("interop", Destination("http://127.0.0.1:5990"));
  const std::string missingFilter = "<INSTANCENAME CLASSNAME=\"CIM_IndicationFilter\"><KEYBINDING NAME=\"Name\">"
                                    "<KEYVALUE>nope</KEYVALUE></KEYBINDING></INSTANCENAME>";
  const struct {
    const char* what;
    std::string instance;
    int code;
  } cases[] = {
      {"a query that does not read", Filter("SELECT * FROM"), 4},
      {"no indication class", Filter("SELECT * FROM Test_Disk", "root/cimv2"), 4},
      {"no class", Filter("SELECT * FROM Nope_Class"), 4},
      {"FQL", Filter("Id = 1", "root/cimv2", "DMTF:FQL"), 7},
      {"an unknown language", Filter("SELECT * FROM CIM_InstCreation", "root/cimv2", "XPath"), 7},
      {"no query", "<INSTANCE CLASSNAME=\"CIM_IndicationFilter\">" + Property("QueryLanguage", "string", "WQL") +
                       "</INSTANCE>", 4},
      {"a bad source namespace", Filter("SELECT * FROM CIM_InstCreation", "root//x"), 4},
      {"no URL", Destination("ftp://127.0.0.1/x"), 4},
      {"plain http beyond loopback", Destination("http://192.0.2.7:5990"), 4},
      {"another protocol", "<INSTANCE CLASSNAME=\"CIM_ListenerDestinationCIMXML\">" +
                               Property("Destination", "string", "https://192.0.2.7") +
                               Property("Protocol", "uint16", "3") + "</INSTANCE>", 7},
      {"a filter that is not there", "<INSTANCE CLASSNAME=\"CIM_IndicationSubscription\">" +
                                         Reference("Filter", missingFilter) + Reference("Handler", destination_) +
                                         "</INSTANCE>", 4},
      {"ends swapped", "<INSTANCE CLASSNAME=\"CIM_IndicationSubscription\">" + Reference("Filter", destination_) +
                           Reference("Handler", filter_) + "</INSTANCE>", 4},
      {"a state the server does not keep", "<INSTANCE CLASSNAME=\"CIM_IndicationSubscription\">" +
                                               Reference("Filter", filter_) + Reference("Handler", destination_) +
                                               Property("SubscriptionState", "uint16", "3") + "</INSTANCE>", 7},
      {"a filter collection", "<INSTANCE CLASSNAME=\"CIM_FilterCollection\">" +
                                  Property("InstanceID", "string", "c") + "</INSTANCE>", 7},
  };
  for (const auto& c : cases) EXPECT_EQ(CreateCode("interop", c.instance), c.code) << c.what;
  // https beyond loopback is taken.
  EXPECT_EQ(CreateCode("interop", Destination("https://192.0.2.7:5989")), 0);

  const std::string subscription =
      Create("interop", "<INSTANCE CLASSNAME=\"CIM_IndicationSubscription\">" + Reference("Filter", filter_) +
                            Reference("Handler", destination_) + "</INSTANCE>");
  // In use: neither end can go, and a filter's query cannot change.
  EXPECT_EQ(CimCodeOf(Call("interop", "DeleteInstance", Param("InstanceName", filter_))), 1);
  EXPECT_EQ(CimCodeOf(Call("interop", "DeleteInstance", Param("InstanceName", destination_))), 1);
  EXPECT_EQ(CimCodeOf(Call("interop", "SetProperty", Param("InstanceName", filter_) +
                                                         Param("PropertyName", Value("Query")) +
                                                         Param("NewValue", Value("SELECT * FROM CIM_InstDeletion")))),
            7);
  // Bounded: the fixture allows three subscriptions.
  for (const char* url : {"http://127.0.0.1:1", "http://127.0.0.1:2"}) {
    const std::string destination = Create("interop", Destination(url));
    Create("interop", "<INSTANCE CLASSNAME=\"CIM_IndicationSubscription\">" + Reference("Filter", filter_) +
                          Reference("Handler", destination) + "</INSTANCE>");
  }
  const std::string fourth = Create("interop", Destination("http://127.0.0.1:3"));
  EXPECT_EQ(CreateCode("interop", "<INSTANCE CLASSNAME=\"CIM_IndicationSubscription\">" +
                                      Reference("Filter", filter_) + Reference("Handler", fourth) + "</INSTANCE>"),
            1);
  // Once the subscription goes, its destination may go, and the engine
  // forgets it.
  Delete("interop", subscription);
  Delete("interop", destination_);
  ASSERT_EQ(forgotten_.size(), 1u);
  EXPECT_NE(forgotten_[0].find("cim_listenerdestinationcimxml"), std::string::npos);
}

TEST_F(IndicationServiceTest, DisabledSubscriptionsHearNothingAndFailuresApplyThePolicy) {
  const std::string subscription = Subscribe("SELECT * FROM CIM_InstCreation", "http://127.0.0.1:5990",
                                             Property("OnFatalErrorPolicy", "uint16", "3"));
  auto setState = [&](int state) {
    const std::string answer = Call("interop", "SetProperty", Param("InstanceName", subscription) +
                                                                   Param("PropertyName", Value("SubscriptionState")) +
                                                                   Param("NewValue", Value(std::to_string(state))));
    EXPECT_EQ(CimCodeOf(answer), 0) << answer;
  };
  setState(4);
  Create("root/cimv2", Disk("sdz", 9));
  EXPECT_TRUE(sent_.empty());
  setState(2);
  Create("root/cimv2", Disk("sdy", 8));
  ASSERT_EQ(sent_.size(), 1u);

  // The delivery engine gave up: Disable disables it, as the instance shows.
  TDeliveryFailure failure{sent_[0].destination.key, EDeliveryFailure::kRetriesSpent, "connection refused", 1,
                           {sent_[0].subscription}};
  service_->DeliveryFailed(failure);
  const std::string state = Call("interop", "GetProperty", Param("InstanceName", subscription) +
                                                               Param("PropertyName", Value("SubscriptionState")));
  EXPECT_NE(state.find("<VALUE>4</VALUE>"), std::string::npos) << state;
  EXPECT_NE(log_.str().find("disabled"), std::string::npos) << log_.str();
  sent_.clear();
  Create("root/cimv2", Disk("sdx", 7));
  EXPECT_TRUE(sent_.empty());
}

TEST_F(IndicationServiceTest, WithoutSubscriptionsNothingIsMade) {
  Create("root/cimv2", Disk("sdz", 9));
  ModifyKind("sdz", 9, 3);
  Delete("root/cimv2", DiskName("sdz", 9));
  EXPECT_EQ(service_->Made(), 0u);
  EXPECT_TRUE(sent_.empty());
  // The Interop namespace states the service and its profile.
  const std::string service = Call("interop", "EnumerateInstanceNames", Param("ClassName", ClassName("CIM_IndicationService")));
  EXPECT_NE(service.find("CIM_IndicationService"), std::string::npos) << service;
  const std::string profiles =
      Call("interop", "AssociatorNames", Param("ObjectName", service.substr(service.find("<INSTANCENAME"),
                                                                            service.find("</INSTANCENAME>") + 15 -
                                                                                service.find("<INSTANCENAME"))) +
                                             Param("ResultClass", ClassName("CIM_RegisteredProfile")));
  EXPECT_NE(profiles.find("Indications"), std::string::npos) << profiles;
}

}  // namespace

namespace {

// A destination's URL: credentials taken out of it, the rest kept for the
// log and the requests.
TEST(DestinationUrlTest, CredentialsLeaveTheUrl) {
  const struct {
    const char* url;
    bool usable;
    const char* kept;
    const char* user;
    const char* password;
  } cases[] = {
      {"http://127.0.0.1:5990/listener", true, "http://127.0.0.1:5990/listener", "", ""},
      {"https://watch:s3cr:et@example.org:5991/x?y", true, "https://example.org:5991/x?y", "watch", "s3cr:et"},
      {"http://only-user@127.0.0.1/", true, "http://127.0.0.1/", "only-user", ""},
      {"http://127.0.0.1/a@b", true, "http://127.0.0.1/a@b", "", ""},  // an @ in the path is the path's
      {"ftp://127.0.0.1/", false, "ftp://127.0.0.1/", "", ""},
      {"http://", false, "http://", "", ""},
  };
  for (const auto& c : cases) {
    TDestination destination;
    TListenerUrl parsed;
    std::string problem;
    EXPECT_EQ(ReadDestinationUrl(c.url, &destination, &parsed, &problem), c.usable) << c.url << ": " << problem;
    EXPECT_EQ(destination.url, c.kept) << c.url;
    EXPECT_EQ(destination.user, c.user) << c.url;
    EXPECT_EQ(destination.password, c.password) << c.url;
  }
}

}  // namespace
