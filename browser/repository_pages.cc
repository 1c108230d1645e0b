// TRepositoryPages: routing, the overview, the class tree and the pictures.

#include "browser/repository_pages.h"

#include <ctime>
#include <map>

#include "browser/dot_renderer.h"
#include "browser/html_text.h"
#include "browser/page_frame.h"
#include "browser/page_parts.h"
#include "browser/repository_graphs.h"
#include "core/printable_text.h"
#include "core/tyl_exception.h"
#include "include/cim_class.h"
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
  std::string path;
  if (!UrlDecoded(target.substr(0, mark), &path)) return BadRequestPage(namespaceName_, "malformed address");
  std::map<std::string, std::string> query =
      QueryValues(mark == std::string_view::npos ? std::string_view() : target.substr(mark + 1));
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
  THttpAnswer answer;
  std::string name;
  if (path == "/") {
    answer = Overview();
  } else if (path == "/classes") {
    answer = ClassTree();
  } else if (path == "/style.css") {
    answer = PageAnswer(http::status::ok, kStyleSheet, "text/css; charset=utf-8", path);
  } else if (path == "/tree.js") {
    answer = PageAnswer(http::status::ok, kTreeScript, "text/javascript; charset=utf-8", path);
  } else if (path == "/favicon.ico") {
    answer = PageAnswer(http::status::no_content, std::string(), "image/x-icon", path);  // none, and no 404 for it
  } else if (path == "/instance") {
    answer = InstancePage(query["path"]);
  } else if (path == "/graph/instance.svg") {
    answer = InstancePicture(query["path"], query["hops"]);
  } else if (prefixed("/graph/class/", &name) && ends(".svg", &name)) {
    answer = ClassPicture(name);
  } else if (prefixed("/class/", &name) && ends("/instances", &name)) {
    answer = InstancesPage(name, query["page"]);
  } else if (prefixed("/class/", &name)) {
    answer = ClassPage(name);
  } else {
    answer = NotFoundPage(namespaceName_, "There is no page " + Printable(path) + ".");
  }
  if (head) answer.body = WholeBody(std::string());
  return answer;
}

THttpAnswer TRepositoryPages::Overview() {
  size_t classes = 0, associations = 0, qualifiers = 0, instances = 0;
  ns_->GetClass("", kNone)->EnumerateSubclasses(
      [&](boost::shared_ptr<ICIMClass> cls) {
        ++classes;
        if (cls->IsAssociation(kNone)) ++associations;
        cls->EnumerateInstances([&](boost::shared_ptr<ICIMInstance>) { return ++instances, true; }, false, kNone);
        return true;
      },
      true, kNone);
  ns_->EnumerateQualifierDecls([&](boost::shared_ptr<ICIMQualifierDecl>) { return ++qualifiers, true; }, kNone);
  std::string body = "<h1>Repository</h1><div class=\"counts\">";
  const std::pair<const char*, size_t> counts[] = {
      {"classes", classes}, {"associations", associations}, {"qualifier declarations", qualifiers},
      {"instances", instances}};
  for (const auto& c : counts) body += "<div><b>" + std::to_string(c.second) + "</b>" + c.first + "</div>";
  body += "</div><p>Namespace <code>" + Html(namespaceName_) + "</code>, served to CIM clients at <code>/cimom</code>. "
          "<a href=\"/classes\">Browse the classes</a>.</p><h2>Loaded</h2><ul>";
  for (const std::string& line : loaded_) body += "<li>" + Html(line) + "</li>";
  if (loaded_.empty()) body += "<li class=\"muted\">nothing noted</li>";
  body += "</ul>" + MachineSection(*ns_);
  return PageAnswer(http::status::ok, FramedPage(namespaceName_, "Overview", body), kHtml, "/");
}

THttpAnswer TRepositoryPages::ClassTree() {
  std::string body =
      "<h1>Classes</h1><input id=\"filter\" type=\"search\" placeholder=\"Search by name\" autocomplete=\"off\" "
      "aria-label=\"Search classes by name\"> <span id=\"matches\" class=\"muted\"></span>\n";
  body += ClassTreeList(*ns_);
  body += "<script src=\"/tree.js\"></script>";
  return PageAnswer(http::status::ok, FramedPage(namespaceName_, "Classes", body), kHtml, "/classes");
}

THttpAnswer TRepositoryPages::ClassPicture(const std::string& name) {
  boost::shared_ptr<ICIMClass> cls = FindClassOrNull(*ns_, name);
  if (!cls) return NotFoundPage(namespaceName_, "There is no class named " + Printable(name) + ".");
  TGraphLimits limits;
  limits.links = true;
  std::string svg, error;
  if (!RenderSvg(ClassGraph(*cls, limits), &svg, &error)) {
    return PageAnswer(http::status::service_unavailable, "the picture could not be drawn: " + error,
                      "text/plain; charset=utf-8", "/graph/class/" + name);
  }
  return PageAnswer(http::status::ok, std::move(svg), "image/svg+xml", "/graph/class/" + name);
}

THttpAnswer TRepositoryPages::InstancePicture(const std::string& path, const std::string& hops) {
  std::string why;
  boost::shared_ptr<ICIMInstance> instance = FindInstanceOrNull(ns_, path, &why);
  if (!instance) return NotFoundPage(namespaceName_, why);
  TGraphLimits limits;
  limits.links = true;
  if (!hops.empty()) {
    if (hops.size() != 1 || hops[0] < '1' || hops[0] > '4') {
      return BadRequestPage(namespaceName_, "hops is a number from 1 to 4, not " + Printable(hops));
    }
    limits.hops = hops[0] - '0';
  }
  std::string svg, error;
  if (!RenderSvg(InstanceGraph(*instance, limits), &svg, &error)) {
    return PageAnswer(http::status::service_unavailable, "the picture could not be drawn: " + error,
                      "text/plain; charset=utf-8", "/graph/instance.svg");
  }
  return PageAnswer(http::status::ok, std::move(svg), "image/svg+xml", "/graph/instance.svg");
}
