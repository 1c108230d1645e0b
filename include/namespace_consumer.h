// INamespaceConsumer: an interface that the core defines and calls when it
// hands namespaces to their users. This system implements none of its
// operations; it keeps the layout (a virtual destructor and three slots) so
// that both sides agree on it.

#ifndef INMEM_INCLUDE_NAMESPACE_CONSUMER_H_
#define INMEM_INCLUDE_NAMESPACE_CONSUMER_H_

#include <boost/shared_ptr.hpp>

#include "core/context.h"

class ICIMNamespace;
class INamespaceProvider;

class INamespaceConsumer {
 public:
  INamespaceConsumer() = default;
  INamespaceConsumer(const INamespaceConsumer&) = default;
  INamespaceConsumer& operator=(const INamespaceConsumer&) = default;
  virtual ~INamespaceConsumer() = default;  // slot 0

  // Slot 1: a namespace has been created for the consumer.
  virtual void NamespaceAdded(boost::shared_ptr<ICIMNamespace> ns, TContext context) = 0;
  // Slot 2: the namespace is being withdrawn.
  virtual void NamespaceRemoved(boost::shared_ptr<ICIMNamespace> ns, TContext context) = 0;
  // Slot 3: a provider has been registered with the manager.
  virtual void ProviderRegistered(boost::shared_ptr<INamespaceProvider> provider,
                                  TContext context) = 0;
};

#endif  // INMEM_INCLUDE_NAMESPACE_CONSUMER_H_
