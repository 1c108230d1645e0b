// Several namespaces behind one server: the Interop namespace and what it
// says of the server, namespaces made and deleted through CIM_Namespace,
// the server's own instances refused to clients, associations that cross
// namespaces, and snapshots that hold every namespace. Requests go through
// TCimHttpExchange, as clients send them.

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <map>
#include <set>

#include <gtest/gtest.h>

#include "include/cim_class.h"
#include "mof/mof_loader.h"
#include "server/interop_namespace.h"
#include "server/snapshot.h"
#include "server/xml_document.h"
#include "tests/server/server_fixture.h"

namespace {

const TContext kNone;

std::string StringProperty(const std::string& name, const std::string& value) {
  return "<PROPERTY NAME=\"" + name + "\" TYPE=\"string\"><VALUE>" + value + "</VALUE></PROPERTY>";
}

// An instance, or an instance name, of a response: its class, its property
// (or key) values as text (array elements joined by ','), and the namespace
// of the path it came with (empty when it came without one).
struct TFound {
  std::string className;
  std::string namespaceName;
  std::map<std::string, std::string> values;
};

struct TResults {
  std::vector<TFound> names;
  std::vector<TFound> instances;
};

// The namespace of an INSTANCEPATH (its NAMESPACEPATH) or LOCALINSTANCEPATH.
std::string NamespaceOf(const TXmlElement& path) {
  const TXmlElement* local = path.Child("LOCALNAMESPACEPATH");
  if (const TXmlElement* full = path.Child("NAMESPACEPATH")) local = full->Child("LOCALNAMESPACEPATH");
  std::string joined;
  if (local != nullptr) {
    for (const auto& n : local->children) joined += (joined.empty() ? "" : "/") + *n->Attribute("NAME");
  }
  return joined;
}

TFound Read(const TXmlElement& element, const std::string& ns) {
  TFound f{*element.Attribute("CLASSNAME"), ns, {}};
  for (const auto& p : element.children) {
    const std::string* name = p->Attribute("NAME");
    if (name == nullptr) continue;
    std::string text;
    for (const auto& v : p->children) {
      text += v->text;
      for (const auto& e : v->children) text += (text.empty() ? "" : ",") + e->text;
    }
    f.values[*name] = text;
  }
  return f;
}

void Collect(const TXmlElement& element, const std::string& ns, TResults* results) {
  if (element.name == "VALUE.REFERENCE") return;  // a key's or a property's path, not a result
  if (element.name == "INSTANCENAME") return results->names.push_back(Read(element, ns));
  if (element.name == "INSTANCE") return results->instances.push_back(Read(element, ns));
  std::string inner = ns;
  if (element.name == "INSTANCEPATH") inner = NamespaceOf(element);
  if (const TXmlElement* path = element.Child("INSTANCEPATH")) inner = NamespaceOf(*path);
  for (const auto& child : element.children) Collect(*child, inner, results);
}

class NamespacesTest : public ::testing::Test, protected TServedWithInterop {
 protected:
  void SetUp() override { Serve(false); }

  // Runs `method` in the namespace `ns`; returns the response document.
  std::string Call(const std::string& ns, const std::string& method, const std::string& parameters) {
    return client->Call(ns, method, parameters);
  }
  static int CodeOf(const std::string& document) { return CimCodeOf(document); }

  // The instances and instance names a response holds.
  static TResults Found(const std::string& document) {
    std::string why;
    bool tooLarge = false;
    std::unique_ptr<TXmlElement> root = ReadXmlDocument(document, TXmlLimits(), &why, &tooLarge);
    EXPECT_TRUE(root) << why << "\n" << document;
    TResults results;
    if (root) Collect(*root, "", &results);
    return results;
  }

  std::vector<TFound> Instances(const std::string& ns, const std::string& className) {
    const std::string document = Call(ns, "EnumerateInstances", Param("ClassName", ClassName(className)));
    EXPECT_EQ(CodeOf(document), 0) << document;
    return Found(document).instances;
  }

  std::set<std::string> NamespaceNames() {
    std::set<std::string> names;
    for (const TFound& f : Instances("interop", "CIM_Namespace")) names.insert(f.values.at("Name"));
    return names;
  }

