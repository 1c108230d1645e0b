// TIndicationService: subscriptions kept, changes made into indications.

#include "indication/indication_service.h"

#include <chrono>
#include <map>

#include "core/cim_reference.h"
#include "core/class_lookup.h"
#include "core/namespace_directory.h"
#include "core/tyl_exception.h"
#include "include/cim_class.h"
#include "include/cim_instance.h"
#include "indication/subscription_values.h"

namespace {

const TContext kNone;

// What tells this run's indications from another's: the time it started.
std::string RunToken() {
  static const std::string token = std::to_string(
      std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch()).count());
  return token;
}

}  // namespace

TIndicationService::TIndicationService(TNamespaceRegistry& namespaces, const TInteropNamespace& interop,
                                       TSubscriptionRules rules, TSink sink, std::ostream& log)
    : namespaces_(namespaces), interop_(interop), rules_(std::move(rules)), sink_(std::move(sink)), log_(log) {
  rules_.interopName = interop_.Name();
}

boost::shared_ptr<ICIMNamespace> TIndicationService::Interop() const {
  const TNamespaceRegistry::TEntry* entry = namespaces_.Find(interop_.Name());
  return entry != nullptr ? entry->ns : nullptr;
}

void TIndicationService::Reload() {
  boost::shared_ptr<ICIMNamespace> interop = Interop();
  if (!interop) {
    table_ = TSubscriptionTable();
    return;
  }
  std::vector<std::string> problems;
  table_ = TSubscriptionTable::Read(interop, interop_.Name(), &problems);
  for (const std::string& problem : problems) log_ << "inmem serve: subscription left out: " << problem << "\n";
  log_.flush();
}

bool TIndicationService::Watches(const std::string& namespaceName, ICIMClass& cls) {
  if (table_.Empty()) return false;
  const std::string key = TNamespaceDirectory::Key(namespaceName);
  if (!table_.Listens(key)) return false;
  for (const TActiveSubscription& subscription : table_.Active()) {
    if (subscription.filter->Listens(key) && subscription.filter->MayKeep(cls)) return true;
  }
  return false;
}

void TIndicationService::Created(const std::string& namespaceName, const boost::shared_ptr<ICIMInstance>& instance) {
  unsettled_.push_back({ELifecycle::kCreation, namespaceName, instance, nullptr});
}

void TIndicationService::Modified(const std::string& namespaceName, const boost::shared_ptr<ICIMInstance>& previous,
                                  const boost::shared_ptr<ICIMInstance>& current) {
  unsettled_.push_back({ELifecycle::kModification, namespaceName, current, previous});
}

void TIndicationService::Deleted(const std::string& namespaceName, const boost::shared_ptr<ICIMInstance>& instance) {
  unsettled_.push_back({ELifecycle::kDeletion, namespaceName, instance, nullptr});
}

void TIndicationService::Settle() {
  std::vector<TChange> changes;
  changes.swap(unsettled_);
  for (const TChange& change : changes) {
    try {
      Produce({change.kind, change.namespaceName, change.instance.get(), change.previous.get()});
    } catch (const std::exception& e) {
      log_ << "inmem serve: no indication made of a change in " << change.namespaceName << ": " << e.what() << "\n";
    }
  }
}

