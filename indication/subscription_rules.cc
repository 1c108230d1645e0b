// The rules for filters, listener destinations and subscriptions.

#include "indication/subscription_rules.h"

#include <atomic>
#include <chrono>

#include <boost/asio/ip/address.hpp>

#include "core/ascii.h"
#include "core/cim_reference.h"
#include "core/printable_text.h"
#include "core/tyl_exception.h"
#include "include/cim_property.h"
#include "indication/lifecycle_indication.h"
#include "indication/subscription_table.h"
#include "indication/subscription_values.h"
#include "query/bound_query.h"
#include "server/cim_status.h"
#include "server/namespace_registry.h"

namespace {

const TContext kNone;
typedef ISubscriptionGuard::TValues TValues;

bool Derives(ICIMClass& cls, const char* ancestor) { return IsOrDerivesFrom(cls, ancestor); }

TCIMValue* Find(TValues* values, const char* name) {
  for (auto& v : *values) {
    if (EqualsFoldingAscii(v.first, name)) return v.second.IsNull() ? nullptr : &v.second;
  }
  return nullptr;
}

const TCIMValue* Find(const TValues& values, const char* name) {
  return Find(const_cast<TValues*>(&values), name);
}

// Sets `name` to `value` unless the client gave one.
void Fill(TValues* values, const char* name, TCIMValue value) {
  for (auto& v : *values) {
    if (!EqualsFoldingAscii(v.first, name)) continue;
    if (v.second.IsNull()) v.second = std::move(value);
    return;
  }
  values->emplace_back(name, std::move(value));
}

[[noreturn]] void Refuse(ECimStatus status, const std::string& why) { throw TCimError(status, why); }

std::string RequiredString(const TValues& values, const char* name, const std::string& what) {
  const TCIMValue* value = Find(values, name);
  if (value == nullptr || value->IsArray() || value->GetType() != kCIMTypeString || value->GetString().empty()) {
    Refuse(kCimInvalidParameter, what + " needs " + name);
  }
  return value->GetString();
}

// A name no other instance of the server's run has: the time the server
// made it, and a count.
std::string NewName(const char* kind) {
  static std::atomic<uint64_t> made{0};
  const auto now = std::chrono::duration_cast<std::chrono::milliseconds>(
                       std::chrono::system_clock::now().time_since_epoch())
                       .count();
  return std::string("inmem:") + kind + ":" + std::to_string(now) + "-" + std::to_string(++made);
}

void FillKeys(ICIMClass& cls, const TSubscriptionRules& rules, const char* kind, TValues* values) {
  Fill(values, "SystemCreationClassName", TCIMValue("CIM_ComputerSystem"));
  Fill(values, "SystemName", TCIMValue(rules.hostName));
  Fill(values, "CreationClassName", TCIMValue(cls.GetName(kNone)));
  Fill(values, "Name", TCIMValue(NewName(kind)));
}

size_t CountOf(ICIMNamespace& interop, const char* className) {
  boost::shared_ptr<ICIMClass> cls = FindClassOrNull(interop, className);
  size_t count = 0;
  if (cls) cls->EnumerateInstances([&](boost::shared_ptr<ICIMInstance>) { return ++count, true; }, true, kNone);
  return count;
}

void RequireRoom(ICIMNamespace& interop, const char* className, size_t limit, const char* what) {
  if (CountOf(interop, className) >= limit) {
    Refuse(kCimFailed, "the server holds " + std::to_string(limit) + " " + what + " already, as many as it takes");
  }
}

bool IsLoopbackHost(const std::string& host) {
  if (EqualsFoldingAscii(host, "localhost")) return true;
  boost::system::error_code error;
  const boost::asio::ip::address address = boost::asio::ip::make_address(host, error);
  return !error && address.is_loopback();
}

void CheckDestination(const std::string& url, const TSubscriptionRules& rules) {
  TDestination destination;
  TListenerUrl parsed;
  std::string problem;
  if (!ReadDestinationUrl(url, &destination, &parsed, &problem)) {
    Refuse(kCimInvalidParameter, "Destination " + Printable(url) + " is no http or https URL: " + problem);
  }
  if (!parsed.tls && !rules.insecure && !IsLoopbackHost(parsed.host)) {
    Refuse(kCimInvalidParameter, "Destination " + Printable(destination.url) +
                                     " is beyond loopback: indications go there over https only (or a server "
                                     "started with --insecure)");
  }
}

void PrepareFilter(ICIMClass& cls, const TSubscriptionRules& rules, const boost::shared_ptr<ICIMNamespace>& shared,
                   TValues* values) {
  ICIMNamespace& interop = *shared;
  const std::string query = RequiredString(*values, "Query", "a filter");
  const std::string language = RequiredString(*values, "QueryLanguage", "a filter");
  EQueryLanguage parsedLanguage;
  if (!QueryLanguageNamed(language, &parsedLanguage) || parsedLanguage == EQueryLanguage::kFql) {
    Refuse(kCimNotSupported, "QueryLanguage " + Printable(language) + ": filters are written in WQL or DMTF:CQL");
  }
  try {
    const TBoundQuery bound = TBoundQuery::Prepare(language, query, shared);
    if (!Derives(*bound.FromClass(), "CIM_Indication")) {
      Refuse(kCimInvalidParameter, "the query selects " + bound.FromClassName() + ", which is no indication class");
    }
  } catch (const TQueryError& e) {
    Refuse(kCimInvalidParameter, std::string("the query does not read: ") + e.what());
  }
  std::vector<std::string> sources;
  if (const TCIMValue* many = Find(values, "SourceNamespaces")) {
    if (!many->IsArray()) Refuse(kCimInvalidParameter, "SourceNamespaces is an array of namespace names");
    for (const TCIMValue& element : many->GetElements()) {
      sources.push_back(element.IsNull() ? std::string() : static_cast<std::string>(element));
    }
  }
  if (const TCIMValue* one = Find(values, "SourceNamespace")) sources.push_back(static_cast<std::string>(*one));
  for (const std::string& name : sources) {
    if (!TNamespaceRegistry::IsValidName(name)) {
      Refuse(kCimInvalidParameter, "source namespace " + Printable(name) + " is no namespace name");
    }
  }
  RequireRoom(interop, "CIM_IndicationFilter", rules.maxFilters, "filters");
  FillKeys(cls, rules, "filter", values);
}

void PrepareDestination(ICIMClass& cls, const TSubscriptionRules& rules, ICIMNamespace& interop, TValues* values) {
  CheckDestination(RequiredString(*values, "Destination", "a listener destination"), rules);
  if (const TCIMValue* protocol = Find(values, "Protocol")) {
    if (static_cast<unsigned long long>(*protocol) != 2) {
      Refuse(kCimNotSupported, "Protocol " + protocol->ToString() + ": indications go out as CIM-XML (2) only");
    }
  }
  RequireRoom(interop, "CIM_ListenerDestination", rules.maxDestinations, "listener destinations");
  FillKeys(cls, rules, "destination", values);
}

void CheckState(const TCIMValue* state, const TCIMValue* policy) {
  if (state != nullptr) {
    const auto value = static_cast<unsigned long long>(*state);
    if (value != kStateEnabled && value != kStateDisabled) {
      Refuse(kCimNotSupported, "SubscriptionState " + state->ToString() + ": a subscription is Enabled (2) or "
                                                                          "Disabled (4)");
    }
  }
  if (policy != nullptr) {
    const auto value = static_cast<unsigned long long>(*policy);
    if (value != kPolicyIgnore && value != kPolicyDisable && value != kPolicyRemove) {
      Refuse(kCimNotSupported, "OnFatalErrorPolicy " + policy->ToString() +
                                   ": the server knows Ignore (2), Disable (3) and Remove (4)");
    }
  }
}

void PrepareSubscription(const TSubscriptionRules& rules, ICIMNamespace& interop, TValues* values) {
  for (const char* end : {"Filter", "Handler"}) {
    const TCIMValue* value = Find(values, end);
    if (value == nullptr || !value->IsReference()) Refuse(kCimInvalidParameter, std::string("a subscription needs ") + end);
    TCIMReference path = value->GetReference();
    path.SetNameSpaceName("");
    boost::shared_ptr<ICIMInstance> target;
    try {
      target = interop.GetInstance(path, kNone);
    } catch (const TTYLException&) {
    }
    if (!target) Refuse(kCimInvalidParameter, std::string(end) + " " + Printable(path.GetPath()) + " is not there");
    const ESubscriptionClass kind = SubscriptionClassOf(*target->GetClass(kNone));
    const ESubscriptionClass wanted = end[0] == 'F' ? ESubscriptionClass::kFilter : ESubscriptionClass::kDestination;
    if (kind != wanted) {
      Refuse(kCimInvalidParameter, std::string(end) + " " + Printable(path.GetPath()) + " is no " +
                                       (wanted == ESubscriptionClass::kFilter ? "indication filter" : "listener destination"));
    }
  }
  CheckState(Find(values, "SubscriptionState"), Find(values, "OnFatalErrorPolicy"));
  RequireRoom(interop, "CIM_IndicationSubscription", rules.maxSubscriptions, "subscriptions");
  const TCIMValue now(CurrentTimestamp());
  Fill(values, "SubscriptionState", TCIMValue(static_cast<unsigned short>(kStateEnabled)));
  Fill(values, "OnFatalErrorPolicy", TCIMValue(static_cast<unsigned short>(kPolicyIgnore)));
  Fill(values, "SubscriptionStartTime", now);
  Fill(values, "TimeOfLastStateChange", now);
}

}  // namespace

