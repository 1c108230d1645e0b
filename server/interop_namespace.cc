// TInteropNamespace: the bundled classes loaded beside the user's, and the
// server's own instances entered through the element interfaces.

#include "server/interop_namespace.h"

#include <stdexcept>

#include "core/ascii.h"
#include "core/log_capture.h"
#include "core/namespace_directory.h"
#include "core/printable_text.h"
#include "core/tyl_exception.h"
#include "include/cim_class.h"
#include "include/cim_instance.h"
#include "mof/mof_loader.h"
#include "server/cim_status.h"

namespace {

const TContext kNone;

typedef std::vector<std::pair<std::string, TCIMValue>> TValues;

// ValueMap numbers of the Interop classes.
const uint16_t kEnabled = 2;              // EnabledState
const uint16_t kOperationalOk = 2;            // OperationalStatus
const uint16_t kNotAdvertised = 2;        // AdvertiseTypes
const uint16_t kCimXml = 2;               // CommunicationMechanism
const uint16_t kNoAuthentication = 2;     // AuthenticationMechanismsSupported
const uint16_t kBasicAuthentication = 3;
const uint16_t kDmtf = 2;                 // RegisteredOrganization
const uint16_t kSnia = 11;
const uint16_t kClassTypeCim = 2;         // CIM_Namespace.ClassType
const uint16_t kClassInfoUnknown = 0;     // CIM_Namespace.ClassInfo

// The profiles the server implements, each with the object manager as its
// central instance.
const TRegisteredProfile kProfiles[] = {
    {kDmtf, "DMTF", "Profile Registration", "1.0.0"},
    {kDmtf, "DMTF", "WBEM Server", "1.0.0"},
    {kSnia, "SNIA", "Server", "1.5.0"},
};

const uint16_t kOtherOrganization = 1;
// CIM_IndicationService.SubscriptionRemovalAction: subscriptions stay.
const uint16_t kSubscriptionsIgnored = 4;
const TRegisteredProfile kIndicationsProfile{kDmtf, "DMTF", "Indications", "1.2.2"};

TCIMValue Uint16(uint16_t value) { return TCIMValue(static_cast<unsigned short>(value)); }

TCIMValue Uint16s(const std::vector<uint16_t>& values) {
  std::vector<TCIMValue> elements;
  for (uint16_t v : values) elements.push_back(Uint16(v));
  return TCIMValue(kCIMTypeUint16, std::move(elements));
}

TCIMValue Strings(const std::vector<std::string>& values) {
  std::vector<TCIMValue> elements;
  for (const std::string& v : values) elements.emplace_back(v);
  return TCIMValue(kCIMTypeString, std::move(elements));
}

}  // namespace

// The InstanceID of the server's registration of `profile`.
std::string TInteropNamespace::ProfileId(const TRegisteredProfile& profile) const {
  return identity_.product + ":" + profile.organizationName + "+" + profile.name + "+" + profile.version;
}

namespace {

const TCIMValue* FindValue(const TValues& values, const char* name) {
  for (const auto& v : values) {
    if (EqualsFoldingAscii(v.first, name)) return &v.second;
  }
  return nullptr;
}

}  // namespace

TInteropNamespace::TInteropNamespace(TNamespaceRegistry& namespaces, std::string name, TServerIdentity identity)
    : namespaces_(namespaces), name_(std::move(name)), identity_(std::move(identity)) {}

const TNamespaceRegistry::TEntry& TInteropNamespace::Entry() const {
  const TNamespaceRegistry::TEntry* entry = namespaces_.Find(name_);
  if (entry == nullptr) throw std::logic_error("the Interop namespace " + name_ + " is not served");
  return *entry;
}

bool TInteropNamespace::IsInterop(std::string_view namespaceName) const {
  return TNamespaceDirectory::Key(namespaceName) == TNamespaceDirectory::Key(name_);
}

bool TInteropNamespace::Owns(const TCIMReference& path) const { return owned_.count(path.PathText()) != 0; }

bool TInteropNamespace::IsNamespaceClass(const std::string& className) const {
  try {
    const boost::shared_ptr<ICIMNamespace>& ns = Entry().ns;
    return ns->GetClass(className, kNone)->IsSubclassOf(ns->GetClass("CIM_Namespace", kNone), kNone);
  } catch (const TTYLException&) {
    return false;
  }
}

