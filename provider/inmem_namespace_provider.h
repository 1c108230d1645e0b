// TInmemNamespaceProvider: the provider "inmem". It holds no state: every
// CreateNamespace makes a new, independent, initialised TInmemNamespace, and
// the provider keeps no record of the namespaces it made.

#ifndef INMEM_PROVIDER_INMEM_NAMESPACE_PROVIDER_H_
#define INMEM_PROVIDER_INMEM_NAMESPACE_PROVIDER_H_

#include <map>
#include <string>

#include "include/namespace_provider.h"

class TInmemNamespaceProvider : public INamespaceProvider {
 public:
  // "inmem", a process-wide string built on the first call.
  const std::string& GetName(TContext context) override;
  // The map and string are accepted and not used; the flag allows
  // redefinition in the new namespace.
  boost::shared_ptr<ICIMNamespace> CreateNamespace(std::map<std::string, TCIMValue> parameters,
                                                   bool allowRedefinition,
                                                   std::string namespaceName) override;
  int GetProviderKind(TContext) override { return 2; }
  bool GetProviderFlag(TContext) override { return false; }
};

#endif  // INMEM_PROVIDER_INMEM_NAMESPACE_PROVIDER_H_
