#include "provider/inmem_namespace_provider.h"

#include "include/inmem_namespace.h"

const std::string& TInmemNamespaceProvider::GetName(TContext) {
  static const std::string name("inmem");
  return name;
}

boost::shared_ptr<ICIMNamespace> TInmemNamespaceProvider::CreateNamespace(
    std::map<std::string, TCIMValue>, bool allowRedefinition, std::string) {
  // Owned before Initialize: the root class links back to its namespace.
  boost::shared_ptr<TInmemNamespace> ns(new TInmemNamespace(allowRedefinition));
  ns->Initialize();
  return ns;
}
