#include "provider/library_entry.h"

#include "core/namespace_provider_manager.h"
#include "core/root_object.h"
#include "provider/inmem_namespace_provider.h"

boost::shared_ptr<TInmemNamespaceProvider> GetProviderInstance() {
  static const boost::shared_ptr<TInmemNamespaceProvider> instance(new TInmemNamespaceProvider());
  return instance;
}

TTYLStatusCode RegisterWithCore() {
  boost::shared_ptr<INamespaceProviderManager> manager =
      TRootObject::GetNamespaceProviderManager();
  manager->RegisterProvider(GetProviderInstance());  // "px != 0" when there is no manager
  return TTYLStatusCode(kStatusOk);
}

extern "C" int DllMain(void*, unsigned long reason, void*) {
  if (reason != kProcessAttach) return 1;
  return RegisterWithCore().GetStatusCode() == kStatusOk ? 1 : 0;
}

namespace {

// Stands in for the attach notification: runs once, while the library loads.
__attribute__((constructor)) void AttachToProcess() { DllMain(nullptr, kProcessAttach, nullptr); }

}  // namespace
