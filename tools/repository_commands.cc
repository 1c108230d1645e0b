#include "tools/repository_commands.h"

#include <functional>
#include <sstream>
#include <vector>

#include "core/tyl_exception.h"
#include "include/cim_class.h"
#include "include/cim_instance.h"
#include "include/cim_property.h"
#include "include/cim_property_decl.h"
#include "include/cim_qualifier_decl.h"
#include "mof/mof_writer.h"
#include "tools/json_text.h"

namespace {

const TContext kNone;

typedef boost::shared_ptr<ICIMClass> TClass;
typedef boost::shared_ptr<ICIMInstance> TInstance;

std::string PathOf(ICIMInstance& instance) { return instance.GetReference(kNone).GetPath(); }

}  // namespace

TClass TRepositoryCommands::FindClass(const std::string& name) {
  try {
    return ns_->GetClass(name, kNone);
  } catch (const TTYLException&) {
    err_ << "inmem: no class named " << name << "\n";
    return TClass();
  }
}

TInstance TRepositoryCommands::FindInstance(const std::string& text) {
  TInstance instance;
  try {
    instance = ns_->GetInstance(TCIMReference::Parse(text, ns_), kNone);
  } catch (const TTYLException& e) {
    err_ << "inmem: cannot look up " << text << ": " << e.what() << "\n";
    return TInstance();
  }
  if (!instance) err_ << "inmem: no instance " << text << "\n";
  return instance;
}

int TRepositoryCommands::Classes(bool tree) {
  std::vector<std::pair<int, std::string>> rows;  // depth, name
  std::function<void(ICIMClass&, int)> walk = [&](ICIMClass& cls, int depth) {
    cls.EnumerateSubclasses(
        [&](TClass sub) {
          rows.emplace_back(depth, sub->GetName(kNone));
          walk(*sub, depth + 1);
          return true;
        },
        false, kNone);
  };
  walk(*ns_->GetClass("", kNone), 0);
  if (json_) {
    out_ << "[";
    for (size_t i = 0; i < rows.size(); ++i) {
      out_ << (i ? "," : "") << "{\"name\":" << JsonString(rows[i].second)
           << ",\"depth\":" << rows[i].first << "}";
    }
    out_ << "]\n";
    return kExitOk;
  }
  for (const auto& row : rows) {
    out_ << std::string(tree ? static_cast<size_t>(row.first) * 2 : 0, ' ') << row.second << "\n";
  }
  return kExitOk;
}

int TRepositoryCommands::Class(const std::string& name) {
  TClass cls = FindClass(name);
  if (!cls) return kExitNotFound;
  if (!json_) {
    TMofWriter(out_).WriteClass(*cls, true);
    return kExitOk;
  }
  TClass super = cls->GetSuperClass(kNone);
  out_ << "{\"name\":" << JsonString(cls->GetName(kNone)) << ",\"superclass\":"
       << (cls->IsTopLevel(kNone) || !super ? "null" : JsonString(super->GetName(kNone)))
       << ",\"association\":" << (cls->IsAssociation(kNone) ? "true" : "false")
       << ",\"properties\":[";
  std::string separator;
  cls->EnumeratePropertyDecls(
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
  out_ << "]}\n";
  return kExitOk;
}

int TRepositoryCommands::Qualifiers() {
  TMofWriter writer(out_);
  std::string separator;
  if (json_) out_ << "[";
  ns_->EnumerateQualifierDecls(
      [&](boost::shared_ptr<ICIMQualifierDecl> decl) {
        if (!json_) {
          writer.WriteQualifierDecl(*decl);
          return true;
        }
        std::ostringstream type;
        type << decl->GetType(kNone);
        out_ << separator << "{\"name\":" << JsonString(decl->GetName(kNone))
             << ",\"type\":" << JsonString(type.str())
             << ",\"default\":" << JsonValue(decl->GetValue(kNone))
             << ",\"scope\":" << decl->GetScope(kNone) << ",\"flavor\":" << decl->GetFlavor(kNone)
             << "}";
        separator = ",";
        return true;
      },
      kNone);
  if (json_) out_ << "]\n";
  return kExitOk;
}

void TRepositoryCommands::PrintInstance(ICIMInstance& instance, bool first, bool onlySet) {
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
        if (json_) {
          out_ << separator << JsonString(name) << ":{\"value\":" << JsonValue(property->GetValue(kNone))
               << ",\"display\":" << JsonString(property->GetDisplayValue());
          if (property->HasPrevValue()) {
            out_ << ",\"previous\":" << JsonString(property->GetPrevDisplayValue());
          }
          out_ << "}";
          separator = ",";
        } else {
          out_ << "    " << name << " = " << property->GetDisplayValue();
          if (property->HasPrevValue()) out_ << " (was " << property->GetPrevDisplayValue() << ")";
          out_ << "\n";
        }
        return true;
      },
      kNone);
  if (json_) out_ << "}}";
}

int TRepositoryCommands::PrintInstances(const std::vector<TInstance>& instances, bool namesOnly,
                                        bool onlySet) {
  if (json_) out_ << "[";
  for (size_t i = 0; i < instances.size(); ++i) {
    if (namesOnly) {
      out_ << (json_ ? (i ? "," : "") + JsonString(PathOf(*instances[i])) : PathOf(*instances[i]) + "\n");
    } else {
      PrintInstance(*instances[i], i == 0, onlySet);
    }
  }
  if (json_) out_ << "]\n";
  return kExitOk;
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
  return PrintInstances(instances, namesOnly);
}

int TRepositoryCommands::Get(const std::string& path) {
  TInstance instance = FindInstance(path);
  if (!instance) return kExitNotFound;
  PrintInstance(*instance, true);
  if (json_) out_ << "\n";
  return kExitOk;
}

int TRepositoryCommands::Walk(const std::string& path, const char* what,
                              const std::function<void(ICIMInstance&, const TInstanceCallback&)>& walk) {
  TInstance instance = FindInstance(path);
  if (!instance) return kExitNotFound;
  std::vector<TInstance> found;
  try {
    walk(*instance, [&](TInstance reached) {
      found.push_back(reached);
      return true;
    });
  } catch (const TTYLException& e) {
    err_ << "inmem: " << what << " of " << path << ": " << e.what() << "\n";
    return kExitNotFound;
  }
  return PrintInstances(found, true);
}

int TRepositoryCommands::Associators(const std::string& path, const TWalkFilters& filters) {
  return Walk(path, "associators", [&](ICIMInstance& from, const TInstanceCallback& callback) {
    from.EnumerateAssociatedInstances(callback, filters.assocClass, filters.resultClass, filters.role,
                                      filters.resultRole, kNone);
  });
}

int TRepositoryCommands::References(const std::string& path, const TWalkFilters& filters) {
  return Walk(path, "references", [&](ICIMInstance& from, const TInstanceCallback& callback) {
    from.EnumerateAssociationInstances(callback, filters.resultClass, filters.role, kNone);
  });
}

int TRepositoryCommands::Export() {
  TMofWriter(out_).WriteNamespace(*ns_);
  return kExitOk;
}

int TRepositoryCommands::Inventory(const std::string& systemPath) {
  TInstance system = FindInstance(systemPath);
  if (!system) return kExitNotFound;
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
    out_ << "}\n";
    return kExitOk;
  }
  PrintInstance(*system, true, true);
  for (const TInstance& part : components) {
    out_ << "\n" << part->GetClass(kNone)->GetName(kNone) << " ";
    PrintInstance(*part, false, true);
  }
  return kExitOk;
}