std::function<bool(ICIMInstance&)> TInteropNamespace::SnapshotFilter() const {
  return [this](ICIMInstance& instance) { return !Owns(instance.GetReference(kNone)); };
}

void TInteropNamespace::Start() {
  if (namespaces_.Find(name_) == nullptr) name_ = namespaces_.Create(name_).name;
  name_ = Entry().name;
  TMofLoadOptions options;
  options.keepDefinedClasses = true;
  options.keepDeclaredQualifiers = true;
  options.notes = Entry().notes.get();
  TMofLoader loader(Entry().ns, options);
  if (!loader.LoadText("interop_schema.mof", kInteropSchemaMof)) {
    for (const TMofDiagnostic& d : loader.Diagnostics()) {
      if (d.severity == TMofDiagnostic::kError) {
        throw std::runtime_error("the Interop namespace " + name_ + " cannot take the bundled classes: " + d.Format());
      }
    }
  }
  populated_ = nullptr;
  FollowRegistry();
  if (!started_) namespaces_.OnChange([this] { FollowRegistry(); });
  started_ = true;
}

TCIMReference TInteropNamespace::Enter(const std::string& className, const TValues& values) {
  ICIMNamespace& ns = *Entry().ns;
  TLogCapture capture;
  try {
    boost::shared_ptr<ICIMInstance> instance = ns.GetClass(className, kNone)->AllocateInstance(kNone);
    for (const auto& v : values) instance->SetPropertyValue(v.first, v.second, kNone);
    instance->Validate(kNone);
    const TCIMReference path = instance->GetReference(kNone);
    boost::shared_ptr<ICIMInstance> existing;
    try {
      existing = ns.GetInstance(path, kNone);
    } catch (const TTYLException& e) {
      if (e.GetStatusCode() != kStatusNotFound) throw;
    }
    if (existing) existing->Delete(kNone);  // the server's word stands
    instance->AddToNamespace(kNone);
    owned_.insert(path.PathText());
    return path;
  } catch (const TTYLException& e) {
    throw std::runtime_error("the Interop namespace cannot hold the server's " + className + ": " +
                             CimErrorOf(e, capture, EMissing::kInstance).what());
  }
}

void TInteropNamespace::Remove(const TCIMReference& path) {
  owned_.erase(path.PathText());
  try {
    if (boost::shared_ptr<ICIMInstance> instance = Entry().ns->GetInstance(path, kNone)) instance->Delete(kNone);
  } catch (const TTYLException&) {
    // gone already
  }
}

void TInteropNamespace::Populate() {
  owned_.clear();
  represented_.clear();
  const std::string& host = identity_.hostName;
  const TCIMReference system = Enter("CIM_ComputerSystem", {{"CreationClassName", "CIM_ComputerSystem"},
                                                            {"Name", host},
                                                            {"ElementName", host},
                                                            {"NameFormat", "Other"},
                                                            {"EnabledState", Uint16(kEnabled)},
                                                            {"OperationalStatus", Uint16s({kOperationalOk})}});
  const TValues scoped = {{"SystemCreationClassName", "CIM_ComputerSystem"}, {"SystemName", host}};
  TValues manager = scoped;
  manager.insert(manager.end(),
                 {{"CreationClassName", "CIM_ObjectManager"},
                  {"Name", identity_.product},
                  {"ElementName", identity_.product},
                  {"Description", identity_.product + ", an in-memory CIM repository and WBEM server, version " +
                                      identity_.version},
                  {"Started", true},
                  {"EnabledState", Uint16(kEnabled)},
                  {"OperationalStatus", Uint16s({kOperationalOk})},
                  {"GatherStatisticalData", false}});
  objectManager_ = Enter("CIM_ObjectManager", manager);
  Enter("CIM_HostedService", {{"Antecedent", system}, {"Dependent", objectManager_}});

  std::vector<uint16_t> functional;
  std::vector<std::string> descriptions;
  for (const auto& profile : identity_.functionalProfiles) {
    functional.push_back(profile.first);
    descriptions.push_back(profile.second);
  }
  TValues mechanism = scoped;
  mechanism.insert(mechanism.end(),
                   {{"CreationClassName", "CIM_CIMXMLCommunicationMechanism"},
                    {"Name", identity_.product + ":CIM-XML"},
                    {"ElementName", "CIM-XML"},
                    {"CommunicationMechanism", Uint16(kCimXml)},
                    {"Version", "1.2"},
                    {"CIMXMLProtocolVersion", Uint16(1)},
                    {"CIMValidated", false},
                    {"MultipleOperationsSupported", false},
                    {"FunctionalProfilesSupported", Uint16s(functional)},
                    {"FunctionalProfileDescriptions", Strings(descriptions)},
                    {"AuthenticationMechanismsSupported",
                     Uint16s({identity_.basicAuthentication ? kBasicAuthentication : kNoAuthentication})},
                    {"AdvertiseTypes", Uint16s({kNotAdvertised})},
                    {"EnabledState", Uint16(kEnabled)},
                    {"OperationalStatus", Uint16s({kOperationalOk})}});
  const TCIMReference mechanismPath = Enter("CIM_CIMXMLCommunicationMechanism", mechanism);
  Enter("CIM_CommMechanismForManager", {{"Antecedent", objectManager_}, {"Dependent", mechanismPath}});

  for (const TRegisteredProfile& profile : kProfiles) EnterProfile(profile, {objectManager_});
  if (identity_.indications.offered) EnterIndicationService(system, scoped);
  for (auto& r : registrations_) r.second.entered = EnterProfile(r.second.profile, r.second.central);
  populated_ = Entry().ns.get();
}

