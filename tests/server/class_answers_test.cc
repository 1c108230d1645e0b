// What the server says of classes: methods as their MOF declared them (the
// schema notes), qualifiers a class took over from its superclass marked
// PROPAGATED, and the walks from a class over every end it can stand at.

#include <cstdlib>
#include <set>
#include <vector>

#include <gtest/gtest.h>

#include "mof/schema_notes.h"
#include "tests/server/server_fixture.h"

namespace {

// Serves tests/server/classes.mof as root/cimv2, its notes kept or not.
class ClassAnswersTest : public ::testing::Test {
 protected:
  void Load(bool withNotes) {
    ns_ = NewProviderNamespace();
    notes_ = std::make_shared<TSchemaNotes>();
    TMofLoadOptions options;
    if (withNotes) options.notes = notes_.get();
    TMofLoader loader(ns_, options);
    ASSERT_TRUE(loader.LoadFile(INMEM_SERVER_CLASSES)) << loader.Diagnostics().front().Format();
    namespaces_ = std::make_unique<TNamespaceRegistry>([] { return NewProviderNamespace(); });
    namespaces_->Add("root/cimv2", ns_, notes_);
    client_ = std::make_unique<TExchangeClient>(*namespaces_);
  }
  void SetUp() override { Load(true); }

  std::string GetClass(const std::string& name, bool localOnly = false) {
    return client_->Call("GetClass", Param("ClassName", ClassName(name)) +
                                         Param("LocalOnly", Value(localOnly ? "TRUE" : "FALSE")) +
                                         Param("IncludeClassOrigin", Value("TRUE")));
  }