  // The INSTANCENAME (as XML) of the one instance of `className` in
  // interop, whose keys are strings.
  std::string OnlyName(const std::string& className) {
    const std::vector<TFound> names =
        Found(Call("interop", "EnumerateInstanceNames", Param("ClassName", ClassName(className)))).names;
    EXPECT_EQ(names.size(), 1u) << className;
    if (names.empty()) return std::string();
    std::string xml = "<INSTANCENAME CLASSNAME=\"" + names[0].className + "\">";
    for (const auto& key : names[0].values) {
      xml += "<KEYBINDING NAME=\"" + key.first + "\"><KEYVALUE>" + key.second + "</KEYVALUE></KEYBINDING>";
    }
    return xml + "</INSTANCENAME>";
  }

  std::string CreateNamespace(const std::string& name) {
    return Call("interop", "CreateInstance",
                Param("NewInstance", "<INSTANCE CLASSNAME=\"CIM_Namespace\">" + StringProperty("Name", name) +
                                         "</INSTANCE>"));
  }

};

TEST_F(NamespacesTest, TheInteropNamespaceDescribesTheServer) {
  const std::vector<TFound> managers = Instances("interop", "CIM_ObjectManager");
  ASSERT_EQ(managers.size(), 1u);
  EXPECT_EQ(managers[0].values.at("ElementName"), "inmem");
  EXPECT_EQ(managers[0].values.at("SystemName"), "testhost");
  const std::string description = managers[0].values.at("Description");
  EXPECT_EQ(description.substr(description.size() - 13), "version 9.8.7") << description;

  EXPECT_EQ(NamespaceNames(), (std::set<std::string>{"interop", "root/cimv2"}));

  std::set<std::string> profiles;
  for (const TFound& p : Instances("interop", "CIM_RegisteredProfile")) {
    profiles.insert(p.values.at("RegisteredOrganization") + " " + p.values.at("RegisteredName") + " " +
                    p.values.at("RegisteredVersion"));
    // Each profile's central instance is the object manager.
    const std::string name = "<INSTANCENAME CLASSNAME=\"CIM_RegisteredProfile\"><KEYBINDING NAME=\"InstanceID\">"
                             "<KEYVALUE>" + p.values.at("InstanceID") + "</KEYVALUE></KEYBINDING></INSTANCENAME>";
    const std::vector<TFound> central =
        Found(Call("interop", "AssociatorNames", Param("ObjectName", name) +
                                                     Param("AssocClass", ClassName("CIM_ElementConformsToProfile"))))
            .names;
    ASSERT_EQ(central.size(), 1u) << p.values.at("RegisteredName");
    EXPECT_EQ(central[0].className, "CIM_ObjectManager");
  }
  EXPECT_EQ(profiles, (std::set<std::string>{"2 Profile Registration 1.0.0", "2 WBEM Server 1.0.0", "11 Server 1.5.0"}));

  // The mechanism says what the operations really offer.
  const std::vector<TFound> mechanisms = Instances("interop", "CIM_CIMXMLCommunicationMechanism");
  ASSERT_EQ(mechanisms.size(), 1u);
  std::string numbers;
  for (const auto& p : TCimOperations::FunctionalProfiles(false)) {
    numbers += (numbers.empty() ? "" : ",") + std::to_string(p.first);
  }
  EXPECT_EQ(mechanisms[0].values.at("FunctionalProfilesSupported"), numbers);
  EXPECT_EQ(mechanisms[0].values.at("AuthenticationMechanismsSupported"), "2");
  EXPECT_EQ(mechanisms[0].values.at("CommunicationMechanism"), "2");

  // The object manager runs on its computer system, and has its mechanism.
  const std::string manager = OnlyName("CIM_ObjectManager");
  const std::vector<TFound> hosts =
      Found(Call("interop", "Associators", Param("ObjectName", manager) +
                                               Param("AssocClass", ClassName("CIM_HostedService"))))
          .instances;
  ASSERT_EQ(hosts.size(), 1u);
  EXPECT_EQ(hosts[0].values.at("Name"), "testhost");
  EXPECT_EQ(Found(Call("interop", "AssociatorNames",
                       Param("ObjectName", manager) + Param("AssocClass", ClassName("CIM_CommMechanismForManager"))))
                .names.size(),
            1u);
  // Another spelling of the Interop namespace is not it.
  EXPECT_EQ(CodeOf(Call("root/interop", "EnumerateClassNames", "")), 3);
}

TEST_F(NamespacesTest, NamespacesComeAndGoWithTheirCimNamespaceInstances) {
  const std::string created = CreateNamespace("root/new");
  ASSERT_EQ(CodeOf(created), 0) << created;
  EXPECT_NE(created.find("<KEYVALUE VALUETYPE=\"string\" TYPE=\"string\">root/new</KEYVALUE>"), std::string::npos)
      << created;
  EXPECT_EQ(NamespaceNames(), (std::set<std::string>{"interop", "root/cimv2", "root/new"}));
  // It starts empty, and takes classes.
  const std::string classNames = Call("root/new", "EnumerateClassNames", "");
  EXPECT_EQ(CodeOf(classNames), 0);
  EXPECT_EQ(classNames.find("<CLASSNAME"), std::string::npos) << classNames;
  ASSERT_EQ(CodeOf(Call("root/new", "SetQualifier",
                        Param("QualifierDeclaration", "<QUALIFIER.DECLARATION NAME=\"Key\" TYPE=\"boolean\">"
                                                      "<SCOPE PROPERTY=\"true\" REFERENCE=\"true\"/>"
                                                      "<VALUE>FALSE</VALUE></QUALIFIER.DECLARATION>"))),
            0);
  ASSERT_EQ(CodeOf(Call("root/new", "CreateClass",
                        Param("NewClass", "<CLASS NAME=\"New_Thing\"><PROPERTY NAME=\"Id\" TYPE=\"string\">"
                                          "<QUALIFIER NAME=\"Key\" TYPE=\"boolean\"><VALUE>TRUE</VALUE></QUALIFIER>"
                                          "</PROPERTY></CLASS>"))),
            0);
  // The object manager names it through CIM_NamespaceInManager.
  const std::vector<TFound> inManager =
      Found(Call("interop", "AssociatorNames", Param("ObjectName", OnlyName("CIM_ObjectManager")) +
                                                   Param("AssocClass", ClassName("CIM_NamespaceInManager"))))
          .names;
  std::set<std::string> named;
  for (const TFound& f : inManager) named.insert(f.values.at("Name"));
  EXPECT_EQ(named, (std::set<std::string>{"interop", "root/cimv2", "root/new"}));

  // A namespace with classes stays; an empty one goes, and its instance too.
  const std::string path = created.substr(created.find("<INSTANCENAME"),
                                          created.rfind("</INSTANCENAME>") + 15 - created.find("<INSTANCENAME"));
  EXPECT_EQ(CodeOf(Call("interop", "DeleteInstance", Param("InstanceName", path))), 20);
  const std::string empty = CreateNamespace("root/empty");
  ASSERT_EQ(CodeOf(empty), 0) << empty;
  const std::string emptyPath =
      empty.substr(empty.find("<INSTANCENAME"), empty.rfind("</INSTANCENAME>") + 15 - empty.find("<INSTANCENAME"));
  EXPECT_EQ(CodeOf(Call("interop", "DeleteInstance", Param("InstanceName", emptyPath))), 0);
  EXPECT_EQ(NamespaceNames(), (std::set<std::string>{"interop", "root/cimv2", "root/new"}));
  EXPECT_EQ(CodeOf(Call("root/empty", "EnumerateClassNames", "")), 3);
}

// The server's instances describe the server: clients may read them, not
// change them; what clients add beside them is theirs.
TEST_F(NamespacesTest, TheServersOwnInstancesAreRefusedToClients) {
  const std::string before = Exported(*namespaces->Find("interop")->ns);
  const std::string manager = OnlyName("CIM_ObjectManager");
  auto namespacePath = [&](const std::string& name) {
    for (const std::string& document :
         {Call("interop", "EnumerateInstanceNames", Param("ClassName", ClassName("CIM_Namespace")))}) {
      for (size_t at = document.find("<INSTANCENAME"); at != std::string::npos;
           at = document.find("<INSTANCENAME", at + 1)) {
        const size_t end = document.find("</INSTANCENAME>", at) + 15;
        const std::string path = document.substr(at, end - at);
        if (path.find(">" + name + "<") != std::string::npos) return path;
      }
    }
    return std::string();
  };
  const struct {
    const char* what;
    const char* method;
    std::string parameters;
    int code;
  } cases[] = {
      {"delete the object manager", "DeleteInstance", Param("InstanceName", manager), 2},
      {"change the object manager", "ModifyInstance",
       Param("ModifiedInstance", "<VALUE.NAMEDINSTANCE>" + manager + "<INSTANCE CLASSNAME=\"CIM_ObjectManager\">" +
                                     StringProperty("ElementName", "other") + "</INSTANCE></VALUE.NAMEDINSTANCE>"),
       2},
      {"set a property of it", "SetProperty",
       Param("InstanceName", manager) + Param("PropertyName", Value("ElementName")) + Param("NewValue", Value("x")),
       2},
      {"delete the Interop namespace", "DeleteInstance", Param("InstanceName", namespacePath("interop")), 2},
      {"delete a namespace with classes", "DeleteInstance", Param("InstanceName", namespacePath("root/cimv2")), 20},
      {"a namespace without a name", "CreateInstance",
       Param("NewInstance", "<INSTANCE CLASSNAME=\"CIM_Namespace\"></INSTANCE>"), 4},
      {"a name that is no namespace name", "CreateInstance",
       Param("NewInstance", "<INSTANCE CLASSNAME=\"CIM_Namespace\">" + StringProperty("Name", "root//x") +
                                "</INSTANCE>"),
       4},
      {"a namespace that is there", "CreateInstance",
       Param("NewInstance", "<INSTANCE CLASSNAME=\"CIM_Namespace\">" + StringProperty("Name", "ROOT/CIMV2") +
                                "</INSTANCE>"),
       11},
  };
  for (const auto& c : cases) {
    const std::string document = Call("interop", c.method, c.parameters);
    EXPECT_EQ(CodeOf(document), c.code) << c.what << ": " << document;
    EXPECT_EQ(Exported(*namespaces->Find("interop")->ns), before) << c.what;
  }
  // A profile of the user's own comes and goes.
  const std::string profile =
      Call("interop", "CreateInstance",
           Param("NewInstance", "<INSTANCE CLASSNAME=\"CIM_RegisteredProfile\">" +
                                    StringProperty("InstanceID", "mine:1") +
                                    "<PROPERTY NAME=\"RegisteredOrganization\" TYPE=\"uint16\"><VALUE>1</VALUE>"
                                    "</PROPERTY>" + StringProperty("RegisteredName", "Mine") +
                                    StringProperty("RegisteredVersion", "1.0.0") + "</INSTANCE>"));
  ASSERT_EQ(CodeOf(profile), 0) << profile;
  EXPECT_EQ(CodeOf(Call("interop", "DeleteInstance",
                        Param("InstanceName", "<INSTANCENAME CLASSNAME=\"CIM_RegisteredProfile\"><KEYBINDING "
                                              "NAME=\"InstanceID\"><KEYVALUE>mine:1</KEYVALUE></KEYBINDING>"
                                              "</INSTANCENAME>"))),
            0);
  EXPECT_EQ(Exported(*namespaces->Find("interop")->ns), before);
}

TEST_F(NamespacesTest, AReadOnlyServerOffersNoWrites) {
  Serve(true);
  const std::vector<TFound> mechanisms = Instances("interop", "CIM_CIMXMLCommunicationMechanism");
  ASSERT_EQ(mechanisms.size(), 1u);
  std::set<std::string> offered;
  const std::string numbers = mechanisms[0].values.at("FunctionalProfilesSupported");
  for (size_t start = 0; start <= numbers.size();) {
    const size_t end = std::min(numbers.find(',', start), numbers.size());
    offered.insert(numbers.substr(start, end - start));
    start = end + 1;
  }
  for (const char* writes : {"3", "4", "5", "8"}) EXPECT_EQ(offered.count(writes), 0u) << writes;
  EXPECT_EQ(offered.count("2"), 1u);
  EXPECT_EQ(CodeOf(CreateNamespace("root/new")), 2);
  EXPECT_EQ(NamespaceNames(), (std::set<std::string>{"interop", "root/cimv2"}));
}

const char kAlpha[] =
    "<INSTANCENAME CLASSNAME=\"Test_System\"><KEYBINDING NAME=\"Name\"><KEYVALUE>alpha</KEYVALUE></KEYBINDING>"
    "</INSTANCENAME>";
const char kProfile[] =
    "<INSTANCENAME CLASSNAME=\"CIM_RegisteredProfile\"><KEYBINDING NAME=\"InstanceID\"><KEYVALUE>test:fixture"
    "</KEYVALUE></KEYBINDING></INSTANCENAME>";

// A profile of the user's, registered in the Interop namespace, whose
// central instance is in root/cimv2: walks cross between them both ways.
TEST_F(NamespacesTest, AssociationsCrossNamespacesBothWays) {
  ASSERT_EQ(CodeOf(Call("interop", "CreateInstance",
                        Param("NewInstance", "<INSTANCE CLASSNAME=\"CIM_RegisteredProfile\">" +
                                                 StringProperty("InstanceID", "test:fixture") +
                                                 "<PROPERTY NAME=\"RegisteredOrganization\" TYPE=\"uint16\">"
                                                 "<VALUE>1</VALUE></PROPERTY>" +
                                                 StringProperty("RegisteredName", "Fixture") +
                                                 StringProperty("RegisteredVersion", "1.0.0") + "</INSTANCE>"))),
            0);
  const std::string conforms =
      Call("interop", "CreateInstance",
           Param("NewInstance", std::string("<INSTANCE CLASSNAME=\"CIM_ElementConformsToProfile\">"
                                            "<PROPERTY.REFERENCE NAME=\"ConformantStandard\"><VALUE.REFERENCE>") +
                                    kProfile +
                                    "</VALUE.REFERENCE></PROPERTY.REFERENCE><PROPERTY.REFERENCE "
                                    "NAME=\"ManagedElement\"><VALUE.REFERENCE><LOCALINSTANCEPATH>"
                                    "<LOCALNAMESPACEPATH>" + NamespaceXml("root/cimv2") + "</LOCALNAMESPACEPATH>" +
                                    kAlpha + "</LOCALINSTANCEPATH></VALUE.REFERENCE></PROPERTY.REFERENCE>"
                                    "</INSTANCE>"));
  ASSERT_EQ(CodeOf(conforms), 0) << conforms;

  const struct {
    const char* what;
    const char* ns;
    std::string parameters;
    const char* method;
    std::vector<std::string> found;  // class and namespace of each result
  } cases[] = {
      {"profile to its central instance", "interop",
       Param("ObjectName", kProfile) + Param("AssocClass", ClassName("CIM_ElementConformsToProfile")),
       "AssociatorNames", {"Test_System root/cimv2"}},
      {"central instance to its profile", "root/cimv2",
       Param("ObjectName", kAlpha) + Param("AssocClass", ClassName("CIM_ElementConformsToProfile")) +
           Param("ResultRole", Value("ConformantStandard")),
       "AssociatorNames", {"CIM_RegisteredProfile interop"}},
      {"central instance to its profile, of a result class", "root/cimv2",
       Param("ObjectName", kAlpha) + Param("ResultClass", ClassName("CIM_RegisteredProfile")), "AssociatorNames",
       {"CIM_RegisteredProfile interop"}},
      {"every reference to the central instance", "root/cimv2", Param("ObjectName", kAlpha), "ReferenceNames",
       {"CIM_ElementConformsToProfile interop", "Test_SystemDisk root/cimv2", "Test_SystemDisk root/cimv2"}},
      {"a role the instance does not play there", "root/cimv2",
       Param("ObjectName", kAlpha) + Param("Role", Value("ConformantStandard")), "ReferenceNames", {}},
  };
  for (const auto& c : cases) {
    const std::string document = Call(c.ns, c.method, c.parameters);
    ASSERT_EQ(CodeOf(document), 0) << c.what << ": " << document;
    std::multiset<std::string> found;
    for (const TFound& f : Found(document).names) found.insert(f.className + " " + f.namespaceName);
    EXPECT_EQ(found, std::multiset<std::string>(c.found.begin(), c.found.end())) << c.what << ": " << document;
  }
  EXPECT_EQ(CodeOf(Call("root/cimv2", "AssociatorNames",
                        Param("ObjectName", kAlpha) + Param("AssocClass", ClassName("Nowhere_Class")))),
            4);
  // Deleted, the central instance takes the association in the Interop
  // namespace along.
  ASSERT_EQ(CodeOf(Call("root/cimv2", "DeleteInstance", Param("InstanceName", kAlpha))), 0);
  EXPECT_TRUE(Instances("interop", "CIM_ElementConformsToProfile").size() == 3u);  // the server's three
}

// A snapshot holds every namespace and gives them back; the server's own
// instances are not in it, since the server makes them at start.
TEST_F(NamespacesTest, SnapshotsHoldEveryNamespace) {
  ASSERT_EQ(CodeOf(CreateNamespace("root/empty")), 0);
  const TNamespaceRegistry::TEntry& other = namespaces->Create("root/other");
  ASSERT_TRUE(TMofLoader(other.ns).LoadFile(INMEM_SERVER_FIXTURE));
  std::vector<TSnapshotSection> sections;
  for (const TNamespaceRegistry::TEntry* entry : namespaces->Entries()) {
    if (!interop->IsInterop(entry->name)) sections.push_back(TSnapshotSection{entry->name, entry->ns.get(), nullptr});
  }
  sections.push_back(TSnapshotSection{"interop", namespaces->Find("interop")->ns.get(), interop->SnapshotFilter()});
  const std::string path = ::testing::TempDir() + "namespaces_snapshot.mof";
  std::string error;
  ASSERT_TRUE(WriteSnapshot(sections, path, &error)) << error;

  TNamespaceRegistry restored([] { return NewProviderNamespace(); });
  std::unique_ptr<TMofLoader> loader;
  ASSERT_TRUE(LoadSnapshot(restored, "root/cimv2", path, &loader));
  TServerIdentity identity;
  identity.version = "9.8.7";
  identity.hostName = "testhost";
  identity.functionalProfiles = TCimOperations::FunctionalProfiles(false);
  TInteropNamespace interop(restored, "interop", identity);
  interop.Start();
  std::vector<std::string> names, restoredNames;
  for (const auto* entry : namespaces->Entries()) names.push_back(entry->name);
  for (const auto* entry : restored.Entries()) restoredNames.push_back(entry->name);
  EXPECT_EQ(restoredNames, names);
  for (const auto* entry : namespaces->Entries()) {
    EXPECT_EQ(Exported(*restored.Find(entry->name)->ns), Exported(*entry->ns)) << entry->name;
  }
  // The file itself: a section per namespace, and none of the server's own
  // instances.
  std::string text;
  {
    std::ifstream in(path);
    std::ostringstream all;
    all << in.rdbuf();
    text = all.str();
  }
  for (const char* name : {"root/cimv2", "root/empty", "root/other", "interop"}) {
    EXPECT_NE(text.find(std::string("#pragma namespace (\"") + name + "\")"), std::string::npos) << name;
  }
  EXPECT_EQ(text.find("instance of CIM_ObjectManager"), std::string::npos);

  // A snapshot larger than a snapshot may hold is not written, and the one
  // on disk stays as it was; one on disk that is larger is not loaded.
  EXPECT_FALSE(WriteSnapshot(sections, path, &error, text.size() - 1));
  EXPECT_NE(error.find("more than the " + std::to_string(text.size() - 1)), std::string::npos) << error;
  std::ifstream again(path);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(again), std::istreambuf_iterator<char>()), text);
  EXPECT_FALSE(std::ifstream(path + ".tmp").good());
  TNamespaceRegistry refused([] { return NewProviderNamespace(); });
  EXPECT_FALSE(LoadSnapshot(refused, "root/cimv2", path, &loader, text.size() - 1));
  ASSERT_FALSE(loader->Diagnostics().empty());
  EXPECT_NE(loader->Diagnostics()[0].message.find("is larger than"), std::string::npos);
  EXPECT_TRUE(LoadSnapshot(refused, "root/cimv2", path, &loader, text.size()));
  std::remove(path.c_str());
}

