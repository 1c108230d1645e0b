// TRepositoryPages: routing, each request to its namespace; the overview,
// the class tree and the pictures.

#include "browser/repository_pages.h"

#include <ctime>
#include <map>

#include "browser/dot_renderer.h"
#include "browser/html_text.h"
#include "browser/page_frame.h"
#include "browser/page_parts.h"
#include "browser/repository_graphs.h"
#include "core/namespace_directory.h"
#include "core/printable_text.h"
#include "include/cim_instance.h"

namespace http = boost::beast::http;

namespace {

const TContext kNone;
const char kHtml[] = "text/html; charset=utf-8";

std::string_view View(boost::beast::string_view text) { return std::string_view(text.data(), text.size()); }

std::string Now() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local);
  return text;
}

}  // namespace

void TRepositoryPages::NoteLoaded(const std::string& what) { loaded_.push_back(what + ", " + Now()); }

THttpAnswer TRepositoryPages::Answer(const THttpRequest& request) {
  const bool head = request.method() == http::verb::head;
  if (request.method() != http::verb::get && !head) {
    THttpAnswer answer = TCimHttpExchange::Refusal(http::status::method_not_allowed, "the pages are only read");
    answer.headers.emplace_back("Allow", "GET, HEAD");
    return answer;
  }
  const std::string_view target = View(request.target());
  const size_t mark = target.find('?');
  TPageAddress address;
  if (!TNamespaceLinks::Read(target.substr(0, mark), &address)) return BadRequestPage(FrameOf(nullptr), "malformed address");
  const std::map<std::string, std::string> query =
      QueryValues(mark == std::string_view::npos ? std::string_view() : target.substr(mark + 1));
  const std::string& path = address.page;
  THttpAnswer answer;
  if (address.prefixed) {
    answer = Page(address.namespaceName, path, query);
  } else if (path == "/style.css") {
    answer = PageAnswer(http::status::ok, kStyleSheet, "text/css; charset=utf-8", path);
  } else if (path == "/tree.js") {
    answer = PageAnswer(http::status::ok, kTreeScript, "text/javascript; charset=utf-8", path);
  } else if (path == "/favicon.ico") {
    answer = PageAnswer(http::status::no_content, std::string(), "image/x-icon", path);  // none, and no 404 for it
  } else if (path == "/" && namespaces_.Find(defaultName_) == nullptr) {
    answer = Overview(nullptr);  // the front page stands without the default namespace
  } else {
    answer = Page(defaultName_, path, query);
  }
  if (head) answer.body = WholeBody(std::string());
  return answer;
}

THttpAnswer TRepositoryPages::Page(const std::string& namespaceName, const std::string& path,
                                   const std::map<std::string, std::string>& query) {
  const TNamespaceRegistry::TEntry* entry = namespaces_.Find(namespaceName);
  if (entry == nullptr) return NotServed(namespaceName);
  const TAt at{*entry, LinksOf(entry->name), FrameOf(entry)};
  auto value = [&](const char* name) {
    auto it = query.find(name);
    return it == query.end() ? std::string() : it->second;
  };
  auto prefixed = [&](std::string_view prefix, std::string* rest) {
    if (path.compare(0, prefix.size(), prefix) != 0) return false;
    *rest = path.substr(prefix.size());
    return true;
  };
  auto ends = [&](std::string_view suffix, std::string* rest) {
    if (rest->size() < suffix.size() || rest->compare(rest->size() - suffix.size(), suffix.size(), suffix) != 0) {
      return false;
    }
    rest->resize(rest->size() - suffix.size());
    return true;
  };
  std::string name;
  if (path == "/") return Overview(&at);
  if (path == "/classes") return ClassTree(at);
  if (path == "/instance") return InstancePage(at, value("path"));
  if (path == "/graph/instance.svg") return InstancePicture(at, value("path"), value("hops"));
  if (prefixed("/graph/class/", &name) && ends(".svg", &name)) return ClassPicture(at, name);
  if (prefixed("/class/", &name) && ends("/instances", &name)) {
    return InstancesPage(at, name, value("page"), value("filter"));
  }
  if (prefixed("/class/", &name)) return ClassPage(at, name);
  return NotFoundPage(at.frame, "There is no page " + Printable(path) + ".");
}

TFrameNamespaces TRepositoryPages::FrameOf(const TNamespaceRegistry::TEntry* current) const {
  TFrameNamespaces frame;
  for (const TNamespaceRegistry::TEntry* entry : namespaces_.Entries()) {
    TFrameNamespaces::TServed served;
    served.name = entry->name;
    served.overview = LinksOf(entry->name).Overview();
    served.interop = !interopName_.empty() &&
                     TNamespaceDirectory::Key(entry->name) == TNamespaceDirectory::Key(interopName_);
    served.current = entry == current;
    frame.served.push_back(std::move(served));
  }
  if (current != nullptr) {
    const TNamespaceLinks links = LinksOf(current->name);
    frame.current = current->name;
    frame.overview = links.Overview();
    frame.classes = links.Classes();
  }
  return frame;
}

