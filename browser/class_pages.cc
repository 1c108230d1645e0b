// TRepositoryPages: a class, and its instances a page at a time.

#include <set>
#include <sstream>
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
#include "include/cim_method_decl.h"
#include "include/cim_parameter_decl.h"
#include "include/cim_property.h"
#include "include/cim_property_decl.h"
#include "include/cim_qualifier.h"
#include "mof/mof_writer.h"

namespace http = boost::beast::http;

namespace {

const TContext kNone;
const char kHtml[] = "text/html; charset=utf-8";

// "uint16", "string[]", "CIM_System ref".
std::string TypeText(ECIMType type, const TCIMValue& prototype) {
  if (ElementTypeOf(type) != kCIMTypeReference) return CIMTypeName(type);
  boost::shared_ptr<ICIMClass> target = prototype.IsReference() ? prototype.GetReferencedClass() : nullptr;
  return (target ? target->GetName(kNone) + " " : std::string()) + "ref";
}

// "Key, Units(\"Bytes\")": the qualifiers of an element, as MOF writes them.
std::string QualifierText(const ICIMNamedElement& element) {
  std::string text;
  element.EnumerateQualifiers(
      [&](boost::shared_ptr<ICIMQualifier> q) {
        const TCIMValue& value = q->GetValue(kNone);
        text += (text.empty() ? "" : ", ") + q->GetName(kNone);
        const bool plainTrue = value.GetType() == kCIMTypeBoolean && !value.IsNull() && static_cast<bool>(value);
        if (!plainTrue) text += "(" + MofLiteral(value) + ")";
        return true;
      },
      kNone);
  return text;
}

std::string Origin(const boost::shared_ptr<ICIMClass>& origin, const ICIMClass& cls) {
  if (!origin || origin.get() == &cls) return std::string();
  return "<span class=\"inherited\">from " + ClassLink(origin->GetName(kNone)) + "</span>";
}

size_t InstanceCount(ICIMClass& cls) {
  size_t count = 0;
  cls.EnumerateInstances([&](boost::shared_ptr<ICIMInstance>) { return ++count, true; }, true, kNone);
  return count;
}

// "Id=sda, Slot=0": an instance's keys, for a link's text.
std::string KeysText(const TCIMReference& path) {
  std::string text;
  for (const auto& key : path.GetKeyBindings()) {
    text += (text.empty() ? "" : ", ") + key.first + "=" + key.second.ToString();
  }
  return text.empty() ? path.GetClassName() : text;
}

}  // namespace

THttpAnswer TRepositoryPages::ClassPage(const std::string& name) {
  boost::shared_ptr<ICIMClass> cls = FindClassOrNull(*ns_, name);
  if (!cls) return NotFoundPage(namespaceName_, "There is no class named " + Printable(name) + ".");
  const std::string& className = cls->GetName(kNone);
  std::string body = "<h1>" + Html(className) + "</h1><p>";
  if (cls->IsAbstract(kNone)) body += "<span class=\"badge\">abstract</span>";
  if (cls->IsAssociation(kNone)) body += "<span class=\"badge\">association</span>";
  std::vector<std::string> ancestors;
  for (boost::shared_ptr<ICIMClass> at = cls; !at->IsTopLevel(kNone);) {
    at = at->GetSuperClass(kNone);
    if (!at) break;
    ancestors.insert(ancestors.begin(), ClassLink(at->GetName(kNone)));
  }
  if (!ancestors.empty()) {
    body += "inherits from ";
    for (size_t i = 0; i < ancestors.size(); ++i) body += (i ? " \xE2\x80\xBA " : "") + ancestors[i];
  }
  body += "</p><figure><a href=\"/graph/class/" + UrlEncoded(className) + ".svg\"><img src=\"/graph/class/" +
          UrlEncoded(className) + ".svg\" alt=\"Where " + Html(className) +
          " stands: its ancestors, subclasses and associations\"></a></figure>";

  body += "<h2>Qualifiers</h2><table><tr><th>qualifier</th><th>value</th><th></th></tr>";
  cls->EnumerateQualifiers(
      [&](boost::shared_ptr<ICIMQualifier> q) {
        body += "<tr><th>" + Html(q->GetName(kNone)) + "</th><td class=\"value\">" +
                Html(MofLiteral(q->GetValue(kNone))) + "</td><td class=\"inherited\">" +
                (q->IsPropagated(kNone) ? "inherited" : "") + "</td></tr>";
        return true;
      },
      kNone);
  body += "</table><h2>Properties</h2><table><tr><th>property</th><th>type</th><th>default</th>"
          "<th>qualifiers</th><th></th></tr>";
  cls->EnumeratePropertyDecls(
      [&](boost::shared_ptr<ICIMPropertyDecl> decl) {
        const TCIMValue& prototype = decl->GetDefaultValue(kNone);
        body += "<tr><th>" + Html(decl->GetName(kNone)) + "</th><td>" +
                Html(TypeText(decl->GetType(kNone), prototype)) + "</td><td class=\"value\">" +
                (prototype.IsNull() ? std::string() : Html(MofLiteral(prototype))) + "</td><td>" +
                Html(QualifierText(*decl)) + "</td><td>" + Origin(decl->GetClass(kNone), *cls) + "</td></tr>";
        return true;
      },
      kNone);
  body += "</table><h2>Methods</h2><ul>";
  cls->EnumerateMethodDecls(
      [&](boost::shared_ptr<ICIMMethodDecl> method) {
        std::string parameters;
        for (const TDeclaredParameter& p : DeclaredParameters(*method, notes_.get())) {
          const ECIMType type = p.decl->GetType(kNone);
          std::string typeText = CIMTypeName(type);
          if (!p.referenceClass.empty()) typeText = p.referenceClass + " ref" + (IsArrayType(type) ? "[]" : "");
          parameters += (parameters.empty() ? "" : ", ") + typeText + " " + p.decl->GetName(kNone);
        }
        body += "<li><code>" + Html(CIMTypeName(method->GetReturnType(kNone)) + " " + method->GetName(kNone) + "(" +
                                    parameters + ")") +
                "</code> " + Origin(method->GetClass(kNone), *cls) + "</li>";
        return true;
      },
      kNone);
  body += "</ul><h2>Subclasses</h2><ul>";
  cls->EnumerateSubclasses(
      [&](boost::shared_ptr<ICIMClass> sub) {
        body += "<li>" + ClassLink(sub->GetName(kNone)) + "</li>";
        return true;
      },
      false, kNone);
  body += "</ul><h2>Associations</h2><ul>";
  std::set<const ICIMClass*> seen;
  cls->EnumerateAssociationClasses(
      [&](boost::shared_ptr<ICIMClass> association) {
        if (!seen.insert(association.get()).second) return true;
        std::string roles;
        association->EnumeratePropertyDecls(
            [&](boost::shared_ptr<ICIMPropertyDecl> decl) {
              const TCIMValue& prototype = decl->GetDefaultValue(kNone);
              boost::shared_ptr<ICIMClass> target = prototype.IsReference() ? prototype.GetReferencedClass() : nullptr;
              if (target && cls->IsSubclassOf(target, kNone)) roles += (roles.empty() ? "" : ", ") + decl->GetName(kNone);
              return true;
            },
            kNone);
        body += "<li>" + ClassLink(association->GetName(kNone)) + " <span class=\"muted\">as " + Html(roles) +
                "</span></li>";
        return true;
      },
      "", "", kNone);
  const size_t instances = InstanceCount(*cls);
  body += "</ul><h2>Instances</h2><p>" + std::to_string(instances) + (instances == 1 ? " instance" : " instances") +
          " (with those of subclasses)";
  if (instances > 0) body += ": <a href=\"/class/" + UrlEncoded(className) + "/instances\">show them</a>";
  std::ostringstream mof;
  TMofWriter(mof, notes_.get()).WriteClass(*cls);
  body += "</p><h2>MOF</h2><pre>" + Html(mof.str()) + "</pre>";
  return PageAnswer(http::status::ok, FramedPage(namespaceName_, className, body), kHtml, "/class/" + name);
}

