// The repository browser's pages and pictures, answered in process on the
// server tests' fixture, over the namespaces of a registry as inmem serve
// holds them.

#include <gtest/gtest.h>

#include "browser/dot_renderer.h"
#include "browser/html_text.h"
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

// The addresses a page's own content (its <main>; a picture whole) links to
// or loads: href, src, action and xlink:href values as written.
std::vector<std::string> LinksIn(const std::string& document) {
  const size_t main = document.find("<main>");
  const std::string content =
      main == std::string::npos ? document : document.substr(main, document.find("</main>") - main);
  std::vector<std::string> links;
  for (const std::string attribute : {" href=\"", " src=\"", " action=\"", "xlink:href=\""}) {
    for (size_t at = content.find(attribute); at != std::string::npos; at = content.find(attribute, at + 1)) {
      const size_t start = at + attribute.size();
      links.push_back(content.substr(start, content.find('"', start) - start));
    }
  }
  return links;
}

// The path text of the one instance of `className` in `ns`, URL-encoded.
std::string OnlyInstancePath(ICIMNamespace& ns, const std::string& className) {
  std::string path;
  ns.GetClass(className, TContext())
      ->EnumerateInstances(
          [&](boost::shared_ptr<ICIMInstance> instance) {
            path = UrlEncoded(instance->GetReference(TContext()).PathText());
            return false;
          },
          false, TContext());
  return path;
}

const char kOtherMof[] = "class Other_Only { [Key] string Id; };\ninstance of Other_Only { Id = \"o1\"; };\n";
const char kKeyQualifier[] = "Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride, ToSubclass);\n";

// The fixture as root/cimv2 (the default namespace), again as root/other
// with a class of its own, and the Interop namespace; the pages over them.
struct TServedPages {
  TServedWithInterop served;
  std::unique_ptr<TRepositoryPages> pages;

  TServedPages() {
    served.Serve(false);
    boost::shared_ptr<ICIMNamespace> other = FixtureNamespace();
    EXPECT_TRUE(TMofLoader(other).LoadText("other.mof", kOtherMof));
    served.namespaces->Add("root/other", other);
    pages = std::make_unique<TRepositoryPages>(*served.namespaces, "root/cimv2", "interop");
  }
  THttpAnswer Answer(const std::string& target, std::string* body) {
    THttpAnswer answer = pages->Answer(Get(target));
    *body = Drained(answer);
    return answer;
  }
};

const std::string kSdb = "test_disk.id%3D%22sdb%22%2Cslot%3D1";