void TInteropNamespace::EnterIndicationService(const TCIMReference& system, const TValues& scoped) {
  const TServerIdentity::TIndications& offered = identity_.indications;
  TValues service = scoped;
  service.insert(service.end(),
                 {{"CreationClassName", "CIM_IndicationService"},
                  {"Name", identity_.product + ":indications"},
                  {"ElementName", "indications"},
                  {"Description", "Delivers lifecycle indications of every namespace to CIM-XML listeners"},
                  {"FilterCreationEnabled", true},
                  {"DeliveryRetryAttempts", Uint16(offered.retryAttempts)},
                  {"DeliveryRetryInterval", TCIMValue(static_cast<unsigned int>(offered.retryIntervalSeconds))},
                  {"SubscriptionRemovalAction", Uint16(kSubscriptionsIgnored)},
                  {"Started", true},
                  {"EnabledState", Uint16(kEnabled)},
                  {"OperationalStatus", Uint16s({kOperationalOk})}});
  const TCIMReference servicePath = Enter("CIM_IndicationService", service);
  Enter("CIM_HostedService", {{"Antecedent", system}, {"Dependent", servicePath}});
  const TCIMReference capabilities =
      Enter("CIM_IndicationServiceCapabilities",
            {{"InstanceID", identity_.product + ":indications"},
             {"ElementName", "indications"},
             {"FilterCreationEnabledIsSettable", false},
             {"DeliveryRetryAttemptsIsSettable", false},
             {"DeliveryRetryIntervalIsSettable", false},
             {"SubscriptionRemovalActionIsSettable", false},
             {"SubscriptionRemovalTimeIntervalIsSettable", false},
             {"MaxListenerDestinations", TCIMValue(static_cast<unsigned int>(offered.maxDestinations))},
             {"MaxActiveSubscriptions", TCIMValue(static_cast<unsigned int>(offered.maxSubscriptions))},
             {"SubscriptionsPersisted", offered.subscriptionsPersisted}});
  Enter("CIM_ElementCapabilities", {{"ManagedElement", servicePath}, {"Capabilities", capabilities}});
  EnterProfile(kIndicationsProfile, {servicePath});
}

std::vector<TCIMReference> TInteropNamespace::EnterProfile(const TRegisteredProfile& profile,
                                                           const std::vector<TCIMReference>& central) {
  TValues values = {{"InstanceID", ProfileId(profile)},
                    {"RegisteredOrganization", Uint16(profile.organization)},
                    {"RegisteredName", profile.name},
                    {"RegisteredVersion", profile.version},
                    {"AdvertiseTypes", Uint16s({kNotAdvertised})},
                    {"ElementName", profile.organizationName + " " + profile.name}};
  if (profile.organization == kOtherOrganization) values.emplace_back("OtherRegisteredOrganization", profile.organizationName);
  std::vector<TCIMReference> entered = {Enter("CIM_RegisteredProfile", values)};
  for (const TCIMReference& element : central) {
    entered.push_back(
        Enter("CIM_ElementConformsToProfile", {{"ConformantStandard", entered.front()}, {"ManagedElement", element}}));
  }
  return entered;
}

