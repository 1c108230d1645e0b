#include "bench/workloads.h"

#include <malloc.h>

#include <chrono>
#include <sstream>

#include "mof/mof_loader.h"
#include "provider/inmem_namespace_provider.h"

namespace {

const TContext kNone;

const char kQualifiers[] = R"(
Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride, ToSubclass);
Qualifier Association : boolean = false, Scope(association), Flavor(DisableOverride, ToSubclass);
Qualifier Abstract : boolean = false, Scope(class, association), Flavor(Restricted);
Qualifier Description : string = null, Scope(any), Flavor(EnableOverride, ToSubclass, Translatable);
Qualifier Override : string = null, Scope(property, reference, method), Flavor(EnableOverride, Restricted);
Qualifier Units : string = null, Scope(property), Flavor(EnableOverride, ToSubclass);
Qualifier ValueMap : string[], Scope(property), Flavor(EnableOverride, ToSubclass);
Qualifier Values : string[], Scope(property), Flavor(EnableOverride, ToSubclass);
)";

boost::shared_ptr<ICIMNamespace> Load(const std::string& mof) {
  boost::shared_ptr<ICIMNamespace> ns = NewNamespace();
  TMofLoader loader(ns);
  if (!loader.LoadText("bench.mof", mof)) {
    for (const auto& d : loader.Diagnostics()) fprintf(stderr, "%s\n", d.Format().c_str());
    abort();
  }
  return ns;
}

}  // namespace

boost::shared_ptr<ICIMNamespace> NewNamespace() {
  TInmemNamespaceProvider provider;
  return provider.CreateNamespace({}, false, "");
}

std::string GeneratedSchema(int classes) {
  std::ostringstream mof;
  mof << kQualifiers;
  for (int i = 0; i < classes; ++i) {
    if (i % 10 == 9 && i >= 20) {
      mof << "[Association, Description(\"Links two classes.\")]\nclass Gen_" << i << " {\n"
          << "  [Key] Gen_" << (i - 11) << " REF Antecedent;\n  [Key] Gen_" << (i - 19)
          << " REF Dependent;\n};\n";
      continue;
    }
    mof << "[Description(\"Generated class " << i << ".\")]\nclass Gen_" << i;
    bool derived = i % 5 != 0 && i % 10 != 9;
    if (derived) mof << " : Gen_" << (i - 1);
    mof << " {\n";
    if (!derived) mof << "  [Key, Description(\"The key.\")] string InstanceID;\n";
    mof << "  [Description(\"A size.\"), Units(\"Bytes\")] uint64 Size" << i << ";\n"
        << "  [ValueMap{\"0\", \"2\", \"3\"}, Values{\"Unknown\", \"OK\", \"Bad\"}] uint16 State"
        << i << ";\n  string Name" << i << "[];\n};\n";
  }
  return mof.str();
}

boost::shared_ptr<ICIMNamespace> ItemSchema() {
  return Load(std::string(kQualifiers) + R"(
    class Item {
      [Key] string Id;
      uint32 Count;
      [Units("Bytes")] uint64 Size;
      string Label;
      boolean Enabled;
    };
  )");
}

boost::shared_ptr<ICIMInstance> NewItem(ICIMNamespace& ns, size_t i) {
  boost::shared_ptr<ICIMInstance> item = ns.GetClass("Item", kNone)->AllocateInstance(kNone);
  item->SetPropertyValue("Id", TCIMValue("item" + std::to_string(i)), kNone);
  item->SetPropertyValue("Count", TCIMValue(static_cast<unsigned int>(i)), kNone);
  item->SetPropertyValue("Size", TCIMValue(static_cast<unsigned long long>(i) * 1024), kNone);
  item->SetPropertyValue("Label", TCIMValue("label"), kNone);
  item->SetPropertyValue("Enabled", TCIMValue(i % 2 == 0), kNone);
  return item;
}

TSystemsModel SystemsSchema() {
  TSystemsModel model;
  model.ns = Load(std::string(kQualifiers) + R"(
    class Sys { [Key] string Name; };
    class Part { [Key] string Id; uint64 Size; };
    [Association] class SysPart { [Key] Sys REF Group; [Key] Part REF Member; };
  )");
  return model;
}

double EnterSystems(TSystemsModel* model, size_t total, size_t degree) {
  ICIMNamespace& ns = *model->ns;
  boost::shared_ptr<ICIMClass> sys = ns.GetClass("Sys", kNone);
  boost::shared_ptr<ICIMClass> part = ns.GetClass("Part", kNone);
  boost::shared_ptr<ICIMClass> link = ns.GetClass("SysPart", kNone);
  for (size_t s = 0; s < total / degree; ++s) {
    boost::shared_ptr<ICIMInstance> system = sys->AllocateInstance(kNone);
    system->SetPropertyValue("Name", TCIMValue("sys" + std::to_string(s)), kNone);
    system->AddToNamespace(kNone);
    model->systems.push_back(system);
  }
  for (size_t c = 0; c < total; ++c) {
    boost::shared_ptr<ICIMInstance> component = part->AllocateInstance(kNone);
    component->SetPropertyValue("Id", TCIMValue("part" + std::to_string(c)), kNone);
    component->SetPropertyValue("Size", TCIMValue(static_cast<unsigned long long>(c) << 20), kNone);
    component->AddToNamespace(kNone);
    model->components.push_back(component);
  }
  auto start = std::chrono::steady_clock::now();
  for (size_t c = 0; c < total; ++c) {
    boost::shared_ptr<ICIMInstance> association = link->AllocateInstance(kNone);
    association->SetPropertyValue(
        "Group", TCIMValue(model->systems[c / degree]->GetReference(kNone)), kNone);
    association->SetPropertyValue("Member", TCIMValue(model->components[c]->GetReference(kNone)),
                                  kNone);
    association->AddToNamespace(kNone);
    model->associations.push_back(association);
  }
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

TSystemsModel SystemsWithComponents(size_t total, size_t degree) {
  TSystemsModel model = SystemsSchema();
  EnterSystems(&model, total, degree);
  return model;
}

const TSystemsModel& CachedSystems(size_t total, size_t degree) {
  static std::pair<size_t, size_t> cachedSize;
  static TSystemsModel cached;
  if (!cached.ns || cachedSize != std::make_pair(total, degree)) {
    cached = TSystemsModel();
    cached = SystemsWithComponents(total, degree);
    cachedSize = std::make_pair(total, degree);
  }
  return cached;
}

size_t HeapInUse() {
  // Blocks malloc maps apart (the large tables of a big repository) are
  // not in uordblks.
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
}
