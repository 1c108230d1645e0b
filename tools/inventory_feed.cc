// TInventoryFeed: collect aside, then swap the instances.

#include "tools/inventory_feed.h"

#include <dlfcn.h>

#include <map>
#include <sstream>

#include "core/ascii.h"
#include "core/collected.h"
#include "core/tyl_exception.h"
#include "include/cim_class.h"
#include "include/cim_instance.h"
#include "include/cim_property.h"
#include "include/cim_property_decl.h"
#include "mof/mof_loader.h"
#include "mof/mof_writer.h"

namespace {

const TContext kNone;

// The inventory's computer system: its schema is there when this class is,
// and its profile centres on it.
const char kSystemClass[] = "PELXA_ComputerSystem";

// Every class below the root, in the order the namespace lists them.
std::vector<boost::shared_ptr<ICIMClass>> AllClasses(ICIMNamespace& ns) {
  return Collected<ICIMClass>(
      [&](const auto& callback) { ns.GetClass("", kNone)->EnumerateSubclasses(callback, true, kNone); });
}

bool LoadSchema(ICIMNamespace& ns, const boost::shared_ptr<ICIMNamespace>& shared, TSchemaNotes* notes,
                const std::string& schema, std::string* error) {
  try {
    ns.GetClass(kSystemClass, kNone);
    return true;
  } catch (const TTYLException&) {
  }
  TMofLoadOptions options;
  options.keepDeclaredQualifiers = true;  // beside another schema, its declarations stay
  options.notes = notes;
  TMofLoader loader(shared, options);
  if (loader.LoadFile(schema)) return true;
  for (const TMofDiagnostic& d : loader.Diagnostics()) {
    if (d.severity == TMofDiagnostic::kError) {
      *error = "the inventory schema does not load: " + d.message;
      break;
    }
  }
  return false;
}

// Whether two collections found the thing the same: every property
// equal but the time of collection, which tells of the collection and
// changes every time.
bool SameThing(ICIMInstance& before, ICIMInstance& now) {
  // The walk goes over every property whatever the callback answers.
  bool same = true;
  now.EnumerateProperties(
      [&](boost::shared_ptr<ICIMProperty> property) {
        const std::string& name = property->GetDecl(kNone)->GetName(kNone);
        if (!same || EqualsFoldingAscii(name, "DateTimeOfCollection")) return true;
        try {
          same = before.GetProperty(name, kNone)->GetValue(kNone) == property->GetValue(kNone);
        } catch (const TTYLException&) {
          same = false;
        }
        return true;
      },
      kNone);
  return same;
}

}  // namespace

void HandCacheStates(const std::string& plugin, const TCacheStates& states, ICIMNamespace& ns) {
  if (void* library = dlopen(plugin.c_str(), RTLD_NOW | RTLD_NOLOAD)) {
    const std::pair<const char*, int> globals[] = {
        {"g_L1Enabled", states.level1}, {"g_L2Enabled", states.level2}, {"g_L3Enabled", states.level3}};
    for (const auto& global : globals) {
      if (void* address = dlsym(library, global.first)) *static_cast<int32_t*>(address) = global.second;
    }
    dlclose(library);
  }
  // Enumerating the processors applies the cache states to them.
  ns.GetClass("PELXA_Processor", kNone)
      ->EnumerateInstances([](boost::shared_ptr<ICIMInstance>) { return true; }, false, kNone);
}

TInventoryFeed::TInventoryFeed(boost::shared_ptr<ICIMNamespace> served, TSchemaNotes* notes,
                               std::function<boost::shared_ptr<ICIMNamespace>()> newNamespace,
                               std::string schema, std::string root, std::string plugin)
    : served_(std::move(served)),
      schemaNotes_(notes),
      newNamespace_(std::move(newNamespace)),
      schema_(std::move(schema)),
      root_(std::move(root)),
      plugin_(std::move(plugin)) {}

bool TInventoryFeed::Refresh(std::string* error, IInstanceChanges* changes, const std::string& namespaceName) {
  notes_.clear();
  boost::shared_ptr<ICIMNamespace> scratch = newNamespace_();
  if (!LoadSchema(*scratch, scratch, nullptr, schema_, error) ||
      !LoadSchema(*served_, served_, schemaNotes_, schema_, error)) {
    return false;
  }
  TLinuxCollector collector(root_);
  try {
    collector.Collect(*scratch);
  } catch (const TCollectError& e) {
    *error = e.what();
    return false;
  }
  notes_ = collector.Notes();
  // The new instances as MOF, plain ones before the associations that
  // point at them.
  std::ostringstream mof;
  TMofWriter writer(mof);
  std::vector<TCIMReference> collected;
  const std::vector<boost::shared_ptr<ICIMClass>> classes = AllClasses(*scratch);
  for (bool associations : {false, true}) {
    for (const auto& cls : classes) {
      if (cls->IsAssociation(kNone) != associations) continue;
      cls->EnumerateInstances(
          [&](boost::shared_ptr<ICIMInstance> instance) {
            writer.WriteInstance(*instance);
            collected.push_back(instance->GetReference(kNone));
            return true;
          },
          false, kNone);
    }
  }
  // What the last collection entered leaves, and so does an instance under
  // a path this collection enters (one a snapshot brought back, say).
  std::vector<TCIMReference> leaving = entered_;
  leaving.insert(leaving.end(), collected.begin(), collected.end());
  // What a subscriber may hear of: the instances that leave, by path, to
  // be told apart from those that come back the same.
  std::map<std::string, boost::shared_ptr<ICIMInstance>> before;
  for (const TCIMReference& path : leaving) {
    try {
      if (auto old = served_->GetInstance(path, kNone)) {
        old->Delete(kNone);
        if (changes != nullptr && changes->Watches(namespaceName, *old->GetClass(kNone))) before[path.PathText()] = old;
      }
    } catch (const TTYLException&) {
      // gone already, with its class
    }
  }
  TMofLoadOptions options;
  options.keepGoing = true;
  TMofLoader loader(served_, options);
  loader.LoadText("inventory", mof.str());
  for (const TMofDiagnostic& d : loader.Diagnostics()) {
    if (d.severity == TMofDiagnostic::kError) notes_.push_back("not entered: " + d.message);
  }
  entered_.clear();
  for (const TCIMReference& path : collected) {
    boost::shared_ptr<ICIMInstance> now;
    try {
      now = served_->GetInstance(path, kNone);
    } catch (const TTYLException&) {
    }
    if (!now) continue;
    entered_.push_back(path);
    if (changes == nullptr) continue;
    auto old = before.find(path.PathText());
    if (old == before.end()) {
      if (changes->Watches(namespaceName, *now->GetClass(kNone))) changes->Created(namespaceName, now);
      continue;
    }
    if (!SameThing(*old->second, *now)) changes->Modified(namespaceName, old->second, now);
    before.erase(old);
  }
  for (const auto& gone : before) changes->Deleted(namespaceName, gone.second);
  if (changes != nullptr) changes->Settle();
  HandCacheStates(plugin_, collector.CacheStates(), *served_);
  return true;
}

std::vector<TCIMReference> TInventoryFeed::CentralInstances() const {
  std::vector<TCIMReference> systems;
  for (const TCIMReference& path : entered_) {
    if (EqualsFoldingAscii(path.GetClassName(), kSystemClass)) systems.push_back(path);
  }
  return systems;
}
