#include "tools/repository_commands.h"

#include <functional>
#include <sstream>
#include <vector>

#include "core/log_capture.h"
#include "core/printable_text.h"
#include "core/tyl_exception.h"
#include "include/cim_class.h"
#include "include/cim_instance.h"
#include "include/cim_property.h"
#include "include/cim_property_decl.h"
#include "include/cim_qualifier_decl.h"
#include "mof/mof_loader.h"
#include "mof/mof_writer.h"
#include "query/bound_query.h"
#include "display/json_text.h"
#include "display/shown_value.h"
#include "core/refusal_reason.h"

namespace {

const TContext kNone;

typedef boost::shared_ptr<ICIMClass> TClass;
typedef boost::shared_ptr<ICIMInstance> TInstance;

std::string PathOf(ICIMInstance& instance) { return instance.GetReference(kNone).GetPath(); }



}  // namespace

int TRepositoryCommands::Fail(int status, const std::string& message) {
  err_ << "inmem: " << message << "\n";
  if (json_) out_ << "{\"error\":" << JsonString(message) << ",\"status\":" << status << "}\n";
  return status;
}

void TRepositoryCommands::PrintText(const std::string& text) {
  if (json_) {
    out_ << "{\"text\":" << JsonString(text) << "}\n";
  } else {
    out_ << text;
  }
}

TClass TRepositoryCommands::FindClass(const std::string& name, const std::string& what) {
  try {
    return ns_->GetClass(name, kNone);
  } catch (const TTYLException&) {
    Fail(kExitNotFound, "no class named " + Printable(name) + (what.empty() ? "" : " (" + what + ")"));
    return TClass();
  }
}

TInstance TRepositoryCommands::FindInstance(const std::string& text, int* status) {
  TCIMReference path;
  std::string error;
  if (!TCIMReference::TryParse(text, ns_, &path, &error)) {
    // The reason comes whole: the text it is about is shown once, cut.
    *status = Fail(kExitUsage, "cannot look up " + Printable(text) + ": invalid object path " + error);
    return TInstance();
  }
  TInstance instance;
  TLogCapture capture;
  try {
    instance = ns_->GetInstance(path, kNone);
  } catch (const TTYLException& e) {
    *status = Fail(kExitNotFound, "cannot look up " + Printable(text) + ": " + RefusalReason(capture, e));
    return TInstance();
  }
  if (!instance) *status = Fail(kExitNotFound, "no instance " + Printable(text));
  return instance;
}

std::vector<std::pair<int, TClass>> TRepositoryCommands::ClassTree() {
  std::vector<std::pair<int, TClass>> rows;
  std::function<void(ICIMClass&, int)> walk = [&](ICIMClass& cls, int depth) {
    cls.EnumerateSubclasses(
        [&](TClass sub) {
          rows.emplace_back(depth, sub);
          walk(*sub, depth + 1);
          return true;
        },
        false, kNone);
  };
  walk(*ns_->GetClass("", kNone), 0);
  return rows;
}

int TRepositoryCommands::Classes(bool tree) {
  std::vector<std::pair<int, TClass>> rows = ClassTree();
  if (json_) {
    out_ << "[";
    for (size_t i = 0; i < rows.size(); ++i) {
      out_ << (i ? "," : "") << "{\"name\":" << JsonString(rows[i].second->GetName(kNone))
           << ",\"depth\":" << rows[i].first << "}";
    }
    out_ << "]";
    return EndDocument();
  }
  for (const auto& row : rows) {
    out_ << std::string(tree ? static_cast<size_t>(row.first) * 2 : 0, ' ')
         << row.second->GetName(kNone) << "\n";
  }
  return kExitOk;
}

