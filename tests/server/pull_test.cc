// The pull operations deliver what the operation they page would answer:
// for each Open... operation and the same parameters, the instances (or
// paths) pulled to the end are those of the matching plain operation, with
// the same properties, and a refusal is the same refusal. (What only the
// pull operations take, OperationTimeout and ContinueOnError, is in
// exchange_test.cc.)

#include <algorithm>
#include <vector>

#include <gtest/gtest.h>

#include "tests/server/server_fixture.h"

namespace {

std::string List(const std::vector<std::string>& names) {
  std::string values;
  for (const std::string& name : names) values += Value(name);
  return "<VALUE.ARRAY>" + values + "</VALUE.ARRAY>";
}

// Every element `<tag ...>...</tag>` of `document`, whole, in order.
std::vector<std::string> Elements(const std::string& document, const std::string& tag) {
  std::vector<std::string> found;
  const std::string open = "<" + tag, close = "</" + tag + ">";
  for (size_t at = document.find(open); at != std::string::npos; at = document.find(open, at + 1)) {
    const char next = document[at + open.size()];
    if (next != ' ' && next != '>') continue;  // INSTANCENAME when looking for INSTANCE
    const size_t end = document.find(close, at);
    found.push_back(document.substr(at, end + close.size() - at));
  }
  return found;
}

// What answers deliver, comparable across operations whatever the paths
// look like (an instance name alone, or within a path with its namespace):
// the instance names (those of the results, and those their reference
// values hold) and the instances, sorted.
std::vector<std::string> Results(const std::vector<std::string>& documents) {
  std::vector<std::string> results;
  for (const std::string& document : documents) {
    for (const char* tag : {"INSTANCENAME", "INSTANCE"}) {
      for (std::string& element : Elements(document, tag)) results.push_back(std::move(element));
    }
  }
  std::sort(results.begin(), results.end());
  return results;
}

class PullTest : public TServedFixtureTest {
 protected:

  // Opens with `parameters` and `count` at first, then pulls `count` (at
  // least one) at a time to the end; the answers, the last failed if one did.
  std::vector<std::string> PullAll(const std::string& open, const std::string& parameters, unsigned count) {
    std::vector<std::string> answers{
        client_->Call(open, parameters + Param("MaxObjectCount", Value(std::to_string(count))))};
    const std::string pull = open.find("Paths") != std::string::npos ? "PullInstancePaths" : "PullInstancesWithPath";
    for (int rounds = 0; rounds < 100 && CimCodeOf(answers.back()) == 0; ++rounds) {
      if (ParamValue(answers.back(), "EndOfSequence") == "TRUE") break;
      const std::string context = ParamValue(answers.back(), "EnumerationContext");
      answers.push_back(client_->Call(pull, Param("EnumerationContext", Value(context)) +
                                                Param("MaxObjectCount", Value(std::to_string(std::max(count, 1u))))));
    }
    return answers;
  }
};

TEST_F(PullTest, OpenOperationsAnswerAsTheOperationsTheyPage) {
  const std::string element = Param("ClassName", ClassName("Test_Element"));
  const std::string system = Param("ClassName", ClassName("Test_System"));
  const std::string shallow = Param("DeepInheritance", Value("FALSE"));
  const std::string origin = Param("IncludeClassOrigin", Value("TRUE"));
  const struct {
    const char* open;
    const char* plain;
    // The source, named as each operation names it, and the other parameters.
    std::string source;
    std::string parameters;
  } cases[] = {
      {"OpenEnumerateInstances", "EnumerateInstances", element, ""},
      {"OpenEnumerateInstances", "EnumerateInstances", element, shallow},
      {"OpenEnumerateInstances", "EnumerateInstances", element, shallow + origin},
      {"OpenEnumerateInstances", "EnumerateInstances", system, shallow},
      {"OpenEnumerateInstances", "EnumerateInstances", element, Param("DeepInheritance", Value("TRUE")) + origin},
      {"OpenEnumerateInstances", "EnumerateInstances", element, Param("PropertyList", List({"Caption", "Name"}))},
      {"OpenEnumerateInstances", "EnumerateInstances", element, shallow + Param("PropertyList", List({"Name"}))},
      {"OpenEnumerateInstances", "EnumerateInstances", system, Param("PropertyList", List({}))},
      {"OpenEnumerateInstances", "EnumerateInstances", Param("ClassName", ClassName("Nope")), ""},
      {"OpenEnumerateInstancePaths", "EnumerateInstanceNames", element, ""},
      {"OpenEnumerateInstancePaths", "EnumerateInstanceNames", Param("ClassName", ClassName("Test_Disk")), ""},
      {"OpenAssociatorInstances", "Associators", kAlpha, ""},
      {"OpenAssociatorInstances", "Associators", kAlpha, Param("AssocClass", ClassName("Test_SystemDisk")) + origin},
      {"OpenAssociatorInstances", "Associators", kAlpha, Param("ResultClass", ClassName("Test_Disk"))},
      {"OpenAssociatorInstances", "Associators", kAlpha, Param("ResultClass", ClassName("Test_System"))},
      {"OpenAssociatorInstances", "Associators", kSda, Param("Role", Value("Disk"))},
      {"OpenAssociatorInstances", "Associators", kSda, Param("Role", Value("System"))},
      {"OpenAssociatorInstances", "Associators", kAlpha, Param("ResultRole", Value("Disk")) +
                                                            Param("PropertyList", List({"Kind", "Slot"}))},
      {"OpenAssociatorInstances", "Associators", kAlpha, Param("AssocClass", ClassName("Nope"))},
      {"OpenAssociatorInstancePaths", "AssociatorNames", kAlpha, Param("ResultRole", Value("Disk"))},
      {"OpenAssociatorInstancePaths", "AssociatorNames", kSda, Param("ResultRole", Value("Disk"))},
      {"OpenAssociatorInstancePaths", "AssociatorNames", kSda, Param("ResultClass", ClassName("Nope"))},
      {"OpenReferenceInstances", "References", kSda, ""},
      {"OpenReferenceInstances", "References", kAlpha, Param("Role", Value("System")) + origin},
      {"OpenReferenceInstances", "References", kAlpha, Param("Role", Value("Disk"))},
      {"OpenReferenceInstances", "References", kSda, Param("ResultClass", ClassName("Test_SystemDisk")) +
                                                        Param("PropertyList", List({"System"}))},
      {"OpenReferenceInstancePaths", "ReferenceNames", kAlpha, ""},
      {"OpenReferenceInstancePaths", "ReferenceNames", kAlpha, Param("Role", Value("Disk"))},
      {"OpenReferenceInstancePaths", "ReferenceNames", kSda, Param("ResultClass", ClassName("Nope"))},
  };
  for (const auto& c : cases) {
    // The walks name their source ObjectName, the pulls InstanceName.
    const bool walk = c.source.compare(0, 13, "<INSTANCENAME") == 0;
    const std::string plainSource = walk ? Param("ObjectName", c.source) : c.source;
    const std::string openSource = walk ? Param("InstanceName", c.source) : c.source;
    const std::string plain = client_->Call(c.plain, plainSource + c.parameters);
    for (unsigned count : {0u, 1u, 100u}) {
      const std::vector<std::string> pulled = PullAll(c.open, openSource + c.parameters, count);
      const std::string what = std::string(c.open) + " " + c.parameters + " by " + std::to_string(count);
      EXPECT_EQ(CimCodeOf(pulled.back()), CimCodeOf(plain)) << what << ": " << pulled.back();
      if (CimCodeOf(plain) != 0) continue;
      EXPECT_EQ(Results(pulled), Results({plain})) << what;
    }
  }
  EXPECT_EQ(client_->Operations().OpenEnumerations(), 0u) << "every enumeration ran to its end";
}

}  // namespace
