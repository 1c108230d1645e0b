// ClassGraph and InstanceGraph: walks of the repository written as DOT.

#include "browser/repository_graphs.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <set>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "browser/association_ends.h"
#include "browser/namespace_links.h"
#include "core/ascii.h"
#include "core/tyl_exception.h"
#include "core/utf8.h"
#include "include/cim_class.h"
#include "include/cim_instance.h"
#include "include/cim_property.h"
#include "include/cim_property_decl.h"

namespace {

const TContext kNone;
const size_t kMaxLabel = 60;

// A DOT string: quotes and backslashes escaped, line breaks as \n, other
// control characters as blanks; a label is cut to a length a picture can
// show.
std::string Quoted(std::string_view text, size_t maxLength = kMaxLabel) {
  std::string valid = WithValidUtf8(text);
  if (valid.size() > maxLength) valid = valid.substr(0, maxLength - 3) + "...";
  std::string out = "\"";
  for (char c : valid) {
    if (c == '"' || c == '\\') {
      out += '\\';
      out += c;
    } else if (c == '\n') {
      out += "\\n";
    } else if (static_cast<unsigned char>(c) < 0x20) {
      out += ' ';
    } else {
      out += c;
    }
  }
  return out + "\"";
}

// A graph being written: nodes by key, each added once while the cap
// allows; what the cap leaves out is counted for the note.
class TDot {
 public:
  TDot(const TGraphLimits& limits, const char* direction) : limits_(limits) {
    text_ = std::string("digraph repository {\n  rankdir=") + direction +
            ";\n  node [shape=box, style=\"rounded,filled\", fillcolor=\"#eef3f8\", color=\"#5b7896\", "
            "fontname=\"Helvetica\", fontsize=10];\n  edge [fontname=\"Helvetica\", fontsize=9, color=\"#5b7896\"];\n";
  }

  // The node's id, adding it when it is new; empty when the cap is reached.
  // `link` makes the address of its page, called only when the picture
  // links its nodes.
  std::string Node(const std::string& key, const std::string& label,
                   const std::function<std::string(const TNamespaceLinks&)>& link, const char* style = nullptr) {
    auto known = ids_.find(key);
    if (known != ids_.end()) return known->second;
    if (ids_.size() >= limits_.maxNodes) {
      leftOut_.insert(key);
      return std::string();
    }
    const std::string id = "n" + std::to_string(ids_.size());
    ids_[key] = id;
    text_ += "  " + id + " [label=" + Quoted(label);
    if (limits_.links != nullptr) text_ += ", URL=" + Quoted(link(*limits_.links), std::string::npos);
    if (style != nullptr) text_ += std::string(", ") + style;
    text_ += "];\n";
    return id;
  }
  bool Has(const std::string& key) const { return ids_.count(key) > 0; }
  // Counts `key` as left out without trying it (a part of the picture that
  // has a cap of its own).
  void LeaveOut(const std::string& key) { leftOut_.insert(key); }

  void Edge(const std::string& from, const std::string& to, const std::string& label, const char* style = nullptr) {
    if (from.empty() || to.empty()) return;
    text_ += "  " + from + " -> " + to + " [";
    if (!label.empty()) text_ += "label=" + Quoted(label);
    if (style != nullptr) text_ += std::string(label.empty() ? "" : ", ") + style;
    text_ += "];\n";
  }

  std::string Text() const {
    std::string text = text_;
    if (!leftOut_.empty()) {
      text += "  note [shape=note, fillcolor=\"#fff4d6\", label=" +
              Quoted("cut at " + std::to_string(limits_.maxNodes) + " nodes: " + std::to_string(leftOut_.size()) +
                     " more left out") +
              "];\n";
    }
    return text + "}\n";
  }

 private:
  const TGraphLimits& limits_;
  std::string text_;
  std::map<std::string, std::string> ids_;
  std::set<std::string> leftOut_;
};

const char kFocus[] = "fillcolor=\"#ffd98a\", penwidth=2";
// A class's picture shows at most this many subclasses and associations
// each, so that one much-referenced class does not make it unreadably wide.
const size_t kMaxPerGroup = 8;
const char kInherits[] = "arrowhead=empty";
const char kAssociation[] = "shape=hexagon, fillcolor=\"#e6f2e6\"";

std::string ClassNode(TDot& dot, ICIMClass& cls, const char* style = nullptr) {
  const std::string& name = cls.GetName(kNone);
  return dot.Node("class:" + LowerAscii(name), name, [&](const TNamespaceLinks& links) { return links.Class(name); }, style);
}

// "Test_Disk\nId=sda, Slot=0": the class and the keys of an instance.
std::string InstanceLabel(const TCIMReference& path) {
  std::string keys;
  for (const auto& key : path.GetKeyBindings()) {
    keys += (keys.empty() ? "" : ", ") + key.first + "=" +
            (key.second.IsReference() ? key.second.GetReference().GetClassName() : key.second.ToString());
  }
  return path.GetClassName() + (keys.empty() ? "" : "\n" + keys);
}

// An instance's node key: its path within its namespace, and which
// namespace that is, since an association may reach into another namespace
// where an instance has the same path.
std::string InstanceKey(ICIMInstance& instance) {
  const ICIMNamespace* ns = instance.GetClass(kNone)->GetNamespace(kNone).get();
  return "instance:" + std::to_string(reinterpret_cast<uintptr_t>(ns)) + ":" +
         instance.GetReference(kNone).PathText();
}

}  // namespace

