// A small host: loads the repository plug-in through the core's provider
// manager, declares a few qualifiers and a small class hierarchy (keys, an
// association, a method, units and value maps), prints the class tree with
// its declarations and qualifiers, fills a computer with two disks, prints
// them with the display text of their values, and walks the associations.
//
// Usage: repository_tour [path/to/libinmem.so]

#include <iostream>
#include <sstream>
#include <string>

#include "core/namespace_provider_manager.h"
#include "core/root_object.h"
#include "core/tyl_exception.h"
#include "include/cim_class.h"
#include "include/cim_method_decl.h"
#include "include/cim_namespace.h"
#include "include/cim_parameter_decl.h"
#include "include/cim_property_decl.h"
#include "include/cim_qualifier.h"
#include "include/cim_instance.h"
#include "include/cim_property.h"

namespace {

typedef boost::shared_ptr<ICIMClass> TClass;

class TExampleSchema {
 public:
  explicit TExampleSchema(boost::shared_ptr<ICIMNamespace> ns) : ns_(ns) {}

  void DeclareQualifier(const std::string& name, const TCIMValue& value, unsigned flavor) {
    ns_->AllocateQualifierDecl(name, value, ICIMQualifierDecl::kScopeAny,
                               static_cast<ICIMQualifierDecl::EFlavor>(flavor), TContext())
        ->AddToNamespace(TContext());
  }

  template <typename Element>
  void Qualify(const boost::shared_ptr<Element>& element, const std::string& name,
               const TCIMValue& value) {
    element->AddQualifier(
        element->AllocateQualifier(ns_->GetQualifierDecl(name, TContext()), value, TContext()),
        TContext());
  }

  TClass Class(const std::string& name, const std::string& super) {
    return ns_->AllocateClass(name, super.empty() ? TClass() : ns_->GetClass(super, TContext()),
                              TContext());
  }

  boost::shared_ptr<ICIMPropertyDecl> Property(const TClass& cls, const std::string& name,
                                               const TCIMValue& prototype, bool key = false) {
    auto decl = cls->AllocatePropertyDecl(name, prototype, TContext());
    if (key) Qualify(decl, "Key", TCIMValue(true));
    decl->AddToClass(TContext());
    return decl;
  }

  void Enter(const TClass& cls) {
    cls->Validate(TContext());
    cls->AddToNamespace(TContext());
  }

