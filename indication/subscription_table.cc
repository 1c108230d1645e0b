// TSubscriptionTable: the Interop namespace's subscriptions, read.

#include "indication/subscription_table.h"

#include <algorithm>
#include <map>

#include "core/ascii.h"
#include "core/cim_reference.h"
#include "core/class_lookup.h"
#include "core/collected.h"
#include "core/namespace_directory.h"
#include "core/tyl_exception.h"
#include "delivery/listener_url.h"
#include "include/cim_class.h"
#include "include/cim_instance.h"
#include "include/cim_property.h"
#include "indication/subscription_values.h"

namespace {

const TContext kNone;

// The filter a subscription names, read once however many subscriptions
// use it.
std::shared_ptr<const TActiveFilter> ReadFilter(ICIMInstance& instance, const boost::shared_ptr<ICIMNamespace>& interop,
                                                const std::string& interopName, std::string* problem) {
  const std::string query = StringValue(instance, "Query");
  const std::string language = StringValue(instance, "QueryLanguage");
  std::optional<TBoundQuery> bound;
  try {
    bound = TBoundQuery::Prepare(language, query, interop);
  } catch (const TQueryError& e) {
    *problem = e.what();
    return nullptr;
  }
  auto filter = std::make_shared<TActiveFilter>(TActiveFilter{instance.GetReference(kNone).GetPath(),
                                                              StringValue(instance, "Name"), *bound, {}, {}, {}, {}});
  for (ELifecycle kind : {ELifecycle::kCreation, ELifecycle::kModification, ELifecycle::kDeletion}) {
    boost::shared_ptr<ICIMClass> cls = FindClassOrNull(*interop, LifecycleClassName(kind));
    filter->takes[static_cast<int>(kind)] = cls && bound->CanMatch(*cls);
  }
  for (const std::string& name : SourceNamespacesOf(instance, interopName)) {
    filter->sources.insert(TNamespaceDirectory::Key(name));
  }
  filter->sourceClasses = bound->EmbeddedClassesRequired("SourceInstance");
  if (!bound->SelectsAll()) {
    auto list = std::make_shared<std::set<std::string>>();
    for (const std::string& name : bound->SelectedProperties()) list->insert(LowerAscii(name));
    filter->propertyList = std::move(list);
  }
  return filter;
}

}  // namespace

bool TActiveFilter::MayKeep(ICIMClass& cls) const {
  if (sourceClasses.empty()) return true;
  return std::any_of(sourceClasses.begin(), sourceClasses.end(),
                     [&cls](const std::string& name) { return IsOrDerivesFrom(cls, name); });
}

bool ReadDestinationUrl(std::string url, TDestination* destination, TListenerUrl* parsed, std::string* problem) {
  destination->user.clear();
  destination->password.clear();
  // user:password@ after the scheme, before the host.
  const size_t scheme = url.find("://");
  const size_t hostStart = scheme == std::string::npos ? 0 : scheme + 3;
  const size_t hostEnd = url.find_first_of("/?#", hostStart);
  const size_t at = url.rfind('@', hostEnd == std::string::npos ? url.size() : hostEnd);
  if (at != std::string::npos && at >= hostStart) {
    const std::string credentials = url.substr(hostStart, at - hostStart);
    const size_t colon = credentials.find(':');
    destination->user = credentials.substr(0, colon);
    if (colon != std::string::npos) destination->password = credentials.substr(colon + 1);
    url.erase(hostStart, at + 1 - hostStart);
  }
  destination->url = url;
  std::optional<TListenerUrl> read = ParseListenerUrl(url, problem);
  if (!read) return false;
  *parsed = *read;
  return true;
}

bool DestinationOf(ICIMInstance& instance, TDestination* destination, std::string* problem) {
  destination->key = instance.GetReference(kNone).GetPath();
  TListenerUrl parsed;
  return ReadDestinationUrl(StringValue(instance, "Destination"), destination, &parsed, problem);
}

TSubscriptionTable TSubscriptionTable::Read(const boost::shared_ptr<ICIMNamespace>& interop,
                                            const std::string& interopName, std::vector<std::string>* problems) {
  TSubscriptionTable table;
  boost::shared_ptr<ICIMClass> subscriptions = FindClassOrNull(*interop, "CIM_IndicationSubscription");
  if (!subscriptions) return table;
  std::map<std::string, std::shared_ptr<const TActiveFilter>> filters;
  const auto instances = Collected<ICIMInstance>(
      [&](const auto& callback) { subscriptions->EnumerateInstances(callback, true, kNone); });
  for (const auto& subscription : instances) {
    const std::string path = subscription->GetReference(kNone).GetPath();
    const uint16_t state = Uint16Value(*subscription, "SubscriptionState", kStateEnabled);
    if (state != kStateEnabled && state != kStateEnabledDegraded) continue;
    boost::shared_ptr<ICIMInstance> filterInstance = Referenced(*subscription, "Filter", *interop);
    boost::shared_ptr<ICIMInstance> handler = Referenced(*subscription, "Handler", *interop);
    if (!filterInstance || !handler) {
      problems->push_back("subscription " + path + ": its filter or handler is not there");
      continue;
    }
    const std::string filterPath = filterInstance->GetReference(kNone).GetPath();
    auto known = filters.find(filterPath);
    if (known == filters.end()) {
      std::string problem;
      known = filters.emplace(filterPath, ReadFilter(*filterInstance, interop, interopName, &problem)).first;
      if (!known->second) problems->push_back("filter " + filterPath + ": " + problem);
    }
    if (!known->second) continue;
    TActiveSubscription active;
    active.path = path;
    active.filter = known->second;
    std::string problem;
    if (!DestinationOf(*handler, &active.destination, &problem)) {
      problems->push_back("destination " + handler->GetReference(kNone).GetPath() + ": " + problem);
      continue;
    }
    active.onFatalError = Uint16Value(*subscription, "OnFatalErrorPolicy", kPolicyIgnore);
    table.listened_.insert(active.filter->sources.begin(), active.filter->sources.end());
    table.active_.push_back(std::move(active));
  }
  return table;
}
