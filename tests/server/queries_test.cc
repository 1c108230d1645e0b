// Queries over CIM-XML: ExecQuery (WQL, DMTF:CQL), OpenQueryInstances and
// PullInstances, and the FilterQuery (DMTF:FQL) of every Open... operation:
// what each selects and projects, the errors clients get, and that no query
// changes the repository.

#include <algorithm>
#include <cstdlib>
#include <map>
#include <set>
#include <vector>

#include <gtest/gtest.h>

#include "tests/server/server_fixture.h"

namespace {

std::string ClassName(const std::string& name) { return "<CLASSNAME NAME=\"" + name + "\"/>"; }
std::string Value(const std::string& text) { return "<VALUE>" + text + "</VALUE>"; }

const std::string kAlpha =
    "<INSTANCENAME CLASSNAME=\"Test_System\"><KEYBINDING NAME=\"Name\"><KEYVALUE>alpha</KEYVALUE>"
    "</KEYBINDING></INSTANCENAME>";
const std::string kSda =
    "<INSTANCENAME CLASSNAME=\"Test_Disk\"><KEYBINDING NAME=\"Id\"><KEYVALUE>sda</KEYVALUE></KEYBINDING>"
    "<KEYBINDING NAME=\"Slot\"><KEYVALUE VALUETYPE=\"numeric\">0</KEYVALUE></KEYBINDING></INSTANCENAME>";

class QueriesTest : public TServedFixtureTest {
 protected:
  void SetUp() override {
    TServedFixtureTest::SetUp();
    before_ = Exported(*ns_);
  }
  void TearDown() override { EXPECT_EQ(Exported(*ns_), before_) << "a query changed the repository"; }

  std::string Call(const std::string& method, const std::string& parameters) {
    return client_->Call(method, parameters);
  }
  static int CodeOf(const std::string& document) { return CimCodeOf(document); }

  // The values of the key `key` (or, for Test_System, Name) in the order
  // the document gives them, one per instance or path.
  static std::multiset<std::string> Keys(const std::string& document, const std::string& key) {
    std::multiset<std::string> found;
    const std::string open = "<KEYBINDING NAME=\"" + key + "\"><KEYVALUE";
    for (size_t at = document.find(open); at != std::string::npos; at = document.find(open, at + 1)) {
      const size_t start = document.find('>', at + open.size()) + 1;
      found.insert(document.substr(start, document.find('<', start) - start));
    }
    return found;
  }
  // The names of the properties the first instance of a document holds.
  static std::set<std::string> PropertiesOfFirst(const std::string& document) {
    std::set<std::string> names;
    const size_t start = document.find("<INSTANCE ");
    const size_t end = document.find("</INSTANCE>", start);
    for (size_t at = document.find("<PROPERTY", start); at < end; at = document.find("<PROPERTY", at + 1)) {
      const size_t name = document.find("NAME=\"", at) + 6;
      names.insert(document.substr(name, document.find('"', name) - name));
    }
    return names;
  }