 private:
  boost::shared_ptr<ICIMNamespace> ns_;
};

TCIMValue Strings(const std::vector<std::string>& texts) {
  return TCIMValue(kCIMTypeString, std::vector<TCIMValue>(texts.begin(), texts.end()));
}

typedef boost::shared_ptr<ICIMInstance> TInstance;

TInstance AddInstance(ICIMNamespace& ns, const std::string& className,
                      const std::vector<std::pair<std::string, TCIMValue>>& values) {
  TInstance instance = ns.GetClass(className, TContext())->AllocateInstance(TContext());
  for (const auto& value : values) instance->SetPropertyValue(value.first, value.second, TContext());
  instance->AddToNamespace(TContext());
  return instance;
}

TCIMValue PathOf(const TInstance& instance) { return TCIMValue(instance->GetReference(TContext())); }

void PrintInstance(ICIMInstance& instance) {
  const TContext none;
  std::cout << "  " << instance.GetReference(none).GetPath() << "\n";
  instance.EnumerateProperties(
      [&](boost::shared_ptr<ICIMProperty> property) {
        if (!property->UsesDefaultValue(none)) {
          std::cout << "      " << property->GetDecl(none)->GetName(none) << " = "
                    << property->GetDisplayValue() << "\n";
        }
        return true;
      },
      none);
}

// Fills a computer with two disks, prints them, and walks the associations.
void FillAndWalk(ICIMNamespace& ns) {
  TInstance host = AddInstance(ns, "CIM_ComputerSystem", {{"Name", TCIMValue("host1")},
                                                          {"Caption", TCIMValue("Build server")}});
  TInstance sda = AddInstance(
      ns, "CIM_DiskDrive",
      {{"DeviceID", TCIMValue("sda")},
       {"Size", TCIMValue(512110190592ull)},
       {"TransferRate", TCIMValue(6000000000ull)},
       {"PowerOnTime", TCIMValue(93784000u)},
       {"Flags", TCIMValue(static_cast<unsigned short>(0x2d))},
       {"HealthState", TCIMValue(static_cast<unsigned short>(5))}});
  TInstance sdb = AddInstance(ns, "CIM_DiskDrive",
                              {{"DeviceID", TCIMValue("sdb")},
                               {"Size", TCIMValue(2000398934016ull)},
                               {"HealthState", TCIMValue(static_cast<unsigned short>(32768))}});
  for (const TInstance& disk : {sda, sdb}) {
    AddInstance(ns, "CIM_SystemDevice",
                {{"GroupComponent", PathOf(host)}, {"PartComponent", PathOf(disk)}});
  }

  std::cout << "\nInstances, with the display text of the values set:\n";
  for (const TInstance& instance : {host, sda, sdb}) PrintInstance(*instance);

  std::cout << "\nDisks of host1 (associators through CIM_SystemDevice):\n";
  host->EnumerateAssociatedInstances(
      [](TInstance disk) {
        std::cout << "  " << disk->GetReference(TContext()).GetPath() << "\n";
        return true;
      },
      "CIM_SystemDevice", "CIM_DiskDrive", "GroupComponent", "PartComponent", TContext());
  std::cout << "Associations that point at sda (references):\n";
  sda->EnumerateAssociationInstances(
      [](TInstance link) {
        std::cout << "  " << link->GetReference(TContext()).GetPath() << "\n";
        return true;
      },
      "", "", TContext());
}

std::string TypeName(ECIMType type) {
  std::ostringstream out;
  out << TCIMValue::TCIMType(type);
  return out.str();
}

template <typename Element>
std::string QualifierList(const Element& element) {
  std::string text;
  element.EnumerateQualifiers(
      [&](boost::shared_ptr<ICIMQualifier> q) {
        text += text.empty() ? "[" : ", ";
        text += q->GetName(TContext());
        const TCIMValue& value = q->GetValue(TContext());
        if (!value.IsNull()) text += "(" + value.ToString() + ")";
        return true;
      },
      TContext());
  return text.empty() ? text : text + "] ";
}

void PrintClass(ICIMClass& cls, const std::string& indent) {
  const TContext none;
  std::cout << indent << QualifierList(cls) << "class " << cls.GetName(none) << "\n";
  cls.EnumeratePropertyDecls(
      [&](boost::shared_ptr<ICIMPropertyDecl> decl) {
        std::cout << indent << "    " << QualifierList(*decl) << TypeName(decl->GetType(none));
        if (decl->GetType(none) == kCIMTypeReference) {
          TClass target = decl->GetDefaultValue(none).GetReferencedClass();
          if (target) std::cout << " -> " << target->GetName(none);
        }
        std::cout << " " << decl->GetName(none) << "\n";
        return true;
      },
      none);
  cls.EnumerateMethodDecls(
      [&](boost::shared_ptr<ICIMMethodDecl> method) {
        std::cout << indent << "    " << QualifierList(*method)
                  << TypeName(method->GetReturnType(none)) << " " << method->GetName(none) << "(";
        std::string separator;
        method->EnumerateParameters(
            [&](boost::shared_ptr<ICIMParameterDecl> p) {
              std::cout << separator << TypeName(p->GetType(none)) << " " << p->GetName(none);
              separator = ", ";
              return true;
            },
            none);
        std::cout << ")\n";
        return true;
      },
      none);
  cls.EnumerateSubclasses(
      [&](TClass sub) {
        PrintClass(*sub, indent + "  ");
        return true;
      },
      false, none);
}

void BuildSchema(TExampleSchema& schema) {
  const unsigned kOverride = ICIMQualifierDecl::kFlavorEnableOverride;
  const unsigned kToSubclass = ICIMQualifierDecl::kFlavorToSubclass;
  schema.DeclareQualifier("Abstract", TCIMValue(false), 0);
  schema.DeclareQualifier("Association", TCIMValue(false), kToSubclass);
  schema.DeclareQualifier("Key", TCIMValue(false), kToSubclass);
  schema.DeclareQualifier("Description", TCIMValue::Null(kCIMTypeString), kOverride | kToSubclass);
  schema.DeclareQualifier("Units", TCIMValue::Null(kCIMTypeString), kOverride | kToSubclass);
  schema.DeclareQualifier("AbbreviateUnits", TCIMValue::Null(kCIMTypeBoolean), kToSubclass);
  schema.DeclareQualifier("Base", TCIMValue::Null(kCIMTypeUint8), kToSubclass);
  schema.DeclareQualifier("ValueMap", TCIMValue::Null(ArrayTypeOf(kCIMTypeString)),
                          kOverride | kToSubclass);
  schema.DeclareQualifier("Values", TCIMValue::Null(ArrayTypeOf(kCIMTypeString)),
                          kOverride | kToSubclass);

  TClass element = schema.Class("CIM_ManagedElement", "");
  schema.Qualify(element, "Abstract", TCIMValue(true));
  schema.Qualify(element, "Description", TCIMValue("Anything that can be managed."));
  schema.Property(element, "Caption", TCIMValue::Null(kCIMTypeString));
  auto health = schema.Property(element, "HealthState", TCIMValue::Null(kCIMTypeUint16));
  schema.Qualify(health, "ValueMap", Strings({"0", "5", "10", "15", "20", "25", "30", ".."}));
  schema.Qualify(health, "Values", Strings({"Unknown", "OK", "Degraded/Warning", "Minor failure",
                                            "Major failure", "Critical failure",
                                            "Non-recoverable error", "Vendor Specific"}));
  schema.Enter(element);

  TClass system = schema.Class("CIM_ComputerSystem", "CIM_ManagedElement");
  schema.Property(system, "Name", TCIMValue::Null(kCIMTypeString), true);
  auto reboot = system->AllocateMethodDecl("Reboot", kCIMTypeUint32, TContext());
  reboot->DefineParameter("Force", kCIMTypeBoolean, TContext());
  reboot->DefineParameter("DelaySeconds", kCIMTypeUint32, TContext());
  reboot->AddToClass(TContext());
  schema.Enter(system);

  TClass disk = schema.Class("CIM_DiskDrive", "CIM_ManagedElement");
  schema.Property(disk, "DeviceID", TCIMValue::Null(kCIMTypeString), true);
  auto size = schema.Property(disk, "Size", TCIMValue::Null(kCIMTypeUint64));
  schema.Qualify(size, "Units", TCIMValue("Bytes"));
  auto speed = schema.Property(disk, "TransferRate", TCIMValue::Null(kCIMTypeUint64));
  schema.Qualify(speed, "Units", TCIMValue("Bits per Second"));
  schema.Qualify(speed, "AbbreviateUnits", TCIMValue(true));
  auto powerOn = schema.Property(disk, "PowerOnTime", TCIMValue::Null(kCIMTypeUint32));
  schema.Qualify(powerOn, "Units", TCIMValue("MilliSeconds"));
  auto flags = schema.Property(disk, "Flags", TCIMValue::Null(kCIMTypeUint16));
  schema.Qualify(flags, "Base", TCIMValue(static_cast<unsigned char>(16)));
  schema.Enter(disk);

  TClass link = schema.Class("CIM_SystemDevice", "");
  schema.Qualify(link, "Association", TCIMValue(true));
  schema.Property(link, "GroupComponent", TCIMValue::NullReference(system), true);
  schema.Property(link, "PartComponent", TCIMValue::NullReference(disk), true);
  schema.Enter(link);
}

}  // namespace

int main(int argc, char** argv) {
  std::string plugin = argc > 1 ? argv[1] : INMEM_PLUGIN_PATH;
  try {
    boost::shared_ptr<INamespaceProviderManager> manager =
        TRootObject::GetNamespaceProviderManager();
    manager->LoadProviderLibrary(plugin);
    boost::shared_ptr<ICIMNamespace> ns =
        manager->CreateNamespace("inmem", TContext(), false, "NOKRTYL20");
    TExampleSchema schema(ns);
    BuildSchema(schema);
    std::cout << "Classes of namespace NOKRTYL20, from the root down:\n";
    ns->EnumerateRootClasses(
        [](TClass cls) {
          PrintClass(*cls, "  ");
          return true;
        },
        TContext());
    FillAndWalk(*ns);
  } catch (const TTYLException& e) {
    std::cerr << "repository_tour: " << e.GetStatus().GetStatusName() << ": " << e.what() << "\n";
    return 1;
  }
  return 0;
}
