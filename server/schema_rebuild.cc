// TSchemaRebuild: export, parse, edit, enter one by one.

#include "server/schema_rebuild.h"

#include <map>
#include <memory>
#include <set>
#include <sstream>

#include "core/ascii.h"
#include "mof/mof_parser.h"
#include "mof/mof_writer.h"

namespace {

std::string Lower(std::string text) {
  for (char& c : text) c = ToLowerAscii(c);
  return text;
}

// The classes a class production needs before it: its superclass, and the
// classes its references (properties, results, parameters) name.
std::vector<std::string> Needs(const TMofClass& c) {
  std::vector<std::string> needs;
  if (!c.superName.empty()) needs.push_back(Lower(c.superName));
  auto add = [&](const TMofType& type) {
    if (type.type == kCIMTypeReference && !type.refClass.empty()) needs.push_back(Lower(type.refClass));
  };
  for (const TMofFeature& f : c.features) {
    add(f.type);
    for (const TMofParameter& p : f.parameters) add(p.type);
  }
  return needs;
}

}  // namespace

TSchemaRebuild::TSchemaRebuild(ICIMNamespace& ns, const TSchemaNotes& notes,
                               const std::function<bool(ICIMClass&)>& keepClass,
                               const std::function<bool(ICIMInstance&)>& keepInstance) {
  std::ostringstream mof;
  TMofWriter(mof, &notes).WriteNamespace(ns, keepInstance, keepClass);
  auto source = std::make_shared<const TMofSource>("the namespace as it is", mof.str());
  TMofParser parser(source);
  TMofProduction production;
  while (parser.Next(&production)) productions_.push_back(std::move(production));
}

bool TSchemaRebuild::ReplaceClass(const TMofProduction& cls) {
  for (TMofProduction& p : productions_) {
    if (p.kind == TMofProduction::kClass && EqualsFoldingAscii(p.cls.name, cls.cls.name)) {
      p = cls;
      OrderClasses();
      return true;
    }
  }
  return false;
}

bool TSchemaRebuild::ReplaceQualifierDecl(const TMofProduction& decl) {
  for (TMofProduction& p : productions_) {
    if (p.kind == TMofProduction::kQualifierDecl && EqualsFoldingAscii(p.qualifierDecl.name, decl.qualifierDecl.name)) {
      p = decl;
      return true;
    }
  }
  return false;
}

bool TSchemaRebuild::RemoveQualifierDecl(const std::string& name) {
  for (auto it = productions_.begin(); it != productions_.end(); ++it) {
    if (it->kind == TMofProduction::kQualifierDecl && EqualsFoldingAscii(it->qualifierDecl.name, name)) {
      productions_.erase(it);
      return true;
    }
  }
  return false;
}

void TSchemaRebuild::OrderClasses() {
  // The classes keep their places among the other productions; only their
  // order among themselves changes. A depth-first walk from each class in
  // turn writes what it needs first; a need on the path (a class that
  // refers to itself, or two that refer to each other) is not followed.
  std::vector<size_t> slots;
  std::map<std::string, size_t> byName;
  for (size_t i = 0; i < productions_.size(); ++i) {
    if (productions_[i].kind != TMofProduction::kClass) continue;
    slots.push_back(i);
    byName[Lower(productions_[i].cls.name)] = i;
  }
  std::vector<size_t> order;
  std::set<size_t> done, onPath;
  struct TFrame {
    size_t index;
    std::vector<std::string> needs;
    size_t next = 0;
  };
  for (size_t start : slots) {
    if (done.count(start) != 0) continue;
    std::vector<TFrame> stack{{start, Needs(productions_[start].cls)}};
    onPath.insert(start);
    while (!stack.empty()) {
      TFrame& top = stack.back();
      if (top.next < top.needs.size()) {
        auto need = byName.find(top.needs[top.next++]);
        if (need == byName.end() || done.count(need->second) != 0 || onPath.count(need->second) != 0) continue;
        onPath.insert(need->second);
        stack.push_back(TFrame{need->second, Needs(productions_[need->second].cls)});  // may move `top`
        continue;
      }
      order.push_back(top.index);
      done.insert(top.index);
      onPath.erase(top.index);
      stack.pop_back();
    }
  }
  std::vector<TMofProduction> classes;
  for (size_t i : order) classes.push_back(std::move(productions_[i]));
  for (size_t k = 0; k < slots.size(); ++k) productions_[slots[k]] = std::move(classes[k]);
}

std::optional<TSchemaRebuild::TFailure> TSchemaRebuild::Build(
    const boost::shared_ptr<ICIMNamespace>& fresh, TSchemaNotes* freshNotes,
    const std::function<bool(const TMofProduction&, const std::string& warning)>& refuses) {
  TMofLoadOptions options;
  options.notes = freshNotes;
  TMofLoader loader(fresh, options);
  for (const TMofProduction& p : productions_) {
    if (p.kind == TMofProduction::kPragma) continue;
    const size_t before = loader.Diagnostics().size();
    const bool entered = loader.Enter(p);
    for (size_t i = before; i < loader.Diagnostics().size(); ++i) {
      const TMofDiagnostic& d = loader.Diagnostics()[i];
      if (d.severity == TMofDiagnostic::kError ||
          (d.severity == TMofDiagnostic::kWarning && refuses && refuses(p, d.message))) {
        return TFailure{p, d.message};
      }
    }
    if (!entered) return TFailure{p, "refused"};
  }
  return std::nullopt;
}
