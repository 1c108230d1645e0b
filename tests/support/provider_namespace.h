// A fresh repository namespace from the provider, with no qualifier
// declarations: what a host gets before it loads any MOF.

#ifndef INMEM_TESTS_SUPPORT_PROVIDER_NAMESPACE_H_
#define INMEM_TESTS_SUPPORT_PROVIDER_NAMESPACE_H_

#include "provider/inmem_namespace_provider.h"

inline boost::shared_ptr<ICIMNamespace> NewProviderNamespace(bool allowRedefinition = false) {
  TInmemNamespaceProvider provider;
  return provider.CreateNamespace({}, allowRedefinition, "");
}

#endif  // INMEM_TESTS_SUPPORT_PROVIDER_NAMESPACE_H_