void TIndicationService::Produce(const TLifecycleIndication::TSource& source) {
  const std::string key = TNamespaceDirectory::Key(source.namespaceName);
  const int kind = static_cast<int>(source.kind);
  std::unique_ptr<TLifecycleIndication> indication;
  // Per filter, the request it keeps the indication in (nullptr: it does
  // not keep it): made once, however many subscriptions use the filter.
  std::map<const TActiveFilter*, std::shared_ptr<const TExportBody>> requests;
  std::vector<TIndicationToSend> outgoing;
  for (const TActiveSubscription& subscription : table_.Active()) {
    const TActiveFilter& filter = *subscription.filter;
    if (!filter.takes[kind] || !filter.Listens(key) || !filter.MayKeep(*source.instance->GetClass(kNone))) continue;
    auto known = requests.find(&filter);
    if (known == requests.end()) {
      if (!indication) {
        boost::shared_ptr<ICIMNamespace> interop = Interop();
        boost::shared_ptr<ICIMClass> cls = interop ? FindClassOrNull(*interop, LifecycleClassName(source.kind)) : nullptr;
        if (!cls) return;
        try {
          indication = std::make_unique<TLifecycleIndication>(
              *cls, source, rules_.hostName, "inmem:" + RunToken() + ":" + std::to_string(made_ + 1));
        } catch (const TTYLException& e) {
          log_ << "inmem serve: no indication of " << LifecycleClassName(source.kind) << " made: status "
               << e.GetStatusCode() << "\n";
          return;
        }
        ++made_;
      }
      std::shared_ptr<const TExportBody> request;
      if (filter.query.Matches(indication->Instance(), indication.get())) {
        request = std::make_shared<const TExportBody>(
            indication->ExportRequest(++messages_, filter.propertyList.get(), filter.name));
      }
      known = requests.emplace(&filter, std::move(request)).first;
    }
    if (!known->second) continue;
    outgoing.push_back(TIndicationToSend{subscription.destination, known->second, subscription.path});
  }
  if (outgoing.empty()) return;
  sink_(outgoing);
  sent_ += outgoing.size();
}

void TIndicationService::DeliveryFailed(const TDeliveryFailure& failure) {
  boost::shared_ptr<ICIMNamespace> interop = Interop();
  if (!interop) return;
  bool changed = false;
  for (const std::string& path : failure.subscriptionKeys) {
    boost::shared_ptr<ICIMInstance> subscription;
    try {
      subscription = interop->GetInstance(TCIMReference::Parse(path, interop), kNone);
    } catch (const TTYLException&) {
      continue;  // deleted meanwhile
    }
    const uint16_t policy = Uint16Value(*subscription, "OnFatalErrorPolicy", kPolicyIgnore);
    if (policy == kPolicyDisable && Uint16Value(*subscription, "SubscriptionState", kStateEnabled) != kStateDisabled) {
      subscription->SetPropertyValue("SubscriptionState", TCIMValue(static_cast<unsigned short>(kStateDisabled)), kNone);
      subscription->SetPropertyValue("TimeOfLastStateChange", TCIMValue(CurrentTimestamp()), kNone);
      log_ << "inmem serve: subscription " << path << " disabled: its indications could not be delivered ("
           << failure.reason << ")\n";
      changed = true;
    } else if (policy == kPolicyRemove) {
      subscription->Delete(kNone);
      log_ << "inmem serve: subscription " << path << " removed: its indications could not be delivered ("
           << failure.reason << ")\n";
      changed = true;
    }
  }
  log_.flush();
  if (changed) Reload();
}

bool TIndicationService::Guards(ICIMClass& cls) { return SubscriptionClassOf(cls) != ESubscriptionClass::kNone; }

void TIndicationService::PrepareCreate(ICIMClass& cls, TValues* values) {
  boost::shared_ptr<ICIMNamespace> interop = Interop();
  if (interop) PrepareNewInstance(cls, rules_, interop, values);
}

void TIndicationService::PrepareModify(ICIMInstance& instance, const TValues& changed) {
  PrepareInstanceChange(instance, rules_, changed);
}

void TIndicationService::PrepareDelete(ICIMInstance& instance) {
  boost::shared_ptr<ICIMNamespace> interop = Interop();
  if (interop) PrepareInstanceDeletion(instance, *interop);
  if (SubscriptionClassOf(*instance.GetClass(kNone)) == ESubscriptionClass::kDestination) {
    leaving_.push_back(instance.GetReference(kNone).GetPath());
  }
}

void TIndicationService::Changed() {
  Reload();
  // A destination whose deletion was refused after all is still there.
  boost::shared_ptr<ICIMNamespace> interop = Interop();
  for (const std::string& path : leaving_) {
    bool there = false;
    try {
      there = interop && interop->GetInstance(TCIMReference::Parse(path, interop), kNone) != nullptr;
    } catch (const TTYLException&) {
    }
    if (!there && forget_) forget_(path);
  }
  leaving_.clear();
}