// Classes the user loads into the Interop namespace stand; the bundled ones
// fill in only what is missing.
TEST_F(NamespacesTest, TheUsersInteropClassesTakePrecedence) {
  TNamespaceRegistry namespaces([] { return NewProviderNamespace(); });
  const TNamespaceRegistry::TEntry& interop = namespaces.Create("interop");
  ASSERT_TRUE(TMofLoader(interop.ns).LoadText("mine.mof", R"(
    Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride, ToSubclass);
    class CIM_ManagedElement {
      string InstanceID; string Caption; string Description; string ElementName; string Mine;
    };
  )"));
  TServerIdentity identity;
  identity.version = "1";
  identity.hostName = "h";
  TInteropNamespace server(namespaces, "interop", identity);
  server.Start();
  boost::shared_ptr<ICIMClass> element = interop.ns->GetClass("CIM_ManagedElement", kNone);
  EXPECT_TRUE(element->GetPropertyDecl("Mine", kNone));
  EXPECT_TRUE(interop.ns->GetClass("CIM_ObjectManager", kNone)->GetPropertyDecl("Mine", kNone));
  bool managers = false;
  interop.ns->GetClass("CIM_ObjectManager", kNone)->EnumerateInstances(
      [&](boost::shared_ptr<ICIMInstance>) { return !(managers = true); }, true, kNone);
  EXPECT_TRUE(managers);
}

}  // namespace
