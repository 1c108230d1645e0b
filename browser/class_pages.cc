// TRepositoryPages: a class.

#include <set>
#include <sstream>
#include <vector>

#include "browser/html_text.h"
#include "browser/page_frame.h"
#include "browser/page_parts.h"
#include "browser/repository_pages.h"
#include "core/printable_text.h"
#include "include/cim_class.h"
#include "include/cim_instance.h"
#include "include/cim_method_decl.h"
#include "include/cim_parameter_decl.h"
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

std::string Origin(const TNamespaceLinks& links, const boost::shared_ptr<ICIMClass>& origin, const ICIMClass& cls) {
  if (!origin || origin.get() == &cls) return std::string();
  return "<span class=\"inherited\">from " + ClassLink(links, origin->GetName(kNone)) + "</span>";
}

size_t InstanceCount(ICIMClass& cls) {
  size_t count = 0;
  cls.EnumerateInstances([&](boost::shared_ptr<ICIMInstance>) { return ++count, true; }, true, kNone);
  return count;
}

}  // namespace

THttpAnswer TRepositoryPages::ClassPage(const TAt& at, const std::string& name) {
  boost::shared_ptr<ICIMClass> cls = FindClassOrNull(*at.entry.ns, name);
  if (!cls) return NotFoundPage(at.frame, "There is no class named " + Printable(name) + ".");
  const std::string& className = cls->GetName(kNone);
  std::string body = "<h1>" + Html(className) + "</h1><p>";
  if (cls->IsAbstract(kNone)) body += "<span class=\"badge\">abstract</span>";
  if (cls->IsAssociation(kNone)) body += "<span class=\"badge\">association</span>";
  std::vector<std::string> ancestors;
  for (boost::shared_ptr<ICIMClass> above = cls; !above->IsTopLevel(kNone);) {
    above = above->GetSuperClass(kNone);
    if (!above) break;
    ancestors.insert(ancestors.begin(), ClassLink(at.links, above->GetName(kNone)));
  }
  if (!ancestors.empty()) {
    body += "inherits from ";
    for (size_t i = 0; i < ancestors.size(); ++i) body += (i ? " \xE2\x80\xBA " : "") + ancestors[i];
  }
  const std::string picture = Html(at.links.ClassPicture(className));
  body += "</p><figure><a href=\"" + picture + "\"><img src=\"" + picture + "\" alt=\"Where " + Html(className) +
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
                Html(QualifierText(*decl)) + "</td><td>" + Origin(at.links, decl->GetClass(kNone), *cls) + "</td></tr>";
        return true;
      },
      kNone);
  body += "</table><h2>Methods</h2><ul>";
  cls->EnumerateMethodDecls(
      [&](boost::shared_ptr<ICIMMethodDecl> method) {
        std::string parameters;
        for (const TDeclaredParameter& p : DeclaredParameters(*method, at.entry.notes.get())) {
          const ECIMType type = p.decl->GetType(kNone);
          std::string typeText = CIMTypeName(type);
          if (!p.referenceClass.empty()) typeText = p.referenceClass + " ref" + (IsArrayType(type) ? "[]" : "");
          parameters += (parameters.empty() ? "" : ", ") + typeText + " " + p.decl->GetName(kNone);
        }
        body += "<li><code>" + Html(CIMTypeName(method->GetReturnType(kNone)) + " " + method->GetName(kNone) + "(" +
                                    parameters + ")") +
                "</code> " + Origin(at.links, method->GetClass(kNone), *cls) + "</li>";
        return true;
      },
      kNone);
  body += "</ul><h2>Subclasses</h2><ul>";
  cls->EnumerateSubclasses(
      [&](boost::shared_ptr<ICIMClass> sub) {
        body += "<li>" + ClassLink(at.links, sub->GetName(kNone)) + "</li>";
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
        body += "<li>" + ClassLink(at.links, association->GetName(kNone)) + " <span class=\"muted\">as " + Html(roles) +
                "</span></li>";
        return true;
      },
      "", "", kNone);
  const size_t instances = InstanceCount(*cls);
  body += "</ul><h2>Instances</h2><p>" + std::to_string(instances) + (instances == 1 ? " instance" : " instances") +
          " (with those of subclasses)";
  if (instances > 0) body += ": <a href=\"" + Html(at.links.Instances(className)) + "\">show them</a>";
  std::ostringstream mof;
  TMofWriter(mof, at.entry.notes.get()).WriteClass(*cls);
  body += "</p><h2>MOF</h2><pre>" + Html(mof.str()) + "</pre>";
  return PageAnswer(http::status::ok, FramedPage(at.frame, className, body), kHtml, at.links.Class(name));
}
