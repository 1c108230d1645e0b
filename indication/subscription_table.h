// TSubscriptionTable: the subscriptions the Interop namespace holds, read
// into what producing an indication needs: for each enabled
// CIM_IndicationSubscription, its filter's query (bound to the Interop
// namespace, where the indication classes are), the namespaces the filter
// listens to, the lifecycle kinds its FROM class takes, and the listener
// destination it delivers to.
//
// The instances are the truth: the table is read again from them whenever
// they change (Read), so that what a client made, a snapshot brought back
// or a class write rebuilt is what is served. A subscription whose filter
// or destination cannot be used (a query the schema no longer fits, an
// unusable URL) is left out, with a line in `problems`.
//
// A value; the server's thread makes and reads it.

#ifndef INMEM_INDICATION_SUBSCRIPTION_TABLE_H_
#define INMEM_INDICATION_SUBSCRIPTION_TABLE_H_

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "delivery/indication_delivery.h"
#include "delivery/listener_url.h"
#include "include/cim_namespace.h"
#include "indication/lifecycle_indication.h"
#include "query/bound_query.h"

// The OnFatalErrorPolicy values of a subscription.
constexpr uint16_t kPolicyIgnore = 2;
constexpr uint16_t kPolicyDisable = 3;
constexpr uint16_t kPolicyRemove = 4;
// SubscriptionState values.
constexpr uint16_t kStateEnabled = 2;
constexpr uint16_t kStateEnabledDegraded = 3;
constexpr uint16_t kStateDisabled = 4;

struct TActiveFilter {
  std::string path;  // the filter instance's path text
  std::string name;  // its Name
  TBoundQuery query;
  // The namespaces it listens to, by TNamespaceDirectory::Key.
  std::set<std::string> sources;
  // Which lifecycle kinds its FROM class takes, by ELifecycle.
  bool takes[3] = {false, false, false};
  // The SELECT list's properties (lower case), or none for SELECT *.
  std::shared_ptr<const std::set<std::string>> propertyList;
  // The classes the source instance must be or derive from, as far as the
  // condition says (SourceInstance ISA ...); empty: any.
  std::vector<std::string> sourceClasses;

  bool Listens(const std::string& namespaceKey) const { return sources.count(namespaceKey) != 0; }
  // Whether a change of an instance of `cls` may pass the condition.
  bool MayKeep(ICIMClass& cls) const;
};

struct TActiveSubscription {
  std::string path;  // the subscription instance's path text
  std::shared_ptr<const TActiveFilter> filter;
  TDestination destination;
  uint16_t onFatalError = kPolicyIgnore;
};

class TSubscriptionTable {
 public:
  // Reads the subscriptions of `interop` (named `interopName`).
  static TSubscriptionTable Read(const boost::shared_ptr<ICIMNamespace>& interop, const std::string& interopName,
                                 std::vector<std::string>* problems);

  const std::vector<TActiveSubscription>& Active() const { return active_; }
  bool Empty() const { return active_.empty(); }
  // Whether some subscription listens to the namespace (by its key).
  bool Listens(const std::string& namespaceKey) const { return listened_.count(namespaceKey) != 0; }

 private:
  std::vector<TActiveSubscription> active_;
  std::set<std::string> listened_;
};

// Reads a destination's URL into `destination` (its url, user and
// password; the key is the caller's) and `parsed`: credentials written in
// it (user:password@) are taken out into the user and password, so that the
// URL the log shows has none. False, with the reason, when the URL cannot
// be used.
bool ReadDestinationUrl(std::string url, TDestination* destination, TListenerUrl* parsed, std::string* problem);
// The destination a listener-destination instance names (its Destination).
bool DestinationOf(ICIMInstance& instance, TDestination* destination, std::string* problem);

#endif  // INMEM_INDICATION_SUBSCRIPTION_TABLE_H_