THttpAnswer TRepositoryPages::InstancesPage(const std::string& name, const std::string& pageText) {
  boost::shared_ptr<ICIMClass> cls = FindClassOrNull(*ns_, name);
  if (!cls) return NotFoundPage(namespaceName_, "There is no class named " + Printable(name) + ".");
  size_t page = 1;
  if (!pageText.empty()) {
    if (pageText.size() > 9 || pageText.find_first_not_of("0123456789") != std::string::npos ||
        std::stoul(pageText) == 0) {
      return BadRequestPage(namespaceName_, "page is a number from 1, not " + Printable(pageText));
    }
    page = std::stoul(pageText);
  }
  const std::vector<boost::shared_ptr<ICIMInstance>> instances =
      Collected<ICIMInstance>([&](const auto& callback) { cls->EnumerateInstances(callback, true, kNone); });
  const size_t pages = instances.empty() ? 1 : (instances.size() + kPageSize - 1) / kPageSize;
  const std::string& className = cls->GetName(kNone);
  if (page > pages) {
    return NotFoundPage(namespaceName_, "There is no page " + std::to_string(page) + " of the instances of " +
                                            className + ": they fill " + std::to_string(pages) + ".");
  }
  std::vector<std::string> columns;
  cls->EnumeratePropertyDecls([&](boost::shared_ptr<ICIMPropertyDecl> d) { return columns.push_back(d->GetName(kNone)), true; },
                              kNone);
  const std::string base = "/class/" + UrlEncoded(className) + "/instances?page=";
  std::string nav = "<nav class=\"pages\">";
  if (page > 1) nav += "<a href=\"" + base + "1\">first</a><a href=\"" + base + std::to_string(page - 1) + "\">previous</a>";
  nav += "<span>page " + std::to_string(page) + " of " + std::to_string(pages) + ", " +
         std::to_string(instances.size()) + " instances</span>";
  if (page < pages) {
    nav += "<a href=\"" + base + std::to_string(page + 1) + "\">next</a><a href=\"" + base + std::to_string(pages) +
           "\">last</a>";
  }
  nav += "</nav>";
  std::string body = "<h1>Instances of " + ClassLink(className) + "</h1>" + nav + "<table><tr><th>instance</th>";
  for (const std::string& column : columns) body += "<th>" + Html(column) + "</th>";
  body += "</tr>\n";
  const size_t first = (page - 1) * kPageSize;
  for (size_t i = first; i < instances.size() && i < first + kPageSize; ++i) {
    ICIMInstance& instance = *instances[i];
    const TCIMReference path = instance.GetReference(kNone);
    body += "<tr><td>" + InstanceLink(path, KeysText(path)) + "</td>";
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
  return PageAnswer(http::status::ok, FramedPage(namespaceName_, "Instances of " + className, body), kHtml,
                    "/class/" + name + "/instances");
}