ESubscriptionClass SubscriptionClassOf(ICIMClass& cls) {
  if (Derives(cls, "CIM_IndicationFilter")) return ESubscriptionClass::kFilter;
  if (Derives(cls, "CIM_ListenerDestination")) return ESubscriptionClass::kDestination;
  if (Derives(cls, "CIM_IndicationSubscription")) return ESubscriptionClass::kSubscription;
  if (Derives(cls, "CIM_AbstractIndicationSubscription") || Derives(cls, "CIM_FilterCollection")) {
    return ESubscriptionClass::kUnsupported;
  }
  return ESubscriptionClass::kNone;
}

void PrepareNewInstance(ICIMClass& cls, const TSubscriptionRules& rules, const boost::shared_ptr<ICIMNamespace>& interop,
                        TValues* values) {
  switch (SubscriptionClassOf(cls)) {
    case ESubscriptionClass::kFilter:
      return PrepareFilter(cls, rules, interop, values);
    case ESubscriptionClass::kDestination:
      return PrepareDestination(cls, rules, *interop, values);
    case ESubscriptionClass::kSubscription:
      return PrepareSubscription(rules, *interop, values);
    case ESubscriptionClass::kUnsupported:
      Refuse(kCimNotSupported, "instances of " + cls.GetName(kNone) +
                                   " are not served: subscribe with CIM_IndicationSubscription to one filter");
    case ESubscriptionClass::kNone:
      return;
  }
}