void TRepositoryCommands::PrintClassJson(ICIMClass& cls) {
  TClass super = cls.GetSuperClass(kNone);
  out_ << "{\"name\":" << JsonString(cls.GetName(kNone)) << ",\"superclass\":"
       << (cls.IsTopLevel(kNone) || !super ? "null" : JsonString(super->GetName(kNone)))
       << ",\"association\":" << (cls.IsAssociation(kNone) ? "true" : "false")
       << ",\"properties\":[";
  std::string separator;
  cls.EnumeratePropertyDecls(
      [&](boost::shared_ptr<ICIMPropertyDecl> decl) {
        TClass owner = decl->GetClass(kNone);
        std::ostringstream type;
        type << decl->GetType(kNone);
        out_ << separator << "{\"name\":" << JsonString(decl->GetName(kNone))
             << ",\"type\":" << JsonString(type.str())
             << ",\"default\":" << JsonValue(decl->GetDefaultValue(kNone))
             << ",\"declaredBy\":" << JsonString(owner ? owner->GetName(kNone) : "") << "}";
        separator = ",";
        return true;
      },
      kNone);
  out_ << "]}";
}

int TRepositoryCommands::Class(const std::string& name) {
  TClass cls = FindClass(name);
  if (!cls) return kExitNotFound;
  if (json_) {
    PrintClassJson(*cls);
  } else {
    TMofWriter(out_, notes_).WriteClass(*cls, true);
  }
  return EndDocument();
}

void TRepositoryCommands::PrintQualifierDeclJson(ICIMQualifierDecl& decl) {
  std::ostringstream type;
  type << decl.GetType(kNone);
  out_ << "{\"name\":" << JsonString(decl.GetName(kNone)) << ",\"type\":" << JsonString(type.str())
       << ",\"default\":" << JsonValue(decl.GetValue(kNone)) << ",\"scope\":" << decl.GetScope(kNone)
       << ",\"flavor\":" << decl.GetFlavor(kNone) << "}";
}

int TRepositoryCommands::Qualifiers() {
  TMofWriter writer(out_);
  std::string separator;
  if (json_) out_ << "[";
  ns_->EnumerateQualifierDecls(
      [&](boost::shared_ptr<ICIMQualifierDecl> decl) {
        if (json_) {
          out_ << separator;
          PrintQualifierDeclJson(*decl);
          separator = ",";
        } else {
          writer.WriteQualifierDecl(*decl);
        }
        return true;
      },
      kNone);
  if (json_) out_ << "]";
  return EndDocument();
}

void TRepositoryCommands::PrintInstance(ICIMInstance& instance, bool first, bool onlySet,
                                        const std::function<bool(const std::string&)>& shown) {
  if (json_) {
    out_ << (first ? "" : ",") << "{\"path\":" << JsonString(PathOf(instance)) << ",\"properties\":{";
  } else {
    out_ << PathOf(instance) << "\n";
  }
  std::string separator;
  instance.EnumerateProperties(
      [&](boost::shared_ptr<ICIMProperty> property) {
        if (onlySet && property->UsesDefaultValue(kNone)) return true;
        const std::string& name = property->GetDecl(kNone)->GetName(kNone);
        if (shown && !shown(name)) return true;
        const bool hasPrevious = property->HasPrevValue();
        const std::string previous = hasPrevious ? ShownPrevious(*property, json_) : std::string();
        if (json_) {
          out_ << separator << JsonString(name) << ":{\"value\":" << JsonValue(property->GetValue(kNone))
               << ",\"display\":" << ShownValue(*property, true);
          if (hasPrevious) out_ << ",\"previous\":" << previous;
          out_ << "}";
          separator = ",";
        } else {
          out_ << "    " << name << " = " << ShownValue(*property, false);
          if (hasPrevious) out_ << " (was " << previous << ")";
          out_ << "\n";
        }
        return true;
      },
      kNone);
  if (json_) out_ << "}}";
}

int TRepositoryCommands::EndDocument() {
  if (json_) out_ << "\n";
  return kExitOk;
}