THttpAnswer TRepositoryPages::NotServed(const std::string& namespaceName) const {
  const TFrameNamespaces frame = FrameOf(nullptr);
  std::string body = "<h1>Not found</h1><p class=\"problem\">There is no namespace " + Html(Printable(namespaceName)) +
                     " here.</p><p>The namespaces served here:</p><ul>";
  for (const TFrameNamespaces::TServed& served : frame.served) body += "<li>" + NamespaceLink(served) + "</li>";
  body += "</ul>";
  return PageAnswer(http::status::not_found, FramedPage(frame, "Not found", body), kHtml,
                    "no namespace " + Printable(namespaceName));
}

THttpAnswer TRepositoryPages::Overview(const TAt* at) {
  const TFrameNamespaces frame = at != nullptr ? at->frame : FrameOf(nullptr);
  // Every namespace with its counts; the page's own in full.
  std::string rows;
  TNamespaceCounts own;
  for (const TFrameNamespaces::TServed& served : frame.served) {
    const TNamespaceCounts counts = CountsOf(*namespaces_.Find(served.name)->ns);
    if (served.current) own = counts;
    const bool byDefault = TNamespaceDirectory::Key(served.name) == TNamespaceDirectory::Key(defaultName_);
    rows += std::string(served.current ? "<tr class=\"current\">" : "<tr>") + "<td>" + NamespaceLink(served) +
            (byDefault ? " <span class=\"badge\">default</span>" : "") + "</td><td>" +
            std::to_string(counts.classes) + "</td><td>" + std::to_string(counts.instances) + "</td></tr>\n";
  }
  std::string body;
  if (at != nullptr) {
    const std::string& name = at->entry.name;
    body = "<h1>Namespace <code>" + Html(name) + "</code></h1><div class=\"counts\">";
    const std::pair<const char*, size_t> counts[] = {
        {"classes", own.classes}, {"associations", own.associations}, {"qualifier declarations", own.qualifiers},
        {"instances", own.instances}};
    for (const auto& c : counts) body += "<div><b>" + std::to_string(c.second) + "</b>" + c.first + "</div>";
    body += "</div><p>Served to CIM clients at <code>/cimom</code> as <code>" + Html(name) + "</code>";
    for (const TFrameNamespaces::TServed& served : frame.served) {
      if (served.current && served.interop) body += ": the Interop namespace, where clients discover the server";
    }
    body += ". <a href=\"" + Html(at->links.Classes()) + "\">Browse the classes</a>.</p>";
  } else {
    body = "<h1>Repository</h1><p class=\"problem\">The namespace " + Html(defaultName_) + " is not served now.</p>";
  }
  body += "<h2>Namespaces</h2><table class=\"namespaces\"><tr><th>namespace</th><th>classes</th><th>instances</th>"
          "</tr>\n" + rows + "</table><h2>Loaded</h2><ul>";
  for (const std::string& line : loaded_) body += "<li>" + Html(line) + "</li>";
  if (loaded_.empty()) body += "<li class=\"muted\">nothing noted</li>";
  body += "</ul>";
  if (at != nullptr) body += MachineSection(at->links, *at->entry.ns);
  return PageAnswer(http::status::ok, FramedPage(frame, "Overview", body), kHtml, frame.overview);
}

THttpAnswer TRepositoryPages::ClassTree(const TAt& at) {
  std::string body =
      "<h1>Classes</h1><input id=\"filter\" type=\"search\" placeholder=\"Search by name\" autocomplete=\"off\" "
      "aria-label=\"Search classes by name\"> <span id=\"matches\" class=\"muted\"></span>\n";
  body += ClassTreeList(at.links, *at.entry.ns);
  body += "<script src=\"/tree.js\"></script>";
  return PageAnswer(http::status::ok, FramedPage(at.frame, "Classes", body), kHtml, at.links.Classes());
}

THttpAnswer TRepositoryPages::ClassPicture(const TAt& at, const std::string& name) {
  boost::shared_ptr<ICIMClass> cls = FindClassOrNull(*at.entry.ns, name);
  if (!cls) return NotFoundPage(at.frame, "There is no class named " + Printable(name) + ".");
  TGraphLimits limits;
  limits.links = &at.links;
  std::string svg, error;
  if (!RenderSvg(ClassGraph(*cls, limits), &svg, &error)) {
    return PageAnswer(http::status::service_unavailable, "the picture could not be drawn: " + error,
                      "text/plain; charset=utf-8", at.links.ClassPicture(name));
  }
  return PageAnswer(http::status::ok, std::move(svg), "image/svg+xml", at.links.ClassPicture(name));
}

THttpAnswer TRepositoryPages::InstancePicture(const TAt& at, const std::string& path, const std::string& hops) {
  std::string why;
  boost::shared_ptr<ICIMInstance> instance = FindInstanceOrNull(at.entry.ns, path, &why);
  if (!instance) return NotFoundPage(at.frame, why);
  TGraphLimits limits;
  limits.links = &at.links;
  if (!hops.empty()) {
    if (hops.size() != 1 || hops[0] < '1' || hops[0] > '4') {
      return BadRequestPage(at.frame, "hops is a number from 1 to 4, not " + Printable(hops));
    }
    limits.hops = hops[0] - '0';
  }
  std::string svg, error;
  if (!RenderSvg(InstanceGraph(*instance, limits), &svg, &error)) {
    return PageAnswer(http::status::service_unavailable, "the picture could not be drawn: " + error,
                      "text/plain; charset=utf-8", at.links.Overview() + "graph/instance.svg");
  }
  return PageAnswer(http::status::ok, std::move(svg), "image/svg+xml", at.links.Overview() + "graph/instance.svg");
}