  std::string before_;
};

TEST_F(QueriesTest, ExecQuerySelectsAndProjects) {
  auto exec = [&](const std::string& language, const std::string& query) {
    return Call("ExecQuery", Param("QueryLanguage", Value(language)) + Param("Query", Value(query)));
  };
  const struct {
    const char* language;
    const char* query;
    std::multiset<std::string> ids;                 // of the disks selected
    std::set<std::string> properties;               // of the first, when it projects
  } cases[] = {
      {"WQL", "SELECT * FROM Test_Disk", {"sda", "sdb"}, {}},
      {"WQL", "SELECT Id, Kind FROM Test_Disk WHERE Slot &gt; 0", {"sdb"}, {"Id", "Kind"}},
      {"WQL", "SELECT Id FROM Test_Disk WHERE Kind = 3 OR Temperature IS NULL", {"sdb"}, {"Id"}},
      {"WQL", "SELECT Id FROM Test_Disk WHERE Kind = 2 AND Temperature &lt; 0", {"sda"}, {"Id"}},
      {"DMTF:CQL", "SELECT d.Id FROM Test_Disk AS d WHERE d.Id LIKE 'sd[ab]'", {"sda", "sdb"}, {"Id"}},
      {"CQL", "SELECT * FROM Test_Element WHERE Test_Element ISA Test_Disk", {"sda", "sdb"}, {}},
      {"WQL", "SELECT * FROM Test_Disk WHERE NOT (Slot = 0)", {"sdb"}, {}},
  };
  for (const auto& c : cases) {
    const std::string document = exec(c.language, c.query);
    ASSERT_EQ(CodeOf(document), 0) << c.query << ": " << document;
    EXPECT_EQ(Keys(document, "Id"), c.ids) << c.query;
    EXPECT_EQ(document.find("<VALUE.OBJECTWITHPATH>") != std::string::npos, !c.ids.empty()) << document;
    if (!c.properties.empty()) {
      EXPECT_EQ(PropertiesOfFirst(document), c.properties) << c.query;
    }
  }
  // The subclass's instances are there: a system and two disks below
  // Test_Element.
  EXPECT_EQ(Keys(exec("WQL", "SELECT * FROM Test_Element"), "Name"), std::multiset<std::string>{"alpha"});

  const struct {
    const char* language;
    const char* query;
    int code;
    const char* says;
  } refusals[] = {
      {"XQL", "SELECT * FROM Test_Disk", 14, "the query language 'XQL' is not supported"},
      {"DMTF:FQL", "Slot = 1", 14, "DMTF:FQL filters the Open... operations"},
      {"WQL", "SELECT * FROM Nope", 15, "at position 15: no class named 'Nope'"},
      {"WQL", "SELECT * FROM Test_Disk WHERE", 15, "at position 30"},
      {"WQL", "SELECT * FROM Test_Disk WHERE Slot = 'a'", 15, "at position 38"},
      {"WQL", "SELECT Nope FROM Test_Disk", 15, "no property 'Nope'"},
  };
  for (const auto& r : refusals) {
    const std::string document = exec(r.language, r.query);
    EXPECT_EQ(CodeOf(document), r.code) << r.query << ": " << document;
    EXPECT_NE(document.find(r.says), std::string::npos) << document;
  }
}

// Each Open... operation takes a DMTF:FQL FilterQuery and delivers only
// what it selects.
TEST_F(QueriesTest, EveryOpenOperationTakesAFilterQuery) {
  const std::string fql = Param("FilterQueryLanguage", Value("DMTF:FQL")) + Param("MaxObjectCount", Value("100"));
  const struct {
    const char* method;
    std::string parameters;
    const char* filter;
    const char* key;
    std::multiset<std::string> found;
  } cases[] = {
      {"OpenEnumerateInstances", Param("ClassName", ClassName("Test_Disk")), "Slot = 1", "Id", {"sdb"}},
      {"OpenEnumerateInstancePaths", Param("ClassName", ClassName("Test_Disk")), "Id &lt;&gt; 'sdb'", "Id", {"sda"}},
      {"OpenEnumerateInstances", Param("ClassName", ClassName("Test_Element")), "Caption = NULL", "Id", {"sda"}},
      {"OpenAssociatorInstances", Param("InstanceName", kAlpha), "Slot = 1", "Id", {"sdb"}},
      {"OpenAssociatorInstancePaths", Param("InstanceName", kAlpha), "Id LIKE 'sd.'", "Id", {"sda", "sdb"}},
      {"OpenReferenceInstances", Param("InstanceName", kSda), "Disk = NULL", "Name", {}},
      {"OpenReferenceInstancePaths", Param("InstanceName", kSda), "Disk &lt;&gt; NULL", "Name", {"alpha"}},
  };
  for (const auto& c : cases) {
    const std::string document =
        Call(c.method, c.parameters + fql + Param("FilterQuery", Value(c.filter)));
    ASSERT_EQ(CodeOf(document), 0) << c.method << " " << c.filter << ": " << document;
    EXPECT_EQ(Keys(document, c.key), c.found) << c.method << " " << c.filter << ": " << document;
  }
  // A query that fits no class it meets, and one in another language.
  EXPECT_EQ(CodeOf(Call("OpenAssociatorInstances",
                        Param("InstanceName", kAlpha) + fql + Param("FilterQuery", Value("Nope = 1")))),
            15);
  EXPECT_EQ(CodeOf(Call("OpenEnumerateInstances", Param("ClassName", ClassName("Test_Disk")) +
                                                      Param("FilterQueryLanguage", Value("WQL")) +
                                                      Param("FilterQuery", Value("SELECT * FROM Test_Disk")))),
            14);
}

TEST_F(QueriesTest, OpenQueryInstancesDeliversAnswersWithoutPaths) {
  const std::string document =
      Call("OpenQueryInstances", Param("FilterQueryLanguage", Value("DMTF:CQL")) +
                                     Param("FilterQuery", Value("SELECT Id FROM Test_Disk")) +
                                     Param("ReturnQueryResultClass", Value("TRUE")) +
                                     Param("MaxObjectCount", Value("1")));
  ASSERT_EQ(CodeOf(document), 0) << document;
  EXPECT_EQ(document.find("INSTANCEPATH"), std::string::npos) << document;
  EXPECT_EQ(PropertiesOfFirst(document), std::set<std::string>{"Id"});
  // The class of the answers: the FROM class, with what is selected.
  const size_t resultClass = document.find("<PARAMVALUE NAME=\"QueryResultClass\"><CLASS NAME=\"Test_Disk\"");
  ASSERT_NE(resultClass, std::string::npos) << document;
  EXPECT_EQ(document.find("NAME=\"Slot\"", resultClass), std::string::npos) << document;
  const size_t at = document.find("<PARAMVALUE NAME=\"EnumerationContext\"");
  const size_t start = document.find("<VALUE>", at) + 7;
  const std::string context = document.substr(start, document.find('<', start) - start);
  // Pulled as paths or with paths, a query's answers are another kind.
  EXPECT_EQ(CodeOf(Call("PullInstancesWithPath", Param("EnumerationContext", Value(context)) +
                                                      Param("MaxObjectCount", Value("1")))),
            21);
  const std::string rest =
      Call("PullInstances", Param("EnumerationContext", Value(context)) + Param("MaxObjectCount", Value("5")));
  ASSERT_EQ(CodeOf(rest), 0) << rest;
  EXPECT_NE(rest.find("<VALUE>TRUE</VALUE>"), std::string::npos) << rest;  // the end of the sequence
  EXPECT_EQ(Keys(document + rest, "Id").size(), 0u);  // answers carry no paths, hence no key bindings
  EXPECT_NE(rest.find("<INSTANCE CLASSNAME=\"Test_Disk\""), std::string::npos) << rest;
}

// The languages the communication mechanism advertises after each query
// profile's operations are ones those operations take: a client that picks
// one from discovery gets answers, not CIM_ERR_QUERY_LANGUAGE_NOT_SUPPORTED.
TEST_F(QueriesTest, AdvertisedQueryLanguagesAreAnswered) {
  auto languagesOf = [](const std::string& description) {
    std::vector<std::string> languages;
    const size_t open = description.find(" (");
    if (open == std::string::npos) return languages;
    std::string list = description.substr(open + 2, description.size() - open - 3);
    list = list.substr(list.find("language") + 8);
    if (list[0] == 's') list.erase(0, 1);
    for (size_t at = 0; at < list.size();) {
      const size_t comma = std::min(list.find(',', at), list.size());
      languages.push_back(list.substr(at + 1, comma - at - 1));  // after the blank
      at = comma + 1;
    }
    return languages;
  };
  std::map<uint16_t, std::vector<std::string>> advertised;
  for (const auto& profile : TCimOperations::FunctionalProfiles(false)) advertised[profile.first] = languagesOf(profile.second);
  ASSERT_EQ(advertised[7], (std::vector<std::string>{"WQL", "DMTF:CQL"}));
  ASSERT_EQ(advertised[12], advertised[7]);
  ASSERT_EQ(advertised[10], std::vector<std::string>{"DMTF:FQL"});
  for (const std::string& language : advertised[7]) {
    const std::string query = Value("SELECT Id FROM Test_Disk WHERE Slot = 1");
    const std::string exec = Call("ExecQuery", Param("QueryLanguage", Value(language)) + Param("Query", query));
    EXPECT_NE(exec.find("<VALUE>sdb</VALUE>"), std::string::npos) << language << ": " << exec;
    const std::string open = Call("OpenQueryInstances", Param("FilterQueryLanguage", Value(language)) +
                                                            Param("FilterQuery", query) +
                                                            Param("MaxObjectCount", Value("5")));
    EXPECT_NE(open.find("<VALUE>sdb</VALUE>"), std::string::npos) << language << ": " << open;
  }
  const std::string filtered =
      Call("OpenEnumerateInstances", Param("ClassName", ClassName("Test_Disk")) +
                                         Param("FilterQueryLanguage", Value(advertised[10][0])) +
                                         Param("FilterQuery", Value("Slot = 1")) + Param("MaxObjectCount", Value("5")));
  EXPECT_EQ(Keys(filtered, "Id"), std::multiset<std::string>{"sdb"}) << filtered;
}

}  // namespace
