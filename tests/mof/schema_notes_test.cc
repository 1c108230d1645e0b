// The schema notes: what the loader notes of methods, and what the MOF
// writer makes of it.

#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "include/cim_class.h"
#include "mof/mof_loader.h"
#include "mof/mof_writer.h"
#include "mof/schema_notes.h"
#include "tests/support/capturing_logger.h"
#include "tests/support/provider_namespace.h"

namespace {

const char kQualifiers[] = R"(
Qualifier In : boolean = true, Scope(parameter), Flavor(DisableOverride, ToSubclass);
Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride, ToSubclass);
)";

// A job class named to come after the class that refers to it in the
// namespace's own order, so an export must put it first on purpose.
const char kClasses[] = R"(
class Z_Job { [Key] string Id; };
class A_Element {
   [Key] string Name;
   uint32 RequestStateChange([In] uint16 RequestedState, [In(false)] z_job REF Job, [In] datetime Timeout);
   uint32 Again([In] A_Element REF Self, [In] Z_Job REF Jobs[]);
   uint32 None();
};
class A_Sub : A_Element { };
)";

std::vector<std::string> NamesOf(const std::vector<TSchemaNotes::TParameter>* parameters) {
  std::vector<std::string> names;
  if (parameters == nullptr) return names;
  for (const auto& p : *parameters) names.push_back(p.name + (p.referenceClass.empty() ? "" : ":" + p.referenceClass));
  return names;
}

std::string ClassMof(ICIMNamespace& ns, const std::string& name, const TSchemaNotes* notes) {
  std::ostringstream out;
  TMofWriter(out, notes).WriteClass(*ns.GetClass(name, TContext()));
  return out.str();
}

TEST(SchemaNotesTest, TheLoaderNotesEachMethodAsDeclared) {
  boost::shared_ptr<ICIMNamespace> ns = NewProviderNamespace();
  TSchemaNotes notes;
  TMofLoadOptions options;
  options.notes = &notes;
  TMofLoader loader(ns, options);
  ASSERT_TRUE(loader.LoadText("t.mof", std::string(kQualifiers) + kClasses));
  // In declared order; a reference's class as the repository spells it.
  EXPECT_EQ(NamesOf(notes.Method("a_element", "REQUESTSTATECHANGE")),
            (std::vector<std::string>{"RequestedState", "Job:Z_Job", "Timeout"}));
  EXPECT_EQ(NamesOf(notes.Method("A_Element", "Again")), (std::vector<std::string>{"Self:A_Element", "Jobs:Z_Job"}));
  ASSERT_NE(notes.Method("A_Element", "None"), nullptr);
  EXPECT_TRUE(notes.Method("A_Element", "None")->empty());
  EXPECT_EQ(notes.Method("A_Sub", "Again"), nullptr) << "noted under the class that declares it";
}

TEST(SchemaNotesTest, AClassDefinedAgainOrRefusedLeavesNoStaleNotes) {
  TCapturingLogger quiet;
  boost::shared_ptr<ICIMNamespace> ns = NewProviderNamespace(true);
  TSchemaNotes notes;
  TMofLoadOptions options;
  options.notes = &notes;
  options.allowRedefinition = true;
  options.keepGoing = true;
  TMofLoader loader(ns, options);
  ASSERT_TRUE(loader.LoadText("t.mof", std::string(kQualifiers) + kClasses));
  // Defined again: the new definition's notes alone.
  ASSERT_TRUE(loader.LoadText("again.mof", "class A_Element { [Key] string Name; uint32 Go([In] string B, "
                                           "[In] string A); };"));
  EXPECT_EQ(NamesOf(notes.Method("A_Element", "Go")), (std::vector<std::string>{"B", "A"}));
  EXPECT_EQ(notes.Method("A_Element", "RequestStateChange"), nullptr);
  ASSERT_TRUE(loader.LoadText("bare.mof", "class A_Element { [Key] string Name; };"));
  EXPECT_EQ(notes.Method("A_Element", "Go"), nullptr);
  // A class the repository refused is not noted.
  EXPECT_FALSE(loader.LoadText("bad.mof", "class B_Bad { uint32 Go([Undeclared] string X); };"));
  EXPECT_EQ(notes.Method("B_Bad", "Go"), nullptr);
}

TEST(SchemaNotesTest, ANamespacePragmaNotesInThatNamespacesNotes) {
  boost::shared_ptr<ICIMNamespace> home = NewProviderNamespace(), other = NewProviderNamespace();
  TSchemaNotes homeNotes, otherNotes;
  TMofLoadOptions options;
  options.notes = &homeNotes;
  options.namespaceFor = [&](const std::string&, std::string*) { return other; };
  options.notesFor = [&](const std::string& name) { return name == "root/other" ? &otherNotes : nullptr; };
  TMofLoader loader(home, options);
  ASSERT_TRUE(loader.LoadText("t.mof", "#pragma namespace (\"root/other\")\n" + std::string(kQualifiers) + kClasses));
  EXPECT_EQ(homeNotes.Method("A_Element", "Again"), nullptr);
  EXPECT_NE(otherNotes.Method("A_Element", "Again"), nullptr);
}

TEST(SchemaNotesTest, TheWriterWritesMethodsAsDeclaredAndTheyLoadBack) {
  boost::shared_ptr<ICIMNamespace> ns = NewProviderNamespace();
  TSchemaNotes notes;
  TMofLoadOptions options;
  options.notes = &notes;
  ASSERT_TRUE(TMofLoader(ns, options).LoadText("t.mof", std::string(kQualifiers) + kClasses));
  const std::string noted = ClassMof(*ns, "A_Element", &notes);
  EXPECT_NE(noted.find("uint32 RequestStateChange([In(TRUE)] uint16 RequestedState,\n        [In(FALSE)] Z_Job REF Job,\n"
                       "        [In(TRUE)] datetime Timeout);"),
            std::string::npos)
      << noted;
  EXPECT_NE(noted.find("A_Element REF Self,\n        [In(TRUE)] Z_Job REF Jobs[]"), std::string::npos) << noted;
  // Without notes: the repository's order, references to the method's class.
  const std::string bare = ClassMof(*ns, "A_Element", nullptr);
  EXPECT_NE(bare.find("[In(FALSE)] A_Element REF Job,\n        [In(TRUE)] uint16 RequestedState"), std::string::npos)
      << bare;
  // The export puts the job before the class whose parameter refers to it,
  // and reads back to the same notes and the same export.
  std::ostringstream exported;
  TMofWriter(exported, &notes).WriteNamespace(*ns);
  EXPECT_LT(exported.str().find("class Z_Job"), exported.str().find("class A_Element")) << exported.str();
  boost::shared_ptr<ICIMNamespace> again = NewProviderNamespace();
  TSchemaNotes againNotes;
  options.notes = &againNotes;
  TMofLoader reloader(again, options);
  ASSERT_TRUE(reloader.LoadText("export.mof", exported.str())) << reloader.Diagnostics().front().Format();
  EXPECT_EQ(NamesOf(againNotes.Method("A_Element", "RequestStateChange")),
            NamesOf(notes.Method("A_Element", "RequestStateChange")));
  std::ostringstream second;
  TMofWriter(second, &againNotes).WriteNamespace(*again);
  EXPECT_EQ(second.str(), exported.str());
}

}  // namespace
