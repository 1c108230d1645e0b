// TRepositoryPages: a class's instances, a page at a time, and of them those
// a DMTF:FQL condition keeps.

#include <vector>

#include "browser/html_text.h"
#include "browser/page_frame.h"
#include "browser/page_parts.h"
#include "browser/repository_pages.h"
#include "core/collected.h"
#include "core/printable_text.h"
#include "core/tyl_exception.h"
#include "display/shown_value.h"
#include "include/cim_class.h"
#include "include/cim_instance.h"
#include "include/cim_property.h"
#include "include/cim_property_decl.h"
#include "query/bound_query.h"

namespace http = boost::beast::http;

namespace {

const TContext kNone;
const char kHtml[] = "text/html; charset=utf-8";

// "Id=sda, Slot=0": an instance's keys, for a link's text.
std::string KeysText(const TCIMReference& path) {
  std::string text;
  for (const auto& key : path.GetKeyBindings()) {
    text += (text.empty() ? "" : ", ") + key.first + "=" + key.second.ToString();
  }
  return text.empty() ? path.GetClassName() : text;
}

// The instances of `cls` and its subclasses that `filter` keeps, or all of
// them without a filter, in the order the class enumerates them. Throws
// TQueryError when the filter does not read as FQL or does not fit the
// class.
std::vector<boost::shared_ptr<ICIMInstance>> Kept(const boost::shared_ptr<ICIMNamespace>& ns, ICIMClass& cls,
                                                  const std::string& filter) {
  if (filter.empty()) {
    return Collected<ICIMInstance>([&](const auto& callback) { cls.EnumerateInstances(callback, true, kNone); });
  }
  const TBoundQuery query =
      TBoundQuery::Bind(TParsedQuery::Parse(EQueryLanguage::kFql, filter), ns, cls.GetName(kNone));
  return Collected<ICIMInstance>([&](const auto& callback) { query.EnumerateMatches(callback); });
}

// The form that asks for `filter` on the list at `list`; sending it starts
// again at the first page.
std::string FilterForm(const std::string& list, const std::string& filter) {
  std::string form = "<form class=\"filter\" method=\"get\" action=\"" + Html(list) +
                     "\"><label for=\"condition\">Filter (DMTF:FQL)</label><input id=\"condition\" name=\"filter\" "
                     "type=\"text\" value=\"" + Html(filter) + "\" placeholder=\"Slot &gt; 1 AND Id LIKE &quot;sd.*"
                     "&quot;\" autocomplete=\"off\" spellcheck=\"false\"><button type=\"submit\">Filter</button>";
  if (!filter.empty()) form += "<a href=\"" + Html(list) + "\">all instances</a>";
  return form + "</form>";
}

std::string Counted(size_t n, bool filtered) {
  return std::to_string(n) + (n == 1 ? " instance" : " instances") + (filtered ? " kept by the filter" : "");
}

}  // namespace

THttpAnswer TRepositoryPages::InstancesPage(const TAt& at, const std::string& name, const std::string& pageText,
                                            const std::string& filterText) {
  boost::shared_ptr<ICIMClass> cls = FindClassOrNull(*at.entry.ns, name);
  if (!cls) return NotFoundPage(at.frame, "There is no class named " + Printable(name) + ".");
  size_t page = 1;
  if (!pageText.empty()) {
    if (pageText.size() > 9 || pageText.find_first_not_of("0123456789") != std::string::npos ||
        std::stoul(pageText) == 0) {
      return BadRequestPage(at.frame, "page is a number from 1, not " + Printable(pageText));
    }
    page = std::stoul(pageText);
  }
  // A filter of blanks alone, as an emptied form sends, is no filter.
  const bool filtered = filterText.find_first_not_of(" \t\r\n") != std::string::npos;
  const std::string filter = filtered ? filterText : std::string();
  const std::string& className = cls->GetName(kNone);
  const std::string list = at.links.Instances(className);
  const std::string heading = "<h1>Instances of " + ClassLink(at.links, className) + "</h1>" + FilterForm(list, filter);
  std::vector<boost::shared_ptr<ICIMInstance>> instances;
  try {
    instances = Kept(at.entry.ns, *cls, filter);
  } catch (const TQueryError& e) {
    // The engine's message says where in the text and what it expected.
    return PageAnswer(http::status::bad_request,
                      FramedPage(at.frame, "Instances of " + className,
                                 heading + "<p class=\"problem\">The filter is not one this class takes: " +
                                     Html(e.what()) + "</p>"),
                      kHtml, list);
  }
  const size_t pages = instances.empty() ? 1 : (instances.size() + kPageSize - 1) / kPageSize;
  if (page > pages) {
    return NotFoundPage(at.frame, "There is no page " + std::to_string(page) + " of the instances of " + className +
                                      (filtered ? " the filter keeps" : "") + ": they fill " +
                                      std::to_string(pages) + ".");
  }
  std::vector<std::string> columns;
  cls->EnumeratePropertyDecls([&](boost::shared_ptr<ICIMPropertyDecl> d) { return columns.push_back(d->GetName(kNone)), true; },
                              kNone);
  // Each page's address keeps the filter.
  const std::string base = Html(list + "?" + (filtered ? "filter=" + UrlEncoded(filter) + "&" : "") + "page=");
  std::string nav = "<nav class=\"pages\">";
  if (page > 1) nav += "<a href=\"" + base + "1\">first</a><a href=\"" + base + std::to_string(page - 1) + "\">previous</a>";
  nav += "<span>page " + std::to_string(page) + " of " + std::to_string(pages) + ", " +
         Counted(instances.size(), filtered) + "</span>";
  if (page < pages) {
    nav += "<a href=\"" + base + std::to_string(page + 1) + "\">next</a><a href=\"" + base + std::to_string(pages) +
           "\">last</a>";
  }
  nav += "</nav>";
  std::string body = heading + nav + "<table><tr><th>instance</th>";
  for (const std::string& column : columns) body += "<th>" + Html(column) + "</th>";
  body += "</tr>\n";
  const size_t first = (page - 1) * kPageSize;
  for (size_t i = first; i < instances.size() && i < first + kPageSize; ++i) {
    ICIMInstance& instance = *instances[i];
    body += "<tr><td>" + InstanceLink(at.links, instance, KeysText(instance.GetReference(kNone))) + "</td>";
    for (const std::string& column : columns) {
      std::string shown;
      try {
        shown = ShownValue(*instance.GetProperty(column, kNone), false);
      } catch (const TTYLException&) {
      }
      body += "<td class=\"value\">" + Html(shown) + "</td>";
    }
    body += "</tr>\n";
  }
  body += "</table>" + nav;
  return PageAnswer(http::status::ok, FramedPage(at.frame, "Instances of " + className, body), kHtml, list);
}
