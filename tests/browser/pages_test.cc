// The repository browser's pages and pictures, answered in process on the
// server tests' fixture.

#include <gtest/gtest.h>

#include "browser/dot_renderer.h"
#include "browser/repository_graphs.h"
#include "browser/repository_pages.h"
#include "include/cim_class.h"
#include "include/cim_instance.h"
#include "tests/server/server_fixture.h"

namespace http = boost::beast::http;

namespace {

THttpRequest Get(const std::string& target) { return THttpRequest{http::verb::get, target, 11}; }

std::string Header(const THttpAnswer& answer, const std::string& name) {
  for (const auto& h : answer.headers) {
    if (h.first == name) return h.second;
  }
  return std::string();
}

size_t Count(const std::string& text, const std::string& what) {
  size_t n = 0;
  for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++n;
  return n;
}

TEST(RepositoryPagesTest, PagesAnswerWithTheirStatusAndEscapeWhatTheRepositoryHolds) {
  boost::shared_ptr<ICIMNamespace> ns = FixtureNamespace();
  ASSERT_TRUE(ns);
  TRepositoryPages pages(ns, "root/cimv2");
  pages.NoteLoaded("MOF <fixture>");
  const std::string sdb = "/instance?path=test_disk.id%3D%22sdb%22%2Cslot%3D1";
  const struct {
    std::string target;
    unsigned status;
    std::vector<std::string> shows;
  } cases[] = {
      {"/", 200, {"<b>4</b>classes", "<b>1</b>associations", "<b>9</b>qualifier declarations", "<b>5</b>instances",
                  "MOF &lt;fixture&gt;"}},
      {"/classes", 200, {"data-name=\"test_systemdisk\"", "<script src=\"/tree.js\"></script>"}},
      {"/class/test_disk", 200, {"<h1>Test_Disk</h1>", "from <a href=\"/class/Test_Element\">Test_Element</a>",
                                 "<a href=\"/class/Test_SystemDisk\">Test_SystemDisk</a> <span class=\"muted\">as Disk",
                                 "2 instances", "class Test_Disk : Test_Element {", "Values({&quot;Unknown&quot;"}},
      {"/class/Test_Disk/instances", 200, {"page 1 of 1, 2 instances", "&lt;script&gt;alert(1)&lt;/script&gt;", "Rotating"}},
      {sdb, 200, {"&lt;script&gt;alert(1)&lt;/script&gt;", "Test_SystemDisk</a> <span class=\"muted\">as System",
                  "test_system.name=&quot;alpha&quot;"}},
      {"/class/Nope", 404, {"There is no class named Nope."}},
      {"/class/%3Cb%3E", 404, {"There is no class named &lt;b&gt;."}},
      {"/instance?path=Test_Disk.Id%3D", 404, {"is not an instance path (at position"}},
      {"/instance?path=Test_Disk.Id%3D%22zz%22%2CSlot%3D9", 404, {"There is no instance"}},
      {"/class/Test_Disk/instances?page=2", 404, {"There is no page 2 of the instances of Test_Disk: they fill 1."}},
      {"/class/Test_Disk/instances?page=0", 400, {"page is a number from 1, not 0"}},
      {"/class/Test_Disk/instances?page=-1", 400, {"page is a number from 1"}},
      {"/graph/instance.svg?path=test_disk.id%3D%22sdb%22%2Cslot%3D1&hops=9", 400, {"hops is a number from 1 to 4"}},
      {"/nope", 404, {"There is no page /nope."}},
  };
  for (const auto& c : cases) {
    THttpAnswer answer = pages.Answer(Get(c.target));
    const std::string body = Drained(answer);
    EXPECT_EQ(static_cast<unsigned>(answer.status), c.status) << c.target;
    EXPECT_NE(Header(answer, "Content-Security-Policy").find("default-src 'none'"), std::string::npos) << c.target;
    for (const std::string& shown : c.shows) EXPECT_NE(body.find(shown), std::string::npos) << c.target << ": " << shown;
    EXPECT_EQ(body.find("<script>alert"), std::string::npos) << c.target;
  }
  THttpRequest post = Get("/");
  post.method(http::verb::post);
  EXPECT_EQ(pages.Answer(post).status, http::status::method_not_allowed);
}

TEST(RepositoryPagesTest, InstancesComeAPageAtATime) {
  boost::shared_ptr<ICIMNamespace> ns = FixtureNamespace();
  ASSERT_TRUE(ns);
  std::string mof;
  for (int i = 0; i < 250; ++i) mof += "instance of Test_Disk { Id = \"d" + std::to_string(i) + "\"; Slot = 1; };\n";
  ASSERT_TRUE(TMofLoader(ns).LoadText("more.mof", mof));
  TRepositoryPages pages(ns, "root/cimv2");
  const struct {
    const char* page;
    size_t rows;
    bool previous, next;
  } cases[] = {{"", 100, false, true}, {"2", 100, true, true}, {"3", 52, true, false}};
  for (const auto& c : cases) {
    THttpAnswer answer = pages.Answer(Get(std::string("/class/Test_Disk/instances?page=") + c.page));
    const std::string body = Drained(answer);
    EXPECT_EQ(Count(body, "<tr><td>"), c.rows) << c.page;
    EXPECT_EQ(body.find(">previous</a>") != std::string::npos, c.previous) << c.page;
    EXPECT_EQ(body.find(">next</a>") != std::string::npos, c.next) << c.page;
    EXPECT_NE(body.find("of 3, 252 instances"), std::string::npos) << c.page;
  }
}

// A class's methods as their MOF declared them, when the namespace's notes
// are given: parameters in order, references with their class.
TEST(RepositoryPagesTest, MethodsShowTheirDeclaredParameters) {
  boost::shared_ptr<ICIMNamespace> ns = FixtureNamespace();
  ASSERT_TRUE(ns);
  auto notes = std::make_shared<TSchemaNotes>();
  TMofLoadOptions options;
  options.notes = notes.get();
  ASSERT_TRUE(TMofLoader(ns, options).LoadText("runner.mof", "class Test_Job { [Key] string Id; };\n"
                                                             "class Test_Runner { [Key] string Id;\n"
                                                             "  uint32 Start([In] string Zone, [In] Test_Job REF Job); };"));
  const struct {
    std::shared_ptr<TSchemaNotes> notes;
    const char* method;
    const char* mof;
  } cases[] = {
      {notes, "uint32 Start(string Zone, Test_Job ref Job)", "[In(TRUE)] string Zone,\n        [In(TRUE)] Test_Job REF Job"},
      {nullptr, "uint32 Start(reference Job, string Zone)", "[In(TRUE)] Test_Runner REF Job,\n        [In(TRUE)] string Zone"},
  };
  for (const auto& c : cases) {
    TRepositoryPages pages(ns, "root/cimv2", c.notes);
    THttpAnswer answer = pages.Answer(Get("/class/Test_Runner"));
    const std::string body = Drained(answer);
    EXPECT_NE(body.find(c.method), std::string::npos) << body;
    EXPECT_NE(body.find(c.mof), std::string::npos) << body;
  }
}

TEST(RepositoryGraphsTest, PicturesShowTheirWalksWithinTheCap) {
  boost::shared_ptr<ICIMNamespace> ns = FixtureNamespace();
  ASSERT_TRUE(ns);
  ASSERT_TRUE(TMofLoader(ns).LoadText("quote.mof", "instance of Test_System { Name = \"a\\\"b\\\\c\"; };"));
  TGraphLimits limits;
  const std::string cls = ClassGraph(*ns->GetClass("Test_Disk", TContext()), limits);
  EXPECT_NE(cls.find("n0 [label=\"Test_Disk\""), std::string::npos) << cls;
  EXPECT_NE(cls.find("n0 -> n1 [arrowhead=empty]"), std::string::npos) << cls;  // to Test_Element
  EXPECT_NE(cls.find("[label=\"Disk\", arrowhead=vee"), std::string::npos) << cls;
  boost::shared_ptr<ICIMInstance> alpha = ns->GetInstance(TCIMReference::Parse("Test_System.Name=\"alpha\"", ns), TContext());
  ASSERT_TRUE(alpha);
  const std::string near = InstanceGraph(*alpha, limits);
  EXPECT_EQ(Count(near, "Test_SystemDisk\\nDisk \xE2\x86\x92 System"), 2u) << near;
  limits.maxNodes = 2;
  const std::string cut = InstanceGraph(*alpha, limits);
  EXPECT_NE(cut.find("cut at 2 nodes: 1 more left out"), std::string::npos) << cut;
  boost::shared_ptr<ICIMInstance> quoted = ns->GetInstance(TCIMReference::Parse("Test_System.Name=\"a\\\"b\\\\c\"", ns), TContext());
  ASSERT_TRUE(quoted);
  const std::string label = InstanceGraph(*quoted, limits);
  EXPECT_NE(label.find("label=\"Test_System\\nName=a\\\"b\\\\c\""), std::string::npos) << label;
  std::string svg, error;
  ASSERT_TRUE(RenderSvg(label, &svg, &error)) << error;
  EXPECT_NE(svg.find("<svg"), std::string::npos);
  EXPECT_FALSE(RenderSvg("digraph { a -> ", &svg, &error));
  EXPECT_FALSE(error.empty());
}

}  // namespace
