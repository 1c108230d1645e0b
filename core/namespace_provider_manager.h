// INamespaceProviderManager: the core's registry of namespace providers.
//
// A provider plug-in registers itself through slot 1 while it loads. Hosts
// then load plug-ins by path, find providers by name and ask them for
// namespaces through the remaining slots. The slot order is shared with every
// plug-in and never changes.
//
// TNamespaceProviderManager is the core's own implementation: it keeps the
// registered providers in registration order, and a provider registered under
// a name that is already taken replaces the earlier one. Libraries that it
// loads stay loaded until the process ends.

#ifndef INMEM_CORE_NAMESPACE_PROVIDER_MANAGER_H_
#define INMEM_CORE_NAMESPACE_PROVIDER_MANAGER_H_

#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "core/context.h"

class INamespaceProvider;
class ICIMNamespace;

class INamespaceProviderManager {
 public:
  virtual ~INamespaceProviderManager() = default;

  // Slot 1.
  virtual void RegisterProvider(boost::shared_ptr<INamespaceProvider> provider) = 0;

  // Slot 2: the provider registered under `name` (exact, case-sensitive), or
  // an empty pointer.
  virtual boost::shared_ptr<INamespaceProvider> FindProvider(const std::string& name) = 0;

  // Slot 3: loads a plug-in library, which registers its providers while it
  // loads. A file that cannot be loaded logs the loader's reason at level 0
  // and throws TTYLException(kStatusLoadFailed).
  virtual void LoadProviderLibrary(const std::string& path) = 0;

  // Slot 4: a new namespace from the provider named `providerName`, passing
  // the other arguments to its CreateNamespace. An unknown provider logs at
  // level 0 and throws TTYLException(kStatusNotFound).
  virtual boost::shared_ptr<ICIMNamespace> CreateNamespace(
      const std::string& providerName, const TContext& parameters,
      bool allowRedefinition, const std::string& namespaceName) = 0;
};

class TNamespaceProviderManager : public INamespaceProviderManager {
 public:
  void RegisterProvider(boost::shared_ptr<INamespaceProvider> provider) override;
  boost::shared_ptr<INamespaceProvider> FindProvider(const std::string& name) override;
  void LoadProviderLibrary(const std::string& path) override;
  boost::shared_ptr<ICIMNamespace> CreateNamespace(
      const std::string& providerName, const TContext& parameters,
      bool allowRedefinition, const std::string& namespaceName) override;

 private:
  struct TEntry {
    std::string name;
    boost::shared_ptr<INamespaceProvider> provider;
  };
  std::vector<TEntry> providers_;
};

#endif  // INMEM_CORE_NAMESPACE_PROVIDER_MANAGER_H_
