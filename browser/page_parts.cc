// Links, counts, property tables, the class tree and the machine section.

#include "browser/page_parts.h"

#include <vector>

#include "browser/html_text.h"
#include "core/ascii.h"
#include "core/cim_reference.h"
#include "core/collected.h"
#include "core/printable_text.h"
#include "core/tyl_exception.h"
#include "display/shown_value.h"
#include "include/cim_class.h"
#include "include/cim_instance.h"
#include "include/cim_property.h"
#include "include/cim_property_decl.h"

namespace {

const TContext kNone;

std::vector<boost::shared_ptr<ICIMClass>> Subclasses(ICIMClass& cls) {
  return Collected<ICIMClass>([&](const auto& callback) { cls.EnumerateSubclasses(callback, false, kNone); });
}

// One class and its subclasses; the loader keeps inheritance within 256
// levels, so the recursion stays shallow.
void TreeItem(const TNamespaceLinks& links, ICIMClass& cls, std::string* out) {
  const std::string& name = cls.GetName(kNone);
  std::string lower = name;
  for (char& c : lower) c = ToLowerAscii(c);
  const std::vector<boost::shared_ptr<ICIMClass>> subclasses = Subclasses(cls);
  *out += "<li data-name=\"" + Html(lower) + "\"";
  if (subclasses.empty()) {
    *out += " class=\"leaf\">" + ClassLink(links, name) + "</li>\n";
    return;
  }
  *out += "><details><summary>" + ClassLink(links, name) + " <span class=\"muted\">" + std::to_string(subclasses.size()) +
          "</span></summary><ul>\n";
  for (const auto& sub : subclasses) TreeItem(links, *sub, out);
  *out += "</ul></details></li>\n";
}

}  // namespace

boost::shared_ptr<ICIMInstance> FindInstanceOrNull(const boost::shared_ptr<ICIMNamespace>& ns,
                                                   const std::string& path, std::string* why) {
  TCIMReference reference;
  std::string error;
  if (!TCIMReference::TryParse(path, ns, &reference, &error)) {
    *why = Printable(path) + " is not an instance path (" + error + ").";
    return nullptr;
  }
  boost::shared_ptr<ICIMInstance> instance;
  try {
    instance = ns->GetInstance(reference, kNone);
  } catch (const TTYLException&) {
  }
  if (!instance) *why = "There is no instance " + Printable(path) + ".";
  return instance;
}

std::string ClassLink(const TNamespaceLinks& links, const std::string& name) {
  return "<a href=\"" + Html(links.Class(name)) + "\">" + Html(name) + "</a>";
}

std::string InstanceLink(const TNamespaceLinks& links, ICIMInstance& instance, const std::string& text) {
  return "<a href=\"" + Html(links.Instance(instance)) + "\">" +
         Html(text.empty() ? instance.GetReference(kNone).PathText() : text) + "</a>";
}

TNamespaceCounts CountsOf(ICIMNamespace& ns) {
  TNamespaceCounts counts;
  ns.GetClass("", kNone)->EnumerateSubclasses(
      [&](boost::shared_ptr<ICIMClass> cls) {
        ++counts.classes;
        if (cls->IsAssociation(kNone)) ++counts.associations;
        cls->EnumerateInstances([&](boost::shared_ptr<ICIMInstance>) { return ++counts.instances, true; }, false, kNone);
        return true;
      },
      true, kNone);
  ns.EnumerateQualifierDecls([&](boost::shared_ptr<ICIMQualifierDecl>) { return ++counts.qualifiers, true; }, kNone);
  return counts;
}

std::string PropertyTable(ICIMInstance& instance) {
  std::string rows;
  bool previous = false;
  instance.EnumerateProperties(
      [&](boost::shared_ptr<ICIMProperty> property) {
        const bool has = property->HasPrevValue();
        previous = previous || has;
        rows += "<tr><th>" + Html(property->GetDecl(kNone)->GetName(kNone)) + "</th><td class=\"value\">" +
                Html(ShownValue(*property, false)) + "</td><td class=\"value muted\">" +
                (has ? Html(ShownPrevious(*property, false)) : std::string()) + "</td></tr>\n";
        return true;
      },
      kNone);
  return std::string("<table class=\"properties\"><tr><th>property</th><th>value</th><th>") +
         (previous ? "previous" : "") + "</th></tr>\n" + rows + "</table>";
}

std::string ClassTreeList(const TNamespaceLinks& links, ICIMNamespace& ns) {
  std::string out = "<ul class=\"tree\" id=\"tree\">\n";
  for (const auto& top : Subclasses(*ns.GetClass("", kNone))) TreeItem(links, *top, &out);
  return out + "</ul>\n";
}

std::string MachineSection(const TNamespaceLinks& links, ICIMNamespace& ns) {
  boost::shared_ptr<ICIMClass> systems = FindClassOrNull(ns, "PELXA_ComputerSystem");
  if (!systems || !FindClassOrNull(ns, "PELXA_SystemComponent")) return std::string();
  std::string out;
  systems->EnumerateInstances(
      [&](boost::shared_ptr<ICIMInstance> system) {
        const TCIMReference path = system->GetReference(kNone);
        out += "<h2>This machine: " + Html(path.FindKeyValue("Name") ? path.FindKeyValue("Name")->ToString()
                                                                     : path.PathText()) +
               "</h2><div class=\"part\"><h3>" + InstanceLink(links, *system, system->GetClass(kNone)->GetName(kNone)) +
               "</h3>" + PropertyTable(*system) + "</div>";
        system->EnumerateAssociatedInstances(
            [&](boost::shared_ptr<ICIMInstance> part) {
              out += "<div class=\"part\"><h3>" +
                     InstanceLink(links, *part, part->GetClass(kNone)->GetName(kNone)) + "</h3>" +
                     PropertyTable(*part) + "</div>";
              return true;
            },
            "PELXA_SystemComponent", "", "", "", kNone);
        return true;
      },
      true, kNone);
  return out;
}
