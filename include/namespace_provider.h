// INamespaceProvider: a source of namespaces registered with the core's
// namespace provider manager.

#ifndef INMEM_INCLUDE_NAMESPACE_PROVIDER_H_
#define INMEM_INCLUDE_NAMESPACE_PROVIDER_H_

#include <map>
#include <string>

#include <boost/shared_ptr.hpp>

#include "core/context.h"

class ICIMNamespace;

class INamespaceProvider {
 public:
  virtual ~INamespaceProvider() = default;  // slot 0

  // Slot 1: the provider's name, under which the manager files it.
  virtual const std::string& GetName(TContext context) = 0;
  // Slot 2: a new namespace; the bool allows redefinition of classes and
  // qualifier declarations, the map and string are the manager's parameters.
  virtual boost::shared_ptr<ICIMNamespace> CreateNamespace(
      std::map<std::string, TCIMValue> parameters, bool allowRedefinition,
      std::string namespaceName) = 0;
  // Slot 3.
  virtual int GetProviderKind(TContext context) = 0;
  // Slot 4.
  virtual bool GetProviderFlag(TContext context) = 0;
};

#endif  // INMEM_INCLUDE_NAMESPACE_PROVIDER_H_
