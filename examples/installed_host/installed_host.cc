// A host of the repository, built against an installed inmem: it loads the
// plug-in through the core's provider manager, loads a small schema and
// its instances from MOF with mofload, and walks an association from a
// system to its disks. Prints what it found; exits 1 when anything fails.
//
// The plug-in's path comes from the build (find_package's inmem_PLUGIN, or
// pkg-config's plugin variable), or from the first argument.

#include <iostream>
#include <string>

#include "core/namespace_provider_manager.h"
#include "core/root_object.h"
#include "core/tyl_exception.h"
#include "include/cim_class.h"
#include "include/cim_instance.h"
#include "mof/mof_loader.h"

namespace {

const char kMof[] = R"(
Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride, ToSubclass);
Qualifier Association : boolean = false, Scope(association), Flavor(DisableOverride, ToSubclass);
class Host_System { [Key] string Name; };
class Host_Disk { [Key] string Id; uint64 Size; };
[Association] class Host_SystemDisk { [Key] Host_System REF System; [Key] Host_Disk REF Disk; };
instance of Host_System { Name = "alpha"; };
instance of Host_Disk { Id = "sda"; Size = 1000; };
instance of Host_Disk { Id = "sdb"; Size = 2000; };
instance of Host_SystemDisk { System = "Host_System.Name=\"alpha\""; Disk = "Host_Disk.Id=\"sda\""; };
instance of Host_SystemDisk { System = "Host_System.Name=\"alpha\""; Disk = "Host_Disk.Id=\"sdb\""; };
)";

}  // namespace

int main(int argc, char** argv) {
  const std::string plugin = argc > 1 ? argv[1] : INMEM_PLUGIN;
  try {
    boost::shared_ptr<INamespaceProviderManager> manager = TRootObject::GetNamespaceProviderManager();
    manager->LoadProviderLibrary(plugin);
    boost::shared_ptr<ICIMNamespace> ns = manager->CreateNamespace("inmem", TContext(), false, "NOKRTYL20");
    TMofLoader loader(ns);
    if (!loader.LoadText("host.mof", kMof)) {
      for (const TMofDiagnostic& d : loader.Diagnostics()) std::cerr << d.Format() << "\n";
      return 1;
    }
    boost::shared_ptr<ICIMInstance> system =
        ns->GetInstance(TCIMReference::Parse("Host_System.Name=\"alpha\"", ns), TContext());
    int disks = 0;
    system->EnumerateAssociatedInstances(
        [&](boost::shared_ptr<ICIMInstance> disk) {
          std::cout << "alpha has " << disk->GetReference(TContext()).GetPath() << "\n";
          ++disks;
          return true;
        },
        "Host_SystemDisk", "Host_Disk", "", "", TContext());
    std::cout << disks << " disks through Host_SystemDisk\n";
    return disks == 2 ? 0 : 1;
  } catch (const TTYLException& e) {
    std::cerr << "installed_host: " << e.GetStatus().GetStatusName() << ": " << e.what() << "\n";
    return 1;
  }
}