void TRepositoryCommands::PrintInstances(const std::vector<TInstance>& instances, bool namesOnly,
                                         bool onlySet, const std::function<bool(const std::string&)>& shown) {
  if (json_) out_ << "[";
  for (size_t i = 0; i < instances.size(); ++i) {
    if (namesOnly) {
      out_ << (json_ ? (i ? "," : "") + JsonString(PathOf(*instances[i])) : PathOf(*instances[i]) + "\n");
    } else {
      PrintInstance(*instances[i], i == 0, onlySet, shown);
    }
  }
  if (json_) out_ << "]";
}

int TRepositoryCommands::Instances(const std::string& className, bool deep, bool namesOnly) {
  TClass cls = FindClass(className);
  if (!cls) return kExitNotFound;
  std::vector<TInstance> instances;
  cls->EnumerateInstances(
      [&](TInstance instance) {
        instances.push_back(instance);
        return true;
      },
      deep, kNone);
  PrintInstances(instances, namesOnly);
  return EndDocument();
}

int TRepositoryCommands::Query(const std::string& text, const std::string& language,
                               const std::string& className) {
  const bool filter = language == "fql";
  if (filter == className.empty()) {
    return Fail(kExitUsage, filter ? "query: --language fql filters the instances of a class: give --class"
                                   : "query: --class is for --language fql; wql and cql name their class after FROM");
  }
  const char* languageName = language == "cql" ? "DMTF:CQL" : filter ? "DMTF:FQL" : "WQL";
  std::vector<TInstance> matches;
  try {
    const TBoundQuery query = TBoundQuery::Prepare(languageName, text, ns_, className);
    query.EnumerateMatches([&](TInstance instance) {
      matches.push_back(instance);
      return true;
    });
    PrintInstances(matches, false, false, [&query](const std::string& name) { return query.Selects(name); });
  } catch (const TQueryError& e) {
    // A class or property that is not there, or a literal that does not fit
    // one, is the schema's refusal; anything else is the text's fault.
    return Fail(e.Kind() == EQueryErrorKind::kSchema ? kExitNotFound : kExitUsage,
                "query: " + std::string(e.what()));
  }
  return EndDocument();
}

int TRepositoryCommands::Get(const std::string& path) {
  int status = kExitOk;
  TInstance instance = FindInstance(path, &status);
  if (!instance) return status;
  PrintInstance(*instance, true);
  return EndDocument();
}

int TRepositoryCommands::Walk(
    const std::string& path, const char* what,
    const std::vector<std::pair<std::string, std::string>>& classFilters,
    const std::function<void(ICIMInstance&, const TInstanceCallback&)>& walk) {
  int status = kExitOk;
  TInstance instance = FindInstance(path, &status);
  if (!instance) return status;
  // The repository's walk yields nothing for a class it does not know, which
  // would read as "nothing is associated".
  for (const auto& filter : classFilters) {
    if (!filter.first.empty() && !FindClass(filter.first, filter.second)) return kExitNotFound;
  }
  std::vector<TInstance> found;
  TLogCapture capture;
  try {
    walk(*instance, [&](TInstance reached) {
      found.push_back(reached);
      return true;
    });
  } catch (const TTYLException& e) {
    return Fail(kExitNotFound,
                std::string(what) + " of " + Printable(path) + ": " + RefusalReason(capture, e));
  }
  PrintInstances(found, true);
  return EndDocument();
}

int TRepositoryCommands::Associators(const std::string& path, const TWalkFilters& filters) {
  return Walk(path, "associators",
              {{filters.assocClass, "--assoc-class"}, {filters.resultClass, "--result-class"}},
              [&](ICIMInstance& from, const TInstanceCallback& callback) {
                from.EnumerateAssociatedInstances(callback, filters.assocClass, filters.resultClass,
                                                  filters.role, filters.resultRole, kNone);
              });
}

int TRepositoryCommands::References(const std::string& path, const TWalkFilters& filters) {
  return Walk(path, "references", {{filters.resultClass, "--result-class"}},
              [&](ICIMInstance& from, const TInstanceCallback& callback) {
                from.EnumerateAssociationInstances(callback, filters.resultClass, filters.role, kNone);
              });
}

