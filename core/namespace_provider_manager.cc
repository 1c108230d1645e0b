#include "core/namespace_provider_manager.h"

#include <dlfcn.h>

#include "core/tyl_exception.h"
#include "include/namespace_provider.h"

void TNamespaceProviderManager::RegisterProvider(
    boost::shared_ptr<INamespaceProvider> provider) {
  std::string name = provider->GetName(TContext());
  for (TEntry& entry : providers_) {
    if (entry.name == name) {
      entry.provider = provider;
      return;
    }
  }
  providers_.push_back(TEntry{name, provider});
}

boost::shared_ptr<INamespaceProvider> TNamespaceProviderManager::FindProvider(
    const std::string& name) {
  for (const TEntry& entry : providers_) {
    if (entry.name == name) return entry.provider;
  }
  return boost::shared_ptr<INamespaceProvider>();
}

void TNamespaceProviderManager::LoadProviderLibrary(const std::string& path) {
  // RTLD_NOW: an unresolved symbol is reported here, not at a later call.
  if (dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL) == nullptr) {
    const char* reason = dlerror();
    ThrowLogged(0,
                "TYL: cannot load provider library '" + path + "': " +
                    (reason != nullptr ? reason : "unknown reason"),
                kStatusLoadFailed);
  }
}

boost::shared_ptr<ICIMNamespace> TNamespaceProviderManager::CreateNamespace(
    const std::string& providerName, const TContext& parameters,
    bool allowRedefinition, const std::string& namespaceName) {
  boost::shared_ptr<INamespaceProvider> provider = FindProvider(providerName);
  if (!provider) {
    ThrowLogged(0, "TYL: no namespace provider named '" + providerName + "'",
                kStatusNotFound);
  }
  return provider->CreateNamespace(parameters, allowRedefinition, namespaceName);
}
