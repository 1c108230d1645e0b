// TRepositoryPages: one instance, and what is associated with it.

#include <map>
#include <utility>
#include <vector>

#include "browser/association_ends.h"
#include "browser/html_text.h"
#include "browser/page_frame.h"
#include "browser/page_parts.h"
#include "browser/repository_pages.h"
#include "core/cim_reference.h"
#include "include/cim_class.h"
#include "include/cim_instance.h"
#include "include/cim_property.h"
#include "include/cim_property_decl.h"

namespace http = boost::beast::http;

namespace {

const TContext kNone;
const char kHtml[] = "text/html; charset=utf-8";

}  // namespace

THttpAnswer TRepositoryPages::InstancePage(const TAt& at, const std::string& pathText) {
  std::string why;
  boost::shared_ptr<ICIMInstance> instance = FindInstanceOrNull(at.entry.ns, pathText, &why);
  if (!instance) return NotFoundPage(at.frame, why);
  const TCIMReference path = instance->GetReference(kNone);
  const std::string& className = instance->GetClass(kNone)->GetName(kNone);
  const std::string picture = Html(at.links.InstancePicture(*instance));
  std::string body = "<h1>" + ClassLink(at.links, className) + "</h1><p><code>" + Html(path.PathText()) +
                     "</code></p><figure><a href=\"" + picture + "&amp;hops=2\"><img src=\"" + picture +
                     "&amp;hops=1\" alt=\"What " + Html(path.PathText()) +
                     " is associated with\"></a></figure><h2>Properties</h2>" + PropertyTable(*instance);

  // The far ends of the associations that point at this instance, grouped
  // by the association's class and the role the far end plays in it; each
  // far end with the association that leads to it.
  typedef boost::shared_ptr<ICIMInstance> TInstance;
  std::map<std::pair<std::string, std::string>, std::vector<std::pair<TInstance, TInstance>>> groups;
  instance->EnumerateAssociationInstances(
      [&](TInstance association) {
        const std::string& className = association->GetClass(kNone)->GetName(kNone);
        VisitAssociationEnds(*association, [&](const std::string& role, const TInstance& end) {
          if (end.get() != instance.get()) groups[{className, role}].emplace_back(end, association);
        });
        return true;
      },
      "", "", kNone);
  body += "<h2>Associated instances</h2>";
  if (groups.empty()) body += "<p class=\"muted\">none</p>";
  for (const auto& group : groups) {
    body += "<h3>" + ClassLink(at.links, group.first.first) + " <span class=\"muted\">as " + Html(group.first.second) +
            "</span></h3><ul>";
    for (const auto& end : group.second) {
      body += "<li>" + InstanceLink(at.links, *end.first) + " <span class=\"muted\">(" +
              InstanceLink(at.links, *end.second, "through") + ")</span></li>";
    }
    body += "</ul>";
  }
  return PageAnswer(http::status::ok, FramedPage(at.frame, className, body), kHtml, at.links.Overview() + "instance");
}