std::string ClassGraph(ICIMClass& cls, const TGraphLimits& limits) {
  TDot dot(limits, "BT");
  std::string below = ClassNode(dot, cls, kFocus);
  for (boost::shared_ptr<ICIMClass> at(&cls, [](ICIMClass*) {}); !at->IsTopLevel(kNone);) {
    at = at->GetSuperClass(kNone);
    if (!at) break;
    const std::string id = ClassNode(dot, *at);
    dot.Edge(below, id, "", kInherits);
    below = id;
  }
  const std::string focus = ClassNode(dot, cls);
  size_t subclasses = 0;
  cls.EnumerateSubclasses(
      [&](boost::shared_ptr<ICIMClass> sub) {
        if (++subclasses > kMaxPerGroup) {
          dot.LeaveOut("class:" + LowerAscii(sub->GetName(kNone)));
        } else {
          dot.Edge(ClassNode(dot, *sub), focus, "", kInherits);
        }
        return true;
      },
      false, kNone);
  // The associations that reference this very class (those of its
  // ancestors are in their own pictures).
  std::vector<boost::shared_ptr<ICIMClass>> associations;
  std::set<const ICIMClass*> seen;
  cls.EnumerateAssociationClasses(
      [&](boost::shared_ptr<ICIMClass> a) {
        if (!seen.insert(a.get()).second) return true;
        bool referencesThis = false;
        a->EnumeratePropertyDecls(
            [&](boost::shared_ptr<ICIMPropertyDecl> decl) {
              const TCIMValue& prototype = decl->GetDefaultValue(kNone);
              referencesThis = referencesThis || (prototype.IsReference() && prototype.GetReferencedClass().get() == &cls);
              return true;
            },
            kNone);
        if (!referencesThis) return true;
        if (associations.size() >= kMaxPerGroup) {
          dot.LeaveOut("class:" + LowerAscii(a->GetName(kNone)));
        } else {
          associations.push_back(a);
        }
        return true;
      },
      "", "", kNone);
  for (const auto& association : associations) {
    const std::string id = ClassNode(dot, *association, kAssociation);
    if (id.empty()) continue;
    association->EnumeratePropertyDecls(
        [&](boost::shared_ptr<ICIMPropertyDecl> decl) {
          const TCIMValue& prototype = decl->GetDefaultValue(kNone);
          if (!prototype.IsReference()) return true;
          if (boost::shared_ptr<ICIMClass> target = prototype.GetReferencedClass()) {
            dot.Edge(id, ClassNode(dot, *target), decl->GetName(kNone), "arrowhead=vee, style=dashed");
          }
          return true;
        },
        kNone);
  }
  return dot.Text();
}

std::string InstanceGraph(ICIMInstance& start, const TGraphLimits& limits) {
  TDot dot(limits, "LR");
  const boost::shared_ptr<ICIMNamespace> home = start.GetClass(kNone)->GetNamespace(kNone);
  auto node = [&](ICIMInstance& instance, const char* style = nullptr) {
    std::string label = InstanceLabel(instance.GetReference(kNone));
    // An instance that an association reaches in another namespace says
    // where it is, when the namespaces are known.
    if (limits.links != nullptr && instance.GetClass(kNone)->GetNamespace(kNone) != home) {
      label += "\nin " + limits.links->NamespaceOf(instance);
    }
    return dot.Node(InstanceKey(instance), label,
                    [&](const TNamespaceLinks& links) { return links.Instance(instance); }, style);
  };
  node(start, kFocus);
  std::deque<std::pair<boost::shared_ptr<ICIMInstance>, int>> queue;
  queue.emplace_back(boost::shared_ptr<ICIMInstance>(&start, [](ICIMInstance*) {}), 0);
  std::set<const ICIMInstance*> walked;
  std::set<const ICIMInstance*> drawn;  // associations
  while (!queue.empty()) {
    auto [instance, depth] = queue.front();
    queue.pop_front();
    if (depth >= limits.hops || !walked.insert(instance.get()).second) continue;
    std::vector<boost::shared_ptr<ICIMInstance>> associations;
    instance->EnumerateAssociationInstances(
        [&](boost::shared_ptr<ICIMInstance> a) {
          if (drawn.insert(a.get()).second) associations.push_back(a);
          return true;
        },
        "", "", kNone);
    for (const auto& association : associations) {
      // The ends: each reference that leads to an instance, with its role.
      std::vector<std::pair<std::string, std::string>> ends;  // role, node id
      bool cut = false;  // an end left out by the cap: the association is not drawn
      VisitAssociationEnds(*association, [&](const std::string& role, const boost::shared_ptr<ICIMInstance>& end) {
        const bool known = dot.Has(InstanceKey(*end));
        const std::string id = node(*end);
        if (id.empty()) {
          cut = true;
          return;
        }
        if (!known) queue.emplace_back(end, depth + 1);
        ends.emplace_back(role, id);
      });
      if (cut) continue;
      const std::string className = association->GetClass(kNone)->GetName(kNone);
      if (ends.size() == 2) {
        dot.Edge(ends[0].second, ends[1].second, className + "\n" + ends[0].first + " \xE2\x86\x92 " + ends[1].first,
                 "arrowhead=none");
        continue;
      }
      const std::string hub = node(*association, kAssociation);
      for (const auto& end : ends) dot.Edge(hub, end.second, end.first, "arrowhead=vee");
    }
  }
  return dot.Text();
}