void PrepareInstanceChange(ICIMInstance& instance, const TSubscriptionRules& rules, const TValues& changed) {
  switch (SubscriptionClassOf(*instance.GetClass(kNone))) {
    case ESubscriptionClass::kFilter:
      for (const auto& v : changed) {
        for (const char* fixed : {"Query", "QueryLanguage", "SourceNamespace", "SourceNamespaces"}) {
          if (!EqualsFoldingAscii(v.first, fixed)) continue;
          if (v.second != instance.GetProperty(v.first, kNone)->GetValue(kNone)) {
            Refuse(kCimNotSupported, std::string("a filter's ") + fixed + " does not change: make another filter");
          }
        }
      }
      return;
    case ESubscriptionClass::kDestination:
      for (const auto& v : changed) {
        if (!EqualsFoldingAscii(v.first, "Destination")) continue;
        if (v.second.IsNull()) Refuse(kCimInvalidParameter, "a listener destination needs Destination");
        CheckDestination(static_cast<std::string>(v.second), rules);
      }
      return;
    case ESubscriptionClass::kSubscription:
      CheckState(Find(changed, "SubscriptionState"), Find(changed, "OnFatalErrorPolicy"));
      return;
    default:
      return;
  }
}

void PrepareInstanceDeletion(ICIMInstance& instance, ICIMNamespace& interop) {
  const ESubscriptionClass kind = SubscriptionClassOf(*instance.GetClass(kNone));
  if (kind != ESubscriptionClass::kFilter && kind != ESubscriptionClass::kDestination) return;
  boost::shared_ptr<ICIMClass> subscriptions = FindClassOrNull(interop, "CIM_AbstractIndicationSubscription");
  if (!subscriptions) return;
  const std::string path = instance.GetReference(kNone).GetPath();
  std::string user;
  subscriptions->EnumerateInstances(
      [&](boost::shared_ptr<ICIMInstance> subscription) {
        for (const char* end : {"Filter", "Handler"}) {
          boost::shared_ptr<ICIMInstance> target = Referenced(*subscription, end, interop);
          if (target && target->GetReference(kNone).GetPath() == path) {
            user = subscription->GetReference(kNone).GetPath();
            return false;
          }
        }
        return true;
      },
      true, kNone);
  if (!user.empty()) {
    Refuse(kCimFailed, std::string(kind == ESubscriptionClass::kFilter ? "the filter" : "the listener destination") +
                           " is used by the subscription " + user + ": delete the subscription first");
  }
}