int TRepositoryCommands::Export() {
  if (!json_) {
    TMofWriter(out_, notes_).WriteNamespace(*ns_);
    return kExitOk;
  }
  out_ << "{\"qualifiers\":[";
  std::string separator;
  ns_->EnumerateQualifierDecls(
      [&](boost::shared_ptr<ICIMQualifierDecl> decl) {
        out_ << separator;
        PrintQualifierDeclJson(*decl);
        separator = ",";
        return true;
      },
      kNone);
  out_ << "],\"classes\":[";
  std::vector<TInstance> instances;
  separator.clear();
  for (const auto& row : ClassTree()) {
    out_ << separator;
    PrintClassJson(*row.second);
    separator = ",";
    row.second->EnumerateInstances(
        [&](TInstance instance) {
          instances.push_back(instance);
          return true;
        },
        false, kNone);
  }
  out_ << "],\"instances\":";
  PrintInstances(instances, false);
  out_ << "}";
  return EndDocument();
}

int TRepositoryCommands::Inventory(const std::string& systemPath) {
  int status = kExitOk;
  TInstance system = FindInstance(systemPath, &status);
  if (!system) return status;
  std::vector<TInstance> components;
  system->EnumerateAssociatedInstances(
      [&](TInstance part) {
        components.push_back(part);
        return true;
      },
      "PELXA_SystemComponent", "", "GroupComponent", "PartComponent", kNone);
  if (json_) {
    out_ << "{\"system\":";
    PrintInstance(*system, true, true);
    out_ << ",\"components\":";
    PrintInstances(components, false, true);
    out_ << "}";
    return EndDocument();
  }
  // Each instance under its class name, the system first.
  components.insert(components.begin(), system);
  for (size_t i = 0; i < components.size(); ++i) {
    out_ << (i ? "\n" : "") << components[i]->GetClass(kNone)->GetName(kNone) << " ";
    PrintInstance(*components[i], false, true);
  }
  return kExitOk;
}

void TRepositoryCommands::PrintDiagnosticsJson(const TMofLoader& loader) {
  out_ << "\"diagnostics\":[";
  std::string separator;
  for (const TMofDiagnostic& d : loader.Diagnostics()) {
    const bool located = d.location.source != nullptr;
    out_ << separator << "{\"severity\":\"" << d.SeverityName() << "\",\"file\":"
         << (located ? JsonString(d.location.source->path) : "null") << ",\"line\":"
         << (located ? std::to_string(d.location.line) : "null") << ",\"column\":"
         << (located ? std::to_string(d.location.column) : "null")
         << ",\"message\":" << JsonString(d.message) << "}";
    separator = ",";
  }
  out_ << "]";
}

int TRepositoryCommands::Check(const TMofLoader& loader) {
  const TMofLoadCounts& counts = loader.Counts();
  const int errors = loader.ErrorCount();
  if (json_) {
    out_ << "{\"files\":" << counts.files << ",\"qualifierDecls\":" << counts.qualifierDecls
         << ",\"classes\":" << counts.classes << ",\"keylessClasses\":" << counts.keylessClasses
         << ",\"instances\":" << counts.instances << ",\"errors\":" << errors << ",";
    PrintDiagnosticsJson(loader);
    out_ << "}";
    EndDocument();
  } else {
    out_ << counts.files << " files, " << counts.qualifierDecls << " qualifier declarations, "
         << counts.classes << " classes (" << counts.keylessClasses << " without keys), "
         << counts.instances << " instances, " << errors << " errors\n";
  }
  return errors == 0 ? kExitOk : kExitUsage;
}

int TRepositoryCommands::LoadFailed(const TMofLoader& loader) {
  if (json_) {
    out_ << "{\"error\":\"the MOF did not load\",\"status\":" << kExitUsage << ",";
    PrintDiagnosticsJson(loader);
    out_ << "}";
    EndDocument();
  }
  return kExitUsage;
}
