// The rules for the instances of the subscription classes that clients
// make, change and delete in the Interop namespace (DMTF DSP1054):
//
//   CIM_IndicationFilter      Query and QueryLanguage (WQL or DMTF:CQL)
//                             required; the query must read, fit the
//                             Interop namespace's classes and select an
//                             indication class; SourceNamespaces (or the
//                             older SourceNamespace) must be namespace names.
//   CIM_ListenerDestination   (CIM_ListenerDestinationCIMXML, and the older
//                             CIM_IndicationHandlerCIMXML) Destination an
//                             http or https URL; beyond loopback, https only
//                             unless the server runs --insecure; Protocol
//                             CIM-XML.
//   CIM_IndicationSubscription  Filter and Handler must name a filter and a
//                             destination that are there; SubscriptionState
//                             Enabled or Disabled; OnFatalErrorPolicy
//                             Ignore, Disable or Remove.
//
// The server fills what a client leaves out: SystemCreationClassName
// (CIM_ComputerSystem), SystemName (its host name), CreationClassName (the
// class made) and a Name for filters and destinations; for subscriptions
// SubscriptionState Enabled, OnFatalErrorPolicy Ignore, and the start time.
// A filter or destination that a subscription uses cannot be deleted, and a
// filter's query cannot change (a new filter is made instead). What breaks
// a rule throws TCimError with the reason.
//
// Counts are bounded (maxFilters and the others), since clients make these.
//
// The server's thread; state is the caller's.

#ifndef INMEM_INDICATION_SUBSCRIPTION_RULES_H_
#define INMEM_INDICATION_SUBSCRIPTION_RULES_H_

#include <cstddef>
#include <cstdint>
#include <string>

#include <boost/shared_ptr.hpp>

#include "include/cim_class.h"
#include "include/cim_instance.h"
#include "include/cim_namespace.h"
#include "server/indication_hooks.h"

enum class ESubscriptionClass { kNone, kFilter, kDestination, kSubscription, kUnsupported };

// Which of the subscription classes `cls` is, by its ancestry: kUnsupported
// for the ones the server does not serve (filter collections and their
// subscriptions).
ESubscriptionClass SubscriptionClassOf(ICIMClass& cls);

struct TSubscriptionRules {
  std::string hostName;
  std::string interopName;
  // Plain-http destinations beyond loopback are allowed.
  bool insecure = false;
  size_t maxFilters = 1000;
  size_t maxDestinations = 1000;
  size_t maxSubscriptions = 1000;
};

// Checks a new instance's values and fills in the server's choices.
void PrepareNewInstance(ICIMClass& cls, const TSubscriptionRules& rules, const boost::shared_ptr<ICIMNamespace>& interop,
                        ISubscriptionGuard::TValues* values);
// Checks a change of `changed` on `instance`.
void PrepareInstanceChange(ICIMInstance& instance, const TSubscriptionRules& rules,
                           const ISubscriptionGuard::TValues& changed);
// Refuses deleting a filter or destination a subscription uses.
void PrepareInstanceDeletion(ICIMInstance& instance, ICIMNamespace& interop);

#endif  // INMEM_INDICATION_SUBSCRIPTION_RULES_H_