  boost::shared_ptr<ICIMNamespace> ns_;
  std::shared_ptr<TSchemaNotes> notes_;
  std::unique_ptr<TNamespaceRegistry> namespaces_;
  std::unique_ptr<TExchangeClient> client_;
};

// The text of the first element `<tag NAME="name"` in `text`, up to its end
// tag (empty when there is none). Elements of these tests do not nest in
// one of their own kind.
std::string Element(const std::string& text, const std::string& tag, const std::string& name) {
  const size_t start = text.find("<" + tag + " NAME=\"" + name + "\"");
  if (start == std::string::npos) return std::string();
  const std::string kind = tag.substr(0, tag.find('.'));
  const size_t end = text.find("</" + kind, start);
  return text.substr(start, end == std::string::npos ? std::string::npos : end - start);
}

// An element's own part: its start tag and qualifiers, without the
// elements it holds (a method's parameters, a class's members).
std::string OwnPart(const std::string& element) {
  size_t end = element.size();
  for (const char* child : {"<PROPERTY", "<METHOD", "<PARAMETER"}) {
    const size_t at = element.find(child, 1);
    if (at != std::string::npos && at < end) end = at;
  }
  return element.substr(0, end);
}

// The start tag of qualifier `name` in `part`; empty when absent.
std::string QualifierTag(const std::string& part, const std::string& name) {
  const size_t start = part.find("<QUALIFIER NAME=\"" + name + "\"");
  return start == std::string::npos ? std::string() : part.substr(start, part.find('>', start) - start + 1);
}

// The NAME attributes of the elements `tag` in `text`, in order.
std::vector<std::string> Names(const std::string& text, const std::string& tag) {
  std::vector<std::string> names;
  const std::string mark = "<" + tag + " NAME=\"";
  for (size_t at = text.find(mark); at != std::string::npos; at = text.find(mark, at + 1)) {
    const size_t from = at + mark.size();
    names.push_back(text.substr(from, text.find('"', from) - from));
  }
  return names;
}

TEST_F(ClassAnswersTest, QualifiersTakenOverFromTheSuperclassArePropagated) {
  enum EWhat { kLocal, kPropagated, kAbsent };
  const struct {
    const char* cls;
    // Where: "" (the class), or elements from the class down, "TAG NAME" each.
    std::vector<std::pair<std::string, std::string>> path;
    const char* qualifier;
    EWhat what;
  } cases[] = {
      {"Test_Device", {}, "Description", kPropagated},
      {"Test_EnabledElement", {}, "Description", kLocal},
      {"Test_Device", {}, "UMLPackagePath", kPropagated},
      {"Test_Device", {}, "Version", kAbsent},  // restricted to the class that gives it
      {"Test_Device", {{"PROPERTY", "Name"}}, "Key", kPropagated},  // the override keeps the key
      {"Test_Device", {{"PROPERTY", "Name"}}, "Description", kLocal},
      {"Test_Device", {{"PROPERTY", "Old"}}, "Description", kPropagated},
      {"Test_Device", {{"PROPERTY", "Old"}}, "Deprecated", kAbsent},
      {"Test_Device", {{"METHOD", "RequestStateChange"}}, "Description", kLocal},
      {"Test_Device", {{"METHOD", "RequestStateChange"}, {"PARAMETER", "RequestedState"}}, "In", kPropagated},
      {"Test_Device", {{"METHOD", "RequestStateChange"}, {"PARAMETER", "RequestedState"}}, "Description",
       kPropagated},
      {"Test_Device", {{"METHOD", "RequestStateChange"}, {"PARAMETER.REFERENCE", "Job"}}, "Out", kPropagated},
      {"Test_Device", {{"METHOD", "RequestStateChange"}, {"PARAMETER", "TimeoutPeriod"}}, "Description", kLocal},
      {"Test_Device", {{"METHOD", "Gather"}, {"PARAMETER", "Apple"}}, "In", kPropagated},
      {"Test_EnabledElement", {{"PROPERTY", "Name"}}, "Key", kPropagated},
      {"Test_EnabledElement", {{"PROPERTY", "Old"}}, "Description", kPropagated},
      {"Test_EnabledElement", {{"PROPERTY", "Old"}}, "Deprecated", kAbsent},
      {"Test_EnabledElement", {{"METHOD", "RequestStateChange"}, {"PARAMETER", "RequestedState"}}, "In", kLocal},
      {"Test_ManagedElement", {{"PROPERTY", "Old"}}, "Deprecated", kLocal},
  };
  for (const auto& c : cases) {
    std::string where = "CLASS " + std::string(c.cls);
    std::string element = Element(GetClass(c.cls), "CLASS", c.cls);
    for (const auto& step : c.path) {
      element = Element(element, step.first, step.second);
      where += " / " + step.first + " " + step.second;
    }
    ASSERT_FALSE(element.empty()) << where;
    const std::string tag = QualifierTag(OwnPart(element), c.qualifier);
    where += ": " + std::string(c.qualifier) + " in " + OwnPart(element);
    switch (c.what) {
      case kAbsent:
        EXPECT_EQ(tag, "") << where;
        break;
      case kLocal:
        EXPECT_NE(tag, "") << where;
        EXPECT_EQ(tag.find("PROPAGATED"), std::string::npos) << where;
        break;
      case kPropagated:
        EXPECT_NE(tag.find("PROPAGATED=\"true\""), std::string::npos) << where;
        break;
    }
  }
  // LocalOnly leaves the propagated ones out, and the inherited members.
  const std::string local = GetClass("Test_Device", true);
  const std::string name = OwnPart(Element(local, "PROPERTY", "Name"));
  EXPECT_EQ(QualifierTag(name, "Key"), "") << name;
  EXPECT_NE(QualifierTag(name, "Description"), "") << name;
  EXPECT_EQ(Element(local, "METHOD", "Gather"), "") << local;
  EXPECT_EQ(QualifierTag(OwnPart(Element(local, "CLASS", "Test_Device")), "UMLPackagePath"), "") << local;
}

TEST_F(ClassAnswersTest, MethodsAreAnsweredAsTheirMofDeclaredThem) {
  const std::string enabled = GetClass("Test_EnabledElement");
  const std::string change = Element(enabled, "METHOD", "RequestStateChange");
  EXPECT_EQ(Names(change, "PARAMETER"), (std::vector<std::string>{"RequestedState", "TimeoutPeriod"}));
  EXPECT_NE(change.find("<PARAMETER NAME=\"RequestedState\" TYPE=\"uint16\">"), std::string::npos) << change;
  // Declared order, the reference between the other two, with its class.
  const size_t state = change.find("\"RequestedState\""), job = change.find("\"Job\""),
               timeout = change.find("\"TimeoutPeriod\"");
  EXPECT_TRUE(state < job && job < timeout) << change;
  EXPECT_NE(change.find("<PARAMETER.REFERENCE NAME=\"Job\" REFERENCECLASS=\"Test_ConcreteJob\">"), std::string::npos)
      << change;
  const std::string gather = Element(enabled, "METHOD", "Gather");
  EXPECT_NE(gather.find("<PARAMETER.REFARRAY NAME=\"Targets\" REFERENCECLASS=\"Test_ManagedElement\">"),
            std::string::npos)
      << gather;
  EXPECT_LT(gather.find("\"Zebra\""), gather.find("\"Apple\"")) << gather;
  // An inherited method is noted under the class that declares it.
  const std::string inherited = Element(GetClass("Test_Device"), "METHOD", "Gather");
  EXPECT_NE(inherited.find("REFERENCECLASS=\"Test_ManagedElement\""), std::string::npos) << inherited;
  // So are the classes of EnumerateClasses and of a walk from a class.
  for (const std::string& answer :
       {client_->Call("EnumerateClasses", Param("DeepInheritance", Value("TRUE"))),
        client_->Call("Associators", Param("ObjectName", ClassName("Test_ConcreteJob")) +
                                         Param("AssocClass", ClassName("Test_HostedJob")))}) {
    EXPECT_NE(answer.find("REFERENCECLASS=\"Test_ConcreteJob\""), std::string::npos) << answer;
  }
  // A class a client makes with reference parameters is noted as well.
  const std::string made = client_->Call(
      "CreateClass", Param("NewClass", "<CLASS NAME=\"Test_Made\" SUPERCLASS=\"Test_ConcreteJob\">"
                                       "<METHOD NAME=\"Start\" TYPE=\"uint32\"><PARAMETER NAME=\"When\" "
                                       "TYPE=\"datetime\"/><PARAMETER.REFERENCE NAME=\"By\" "
                                       "REFERENCECLASS=\"Test_Device\"/></METHOD></CLASS>"));
  ASSERT_EQ(CimCodeOf(made), 0) << made;
  const std::string start = Element(GetClass("Test_Made"), "METHOD", "Start");
  EXPECT_LT(start.find("\"When\""), start.find("<PARAMETER.REFERENCE NAME=\"By\" REFERENCECLASS=\"Test_Device\""))
      << start;
}

TEST_F(ClassAnswersTest, WithoutNotesMethodsKeepTheRepositorysOrderAndNoReferenceClass) {
  Load(false);
  const std::string change = Element(GetClass("Test_EnabledElement"), "METHOD", "RequestStateChange");
  EXPECT_NE(change.find("<PARAMETER.REFERENCE NAME=\"Job\">"), std::string::npos) << change;
  EXPECT_LT(change.find("\"Job\""), change.find("\"RequestedState\"")) << change;
  // Notes of a class that is gone, or was made again from elsewhere, are
  // dropped whole.
  Load(true);
  EXPECT_NE(notes_->Method("test_enabledelement", "REQUESTSTATECHANGE"), nullptr);
  notes_->ForgetClass("TEST_ENABLEDELEMENT");
  EXPECT_EQ(notes_->Method("Test_EnabledElement", "RequestStateChange"), nullptr);
  EXPECT_EQ(Element(GetClass("Test_EnabledElement"), "METHOD", "RequestStateChange").find("REFERENCECLASS"),
            std::string::npos);
}

TEST_F(ClassAnswersTest, ClassWalksConsiderEveryEndTheClassCanStandAt) {
  const struct {
    const char* method;
    const char* source;
    std::string filters;
    std::set<std::string> found;
  } cases[] = {
      {"AssociatorNames", "Test_ProcessorCapabilities", Param("AssocClass", ClassName("Test_ElementCapabilities")),
       {"Test_ManagedElement", "Test_Capabilities"}},
      {"AssociatorNames", "Test_ProcessorCapabilities", Param("Role", Value("Capabilities")), {"Test_ManagedElement"}},
      {"AssociatorNames", "Test_ProcessorCapabilities", Param("Role", Value("ManagedElement")), {"Test_Capabilities"}},
      {"AssociatorNames", "Test_ProcessorCapabilities", Param("ResultClass", ClassName("Test_Capabilities")),
       {"Test_Capabilities"}},
      {"AssociatorNames", "Test_ProcessorCapabilities",
       Param("Role", Value("Capabilities")) + Param("ResultRole", Value("Capabilities")), {}},
      {"AssociatorNames", "Test_ManagedElement", "", {"Test_Capabilities"}},
      {"AssociatorNames", "Test_Device", "", {"Test_ConcreteJob", "Test_Capabilities"}},
      {"AssociatorNames", "Test_Device", Param("Role", Value("Job")), {}},
      {"Associators", "Test_ProcessorCapabilities", Param("AssocClass", ClassName("Test_ElementCapabilities")),
       {"Test_ManagedElement", "Test_Capabilities"}},
      {"ReferenceNames", "Test_ProcessorCapabilities", "", {"Test_ElementCapabilities"}},
      {"ReferenceNames", "Test_ProcessorCapabilities", Param("Role", Value("Capabilities")),
       {"Test_ElementCapabilities"}},
      {"ReferenceNames", "Test_ManagedElement", Param("Role", Value("Capabilities")), {}},
      {"ReferenceNames", "Test_ConcreteJob", "", {"Test_HostedJob", "Test_ElementCapabilities"}},
      {"ReferenceNames", "Test_ConcreteJob", Param("Role", Value("Job")), {"Test_HostedJob"}},
      {"ReferenceNames", "Test_Device", Param("Role", Value("Job")), {}},
      {"References", "Test_Device", Param("ResultClass", ClassName("Test_HostedJob")), {"Test_HostedJob"}},
  };
  for (const auto& c : cases) {
    const std::string answer = client_->Call(c.method, Param("ObjectName", ClassName(c.source)) + c.filters);
    ASSERT_EQ(CimCodeOf(answer), 0) << answer;
    // The class path of each result (a full answer holds the class too).
    std::vector<std::string> paths;
    const std::string mark = "<CLASSPATH>";
    for (size_t at = answer.find(mark); at != std::string::npos; at = answer.find(mark, at + 1)) {
      std::vector<std::string> names = Names(answer.substr(at, answer.find("</CLASSPATH>", at) - at), "CLASSNAME");
      paths.insert(paths.end(), names.begin(), names.end());
    }
    EXPECT_EQ(std::set<std::string>(paths.begin(), paths.end()), c.found) << c.method << " " << c.source << " "
                                                                          << c.filters;
    EXPECT_EQ(paths.size(), c.found.size()) << "each result once: " << answer;
  }
}

// The answers about these classes are valid CIM-XML by the DMTF's DTD (when
// INMEM_CIM_DTD names it).
TEST_F(ClassAnswersTest, AnswersAreValidByTheCimXmlDtd) {
  const char* dtd = std::getenv("INMEM_CIM_DTD");
  if (dtd == nullptr || *dtd == '\0') GTEST_SKIP() << "INMEM_CIM_DTD does not name the CIM-XML DTD";
  for (const char* cls : {"Test_Device", "Test_EnabledElement", "Test_ElementCapabilities"}) {
    EXPECT_EQ(DtdComplaints(dtd, GetClass(cls)), "") << cls;
    EXPECT_EQ(DtdComplaints(dtd, GetClass(cls, true)), "") << cls;
  }
  EXPECT_EQ(DtdComplaints(dtd, client_->Call("Associators", Param("ObjectName", ClassName("Test_ProcessorCapabilities")) +
                                                                Param("IncludeQualifiers", Value("TRUE")))),
            "");
}

}  // namespace