TEST(RepositoryPagesTest, PagesAnswerWithTheirStatusAndEscapeWhatTheRepositoryHolds) {
  boost::shared_ptr<ICIMNamespace> ns = FixtureNamespace();
  ASSERT_TRUE(ns);
  std::unique_ptr<TNamespaceRegistry> namespaces = ServingAlone(ns);
  TRepositoryPages pages(*namespaces, "root/cimv2");
  pages.NoteLoaded("MOF <fixture>");
  const std::string sdb = "/instance?path=" + kSdb;
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

// Each namespace has its pages below /ns/NAME; the default keeps the short
// addresses; the frame marks where the page is and offers the others.
TEST(RepositoryPagesTest, EveryNamespaceIsShownUnderItsOwnAddresses) {
  TServedPages site;
  const struct {
    std::string target;
    unsigned status;
    std::vector<std::string> shows;
    std::vector<std::string> lacks;
  } cases[] = {
      {"/", 200, {"<b>4</b>classes", "<b>5</b>instances",
                  "<tr class=\"current\"><td><a href=\"/\">root/cimv2</a> <span class=\"badge\">default</span></td>"
                  "<td>4</td><td>5</td>",
                  "<td><a href=\"/ns/root%2Fother/\">root/other</a></td><td>5</td><td>6</td>",
                  "<a href=\"/ns/interop/\">interop</a> <span class=\"badge\">Interop</span>",
                  "<li class=\"current\"><a href=\"/\" aria-current=\"true\">root/cimv2</a>",
                  "<li><a href=\"/ns/root%2Fother/\">root/other</a>"},
       {}},
      {"/ns/root%2Fother/", 200, {"<b>5</b>classes", "<b>6</b>instances",
                                  "<tr class=\"current\"><td><a href=\"/ns/root%2Fother/\">root/other</a></td>",
                                  "<li class=\"current\"><a href=\"/ns/root%2Fother/\" aria-current=\"true\">root/other",
                                  "<li><a href=\"/\">root/cimv2</a>"},
       {}},
      {"/ns/ROOT%2FOther", 200, {"<b>5</b>classes"}, {}},
      {"/ns/root%2Fother/classes", 200, {"data-name=\"other_only\"", "<a href=\"/ns/root%2Fother/classes\">Classes</a>"},
       {}},
      {"/classes", 200, {"data-name=\"test_disk\""}, {"other_only"}},
      {"/ns/root%2Fother/class/Other_Only", 200, {"<h1>Other_Only</h1>", "1 instance "}, {}},
      {"/class/Other_Only", 404, {"There is no class named Other_Only."}, {}},
      {"/ns/root%2Fcimv2/class/Test_Disk", 200, {"<h1>Test_Disk</h1>"}, {}},
      {"/ns/interop/class/CIM_ObjectManager", 200, {"<h1>CIM_ObjectManager</h1>", "1 instance "}, {}},
      {"/ns/interop/", 200, {"<li class=\"current\"><a href=\"/ns/interop/\" aria-current=\"true\">interop</a>"},
       {"This machine"}},
      {"/ns/root%2Fother/instance?path=" + kSdb, 200, {"test_disk.id=&quot;sdb&quot;,slot=1"}, {}},
      {"/ns/root%2Fother/graph/class/Test_Disk.svg", 200, {"<svg"}, {}},
      {"/ns/nowhere/classes", 404, {"There is no namespace nowhere here.", "<a href=\"/ns/root%2Fother/\">"}, {}},
      {"/ns/root/cimv2/classes", 404, {"There is no namespace root here."}, {}},
      {"/ns/%3Cscript%3Ealert(1)%3C%2Fscript%3E/", 404, {"There is no namespace &lt;script&gt;alert(1)"}, {}},
      {"/ns/%ZZ/classes", 400, {"malformed address"}, {}},
      {"/ns/root%2Fother/nope", 404, {"There is no page /nope."}, {}},
  };
  for (const auto& c : cases) {
    std::string body;
    THttpAnswer answer = site.Answer(c.target, &body);
    EXPECT_EQ(static_cast<unsigned>(answer.status), c.status) << c.target;
    EXPECT_NE(Header(answer, "Content-Security-Policy").find("default-src 'none'"), std::string::npos) << c.target;
    for (const std::string& shown : c.shows) EXPECT_NE(body.find(shown), std::string::npos) << c.target << ": " << shown;
    for (const std::string& lacked : c.lacks) EXPECT_EQ(body.find(lacked), std::string::npos) << c.target << ": " << lacked;
    EXPECT_EQ(body.find("<script>alert"), std::string::npos) << c.target;
  }
}

// Every link and picture of a namespace's pages leads to that namespace's
// pages: the pictures are documents of their own, so their links are
// checked as well.
TEST(RepositoryPagesTest, LinksStayInTheirNamespace) {
  TServedPages site;
  const std::string manager = OnlyInstancePath(site.served.Repository("interop"), "CIM_ObjectManager");
  ASSERT_FALSE(manager.empty());
  const struct {
    std::string prefix;  // of every link
    std::string cls;
    std::string instance;  // path, URL-encoded
    std::string expected;  // one link the class page must hold
  } cases[] = {
      {"", "Test_Disk", kSdb, "/class/Test_Element"},
      {"/ns/root%2Fother", "Test_Disk", kSdb, "/ns/root%2Fother/class/Test_Element"},
      {"/ns/interop", "CIM_ObjectManager", manager, "/ns/interop/class/CIM_WBEMService"},
  };
  for (const auto& c : cases) {
    const std::string targets[] = {
        c.prefix + "/class/" + c.cls,
        c.prefix + "/class/" + c.cls + "/instances",
        c.prefix + "/instance?path=" + c.instance,
        c.prefix + "/graph/class/" + c.cls + ".svg",
        c.prefix + "/graph/instance.svg?path=" + c.instance + "&hops=2",
    };
    for (const std::string& target : targets) {
      std::string body;
      ASSERT_EQ(site.Answer(target, &body).status, http::status::ok) << target << body;
      const std::vector<std::string> links = LinksIn(body);
      EXPECT_GE(links.size(), 2u) << target << body;
      for (const std::string& link : links) {
        const bool inside = c.prefix.empty() ? link.rfind("/ns/", 0) != 0 && link.rfind("/", 0) == 0
                                             : link.rfind(c.prefix + "/", 0) == 0;
        EXPECT_TRUE(inside) << target << " links to " << link;
        EXPECT_TRUE(link.find("path=&") == std::string::npos && link.substr(link.size() - 5) != "path=") << link;
      }
      if (target == targets[0]) {
        EXPECT_NE(std::find(links.begin(), links.end(), c.expected), links.end()) << target;
      }
    }
  }
}

// A link to an instance that another namespace holds (an association
// reaching across namespaces) leads to that namespace's page of it.
TEST(RepositoryPagesTest, InstancesOfOtherNamespacesAreLinkedWhereTheyAre) {
  TServedPages site;
  std::vector<TCIMReference> central;
  for (const char* name : {"root/cimv2", "root/other"}) {
    central.push_back(TCIMReference::Parse("Test_System.Name=\"alpha\"", site.served.namespaces->Find(name)->ns));
    central.back().SetNameSpaceName(name);
  }
  site.served.interop->RegisterProfile({1, "inmem", "Test Profile", "1.0.0"}, central);
  std::string profile;
  site.served.Repository("interop").GetClass("CIM_RegisteredProfile", TContext())->EnumerateInstances(
      [&](boost::shared_ptr<ICIMInstance> instance) {
        const TCIMReference path = instance->GetReference(TContext());
        if (path.PathText().find("Test Profile") != std::string::npos) profile = UrlEncoded(path.PathText());
        return true;
      },
      false, TContext());
  ASSERT_FALSE(profile.empty());
  const std::string alpha = "/instance?path=test_system.name%3D%22alpha%22";
  const std::string targets[] = {"/ns/interop/instance?path=" + profile,
                                 "/ns/interop/graph/instance.svg?path=" + profile};
  for (const std::string& target : targets) {
    std::string body;
    ASSERT_EQ(site.Answer(target, &body).status, http::status::ok) << target << body;
    const std::vector<std::string> links = LinksIn(body);
    for (const std::string& expected : {alpha, "/ns/root%2Fother" + alpha}) {
      EXPECT_NE(std::find(links.begin(), links.end(), expected), links.end()) << target << ": " << expected << body;
    }
  }
  // In the picture, the two are told apart by where they are.
  std::string picture;
  site.Answer(targets[1], &picture);
  EXPECT_EQ(Count(picture, ">Name=alpha</text>"), 2u) << picture;
  EXPECT_EQ(Count(picture, ">in root/other</text>"), 1u) << picture;
}

// Namespaces made and deleted while the server runs, and namespaces built
// again by a class write, are shown as they are now.
TEST(RepositoryPagesTest, PagesFollowTheRegistry) {
  TServedPages site;
  TNamespaceRegistry& namespaces = *site.served.namespaces;
  boost::shared_ptr<ICIMNamespace> changed = FixtureNamespace();
  ASSERT_TRUE(TMofLoader(changed).LoadText("changed.mof", "class Test_Fan : Test_Element { [Key] string Id; };\n"
                                                          "instance of Test_Fan { Id = \"f1\"; };\n"));
  boost::shared_ptr<ICIMNamespace> storage = NewProviderNamespace();
  const struct {
    const char* step;
    std::function<void()> change;
    std::string target;
    unsigned status;
    std::string shows;
  } cases[] = {
      {"before", [] {}, "/ns/root%2Fstorage/classes", 404, "There is no namespace root/storage here."},
      {"made", [&] { namespaces.Create("root/storage"); }, "/ns/root%2Fstorage/", 200, "<b>0</b>classes"},
      {"listed", [] {}, "/", 200, "<a href=\"/ns/root%2Fstorage/\">root/storage</a></td><td>0</td><td>0</td>"},
      {"filled", [&] { ASSERT_TRUE(TMofLoader(namespaces.Find("root/storage")->ns).LoadText("s.mof", std::string(kKeyQualifier) + kOtherMof)); },
       "/ns/root%2Fstorage/class/Other_Only", 200, "<h1>Other_Only</h1>"},
      {"deleted", [&] { namespaces.Remove("root/storage"); }, "/ns/root%2Fstorage/class/Other_Only", 404,
       "There is no namespace root/storage here."},
      {"unlisted", [] {}, "/", 200, "<b>4</b>classes"},
      {"replaced", [&] { namespaces.Replace("root/cimv2", changed); }, "/class/Test_Fan", 200, "<h1>Test_Fan</h1>"},
      {"replaced, counted", [] {}, "/", 200, "<b>5</b>classes"},
      {"replaced, in the tree", [] {}, "/classes", 200, "data-name=\"test_fan\""},
      {"replaced, an instance", [] {}, "/instance?path=test_fan.id%3D%22f1%22", 200, "test_fan.id=&quot;f1&quot;"},
      {"other replaced", [&] { namespaces.Replace("root/other", FixtureNamespace()); },
       "/ns/root%2Fother/class/Other_Only", 404, "There is no class named Other_Only."},
      {"default deleted", [&] { namespaces.Remove("root/cimv2"); }, "/classes", 404,
       "There is no namespace root/cimv2 here."},
      {"overview without it", [] {}, "/", 200, "The namespace root/cimv2 is not served now."},
      {"default made again", [&] { namespaces.Create("ROOT/CIMV2"); }, "/classes", 200, "<h1>Classes</h1>"},
  };
  for (const auto& c : cases) {
    c.change();
    std::string body;
    THttpAnswer answer = site.Answer(c.target, &body);
    EXPECT_EQ(static_cast<unsigned>(answer.status), c.status) << c.step << ": " << c.target;
    EXPECT_NE(body.find(c.shows), std::string::npos) << c.step << ": " << c.target << "\n" << body;
    if (std::string(c.step) == "unlisted") {
      EXPECT_EQ(body.find("root/storage"), std::string::npos) << body;
    }
  }
}

TEST(RepositoryPagesTest, InstancesComeAPageAtATime) {
  boost::shared_ptr<ICIMNamespace> ns = FixtureNamespace();
  ASSERT_TRUE(ns);
  std::string mof;
  for (int i = 0; i < 250; ++i) mof += "instance of Test_Disk { Id = \"d" + std::to_string(i) + "\"; Slot = 1; };\n";
  ASSERT_TRUE(TMofLoader(ns).LoadText("more.mof", mof));
  std::unique_ptr<TNamespaceRegistry> namespaces = ServingAlone(ns);
  TRepositoryPages pages(*namespaces, "root/cimv2");
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

// A class's instances filtered by an FQL condition: what it keeps, paged
// with the filter kept; a filter that does not read or fit is answered 400
// with the engine's message, the text shown back escaped.
TEST(RepositoryPagesTest, InstancesTakeAFilter) {
  TServedPages site;
  std::string mof;
  for (int i = 0; i < 250; ++i) {
    mof += "instance of Test_Disk { Id = \"d" + std::to_string(i) + "\"; Slot = " + std::to_string(i % 2) + "; };\n";
  }
  ASSERT_TRUE(TMofLoader(site.served.namespaces->Find("root/other")->ns).LoadText("more.mof", mof));
  const std::string disks = "/class/Test_Disk/instances";
  const std::string other = "/ns/root%2Fother/class/Test_Disk/instances";
  const std::string slot1 = "?filter=Slot%20%3D%201";
  const struct {
    std::string target;
    unsigned status;
    size_t rows;
    std::vector<std::string> shows;
  } cases[] = {
      {disks + "?filter=Slot%20%3E%200", 200, 1,
       {"page 1 of 1, 1 instance kept by the filter", "sdb", "value=\"Slot &gt; 0\"",
        "<form class=\"filter\" method=\"get\" action=\"/class/Test_Disk/instances\">"}},
      {disks + "?filter=Slot+%3E+0", 200, 1, {"1 instance kept by the filter"}},
      {disks + "?filter=Id%20LIKE%20%22sd.*%22%20AND%20Kind%20%3D%203", 200, 1, {"Solid"}},
      {disks + "?filter=Slot%20%3E%209", 200, 0, {"page 1 of 1, 0 instances kept by the filter"}},
      {disks + "?filter=", 200, 2, {"page 1 of 1, 2 instances<"}},
      {"/class/Test_Element/instances?filter=Caption%20%3C%3E%20NULL", 200, 2, {"2 instances kept by the filter"}},
      {other + slot1, 200, 100,
       {"page 1 of 2, 126 instances kept by the filter",
        "<a href=\"/ns/root%2Fother/class/Test_Disk/instances?filter=Slot%20%3D%201&amp;page=2\">next</a>",
        "action=\"/ns/root%2Fother/class/Test_Disk/instances\""}},
      {other + slot1 + "&page=2", 200, 26,
       {"page 2 of 2, 126 instances kept by the filter",
        "<a href=\"/ns/root%2Fother/class/Test_Disk/instances?filter=Slot%20%3D%201&amp;page=1\">previous</a>"}},
      {other + slot1 + "&page=3", 404, 0, {"There is no page 3 of the instances of Test_Disk the filter keeps"}},
      {disks + "?filter=Slot%20%3E", 400, 0,
       {"at position 7: expected a property name or a value, found the end of the query", "value=\"Slot &gt;\""}},
      {disks + "?filter=Nope%20%3D%201", 400, 0, {"at position 1: class Test_Disk has no property &#39;Nope&#39;"}},
      {disks + "?filter=Slot%20%3D%20%27a%27", 400, 0,
       {"at position 8: expected a number to compare with uint16 property Slot, found &#39;a&#39;"}},
      {"/class/Test_Element/instances?filter=Slot%20%3D%201", 400, 0,
       {"class Test_Element has no property &#39;Slot&#39;"}},
      {disks + "?filter=%3Cscript%3Ealert(1)%3C%2Fscript%3E", 400, 0,
       {"value=\"&lt;script&gt;alert(1)&lt;/script&gt;\"", "at position 1: expected a property name or a value, found "
                                                           "&#39;&lt;&#39;"}},
      {disks + "?filter=%22%3E%3Cscript%3Ealert(1)%3C%2Fscript%3E%22%20%3D", 400, 0,
       {"value=\"&quot;&gt;&lt;script&gt;alert(1)"}},
  };
  for (const auto& c : cases) {
    std::string body;
    THttpAnswer answer = site.Answer(c.target, &body);
    EXPECT_EQ(static_cast<unsigned>(answer.status), c.status) << c.target;
    EXPECT_EQ(Count(body, "<tr><td>"), c.rows) << c.target;
    for (const std::string& shown : c.shows) EXPECT_NE(body.find(shown), std::string::npos) << c.target << ": " << shown;
    EXPECT_EQ(body.find("<script>alert"), std::string::npos) << c.target;
  }
}

// A class's methods as their MOF declared them, when the namespace's notes
// say so: parameters in order, references with their class.
TEST(RepositoryPagesTest, MethodsShowTheirDeclaredParameters) {
  const char kRunner[] = "class Test_Job { [Key] string Id; };\n"
                         "class Test_Runner { [Key] string Id;\n"
                         "  uint32 Start([In] string Zone, [In] Test_Job REF Job); };";
  const struct {
    bool notes;
    const char* method;
    const char* mof;
  } cases[] = {
      {true, "uint32 Start(string Zone, Test_Job ref Job)", "[In(TRUE)] string Zone,\n        [In(TRUE)] Test_Job REF Job"},
      {false, "uint32 Start(reference Job, string Zone)", "[In(TRUE)] Test_Runner REF Job,\n        [In(TRUE)] string Zone"},
  };
  for (const auto& c : cases) {
    boost::shared_ptr<ICIMNamespace> ns = FixtureNamespace();
    ASSERT_TRUE(ns);
    auto notes = std::make_shared<TSchemaNotes>();
    TMofLoadOptions options;
    options.notes = notes.get();
    ASSERT_TRUE(TMofLoader(ns, options).LoadText("runner.mof", kRunner));
    TNamespaceRegistry namespaces([] { return NewProviderNamespace(); });
    namespaces.Add("root/cimv2", ns, c.notes ? notes : nullptr);
    TRepositoryPages pages(namespaces, "root/cimv2");
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
