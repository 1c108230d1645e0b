// TIndicationService: the server's indications. It keeps the rules of the
// subscription classes in the Interop namespace (ISubscriptionGuard), reads
// the subscriptions again whenever they change (TSubscriptionTable), and
// turns every instance change it is told of (IInstanceChanges: clients'
// writes, the inventory's collections) into lifecycle indications, each put
// to the filter of every enabled subscription that listens to the change's
// namespace and takes its kind; what a filter keeps goes, as a CIM-XML
// export request, to the subscription's destination through `sink` (the
// delivery engine, which sends it off this thread).
//
// Without subscriptions nothing is made: Watches answers false, and the
// operations copy nothing.
//
// Delivery failures come back through DeliveryFailed: a subscription whose
// OnFatalErrorPolicy is Disable is disabled (SubscriptionState Disabled),
// one whose policy is Remove is deleted; Ignore leaves it.
//
// Not thread-safe by itself: the server calls it with the operations'
// lock (TRepositoryLock) held alone, which also keeps the registry and
// the Interop namespace; `sink` must be safe to call from any of the
// server's threads.

#ifndef INMEM_INDICATION_INDICATION_SERVICE_H_
#define INMEM_INDICATION_INDICATION_SERVICE_H_

#include <cstdint>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "delivery/indication_delivery.h"
#include "indication/lifecycle_indication.h"
#include "indication/subscription_rules.h"
#include "indication/subscription_table.h"
#include "server/indication_hooks.h"
#include "server/interop_namespace.h"
#include "server/namespace_registry.h"

class TIndicationService : public IInstanceChanges, public ISubscriptionGuard {
 public:
  // Takes what one change sends to its subscribers, in order.
  typedef std::function<void(const std::vector<TIndicationToSend>& requests)> TSink;

  // `log` receives a line for each subscription left out and each one
  // disabled or removed. `namespaces` and `interop` must outlive it.
  TIndicationService(TNamespaceRegistry& namespaces, const TInteropNamespace& interop, TSubscriptionRules rules,
                     TSink sink, std::ostream& log);

  // Calls `forget` with the key of each listener destination deleted, once
  // it is gone: what is queued for it is of no use any more.
  void OnForget(std::function<void(const std::string& destination)> forget) { forget_ = std::move(forget); }

  // Reads the subscriptions the Interop namespace holds (after a snapshot
  // brought them back, or a class write rebuilt it).
  void Reload();
  const TSubscriptionTable& Table() const { return table_; }
  // Indications made and requests handed to the sink so far.
  uint64_t Made() const { return made_; }
  uint64_t Sent() const { return sent_; }

  // A destination's indications were dropped; applies the policies of the
  // subscriptions concerned.
  void DeliveryFailed(const TDeliveryFailure& failure);

  // IInstanceChanges.
  bool Watches(const std::string& namespaceName, ICIMClass& cls) override;
  // Each change is kept as told; Settle makes their indications, in order.
  void Created(const std::string& namespaceName, const boost::shared_ptr<ICIMInstance>& instance) override;
  void Modified(const std::string& namespaceName, const boost::shared_ptr<ICIMInstance>& previous,
                const boost::shared_ptr<ICIMInstance>& current) override;
  void Deleted(const std::string& namespaceName, const boost::shared_ptr<ICIMInstance>& instance) override;
  void Settle() override;

  // ISubscriptionGuard.
  bool Guards(ICIMClass& cls) override;
  void PrepareCreate(ICIMClass& cls, TValues* values) override;
  void PrepareModify(ICIMInstance& instance, const TValues& changed) override;
  void PrepareDelete(ICIMInstance& instance) override;
  void Changed() override;

 private:
  boost::shared_ptr<ICIMNamespace> Interop() const;
  // A change told and not settled yet; it holds its instances.
  struct TChange {
    ELifecycle kind;
    std::string namespaceName;
    boost::shared_ptr<ICIMInstance> instance, previous;
  };

  // Makes the indication of one change and sends it where filters keep it.
  void Produce(const TLifecycleIndication::TSource& source);

  TNamespaceRegistry& namespaces_;
  const TInteropNamespace& interop_;
  TSubscriptionRules rules_;
  TSink sink_;
  std::function<void(const std::string&)> forget_;
  // Destinations being deleted, forgotten once the deletion is done.
  std::vector<std::string> leaving_;
  std::vector<TChange> unsettled_;
  std::ostream& log_;
  TSubscriptionTable table_;
  uint64_t made_ = 0;
  uint64_t sent_ = 0;
  uint64_t messages_ = 0;
};

#endif  // INMEM_INDICATION_INDICATION_SERVICE_H_