void TInteropNamespace::RegisterProfile(const TRegisteredProfile& profile, const std::vector<TCIMReference>& central) {
  TRegistration& r = registrations_[ProfileId(profile)];
  for (auto it = r.entered.rbegin(); it != r.entered.rend(); ++it) Remove(*it);
  r.profile = profile;
  r.central = central;
  r.entered = EnterProfile(profile, central);
}

void TInteropNamespace::FollowRegistry() {
  if (namespaces_.Find(name_) == nullptr) return;  // being replaced; it comes back
  if (populated_ != Entry().ns.get()) Populate();
  std::set<std::string> served;
  for (const TNamespaceRegistry::TEntry* entry : namespaces_.Entries()) {
    const std::string key = TNamespaceDirectory::Key(entry->name);
    served.insert(key);
    if (represented_.count(key) != 0) continue;
    TValues values = {{"SystemCreationClassName", "CIM_ComputerSystem"},
                      {"SystemName", identity_.hostName},
                      {"ObjectManagerCreationClassName", "CIM_ObjectManager"},
                      {"ObjectManagerName", identity_.product},
                      {"CreationClassName", "CIM_Namespace"},
                      {"Name", entry->name},
                      {"ElementName", entry->name},
                      {"ClassInfo", Uint16(kClassInfoUnknown)},
                      {"ClassType", Uint16(kClassTypeCim)}};
    TRepresentation r;
    r.name = entry->name;
    r.instance = Enter("CIM_Namespace", values);
    r.inManager = Enter("CIM_NamespaceInManager", {{"Antecedent", objectManager_}, {"Dependent", r.instance}});
    represented_[key] = std::move(r);
  }
  for (auto it = represented_.begin(); it != represented_.end();) {
    if (served.count(it->first) != 0) {
      ++it;
      continue;
    }
    Remove(it->second.inManager);
    Remove(it->second.instance);
    it = represented_.erase(it);
  }
}

TCIMReference TInteropNamespace::CreateNamespace(const TValues& values) {
  const TCIMValue* name = FindValue(values, "Name");
  if (name == nullptr || name->IsNull() || name->GetType() != kCIMTypeString) {
    throw TCimError(kCimInvalidParameter, "a new CIM_Namespace needs its Name: the namespace to create");
  }
  std::string wanted = name->GetString();
  if (namespaces_.Find(wanted) != nullptr) {
    throw TCimError(kCimAlreadyExists, "namespace " + Printable(wanted) + " is there already");
  }
  try {
    wanted = namespaces_.Create(wanted).name;
  } catch (const std::invalid_argument& e) {
    throw TCimError(kCimInvalidParameter, e.what());
  }
  return represented_.at(TNamespaceDirectory::Key(wanted)).instance;
}

void TInteropNamespace::DeleteNamespace(const TCIMReference& path) {
  for (const auto& r : represented_) {
    if (r.second.instance.PathText() != path.PathText()) continue;
    if (IsInterop(r.second.name)) {
      throw TCimError(kCimAccessDenied, "the Interop namespace " + name_ + " cannot be deleted");
    }
    const TNamespaceRegistry::TEntry* entry = namespaces_.Find(r.second.name);
    bool holdsSomething = false;
    entry->ns->GetClass("", kNone)->EnumerateSubclasses(
        [&](boost::shared_ptr<ICIMClass>) { return !(holdsSomething = true); }, false, kNone);
    entry->ns->EnumerateQualifierDecls(
        [&](boost::shared_ptr<ICIMQualifierDecl>) { return !(holdsSomething = true); }, kNone);
    if (holdsSomething) {
      throw TCimError(kCimNamespaceNotEmpty, "namespace " + r.second.name +
                                                 " holds classes or qualifier declarations: delete them first");
    }
    namespaces_.Remove(r.second.name);
    return;
  }
  throw TCimError(kCimNotFound, "no namespace stands at " + Printable(path.GetPath()));
}
