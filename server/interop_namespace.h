// TInteropNamespace: the Interop namespace, where CIM clients look first
// (DMTF DSP1033 Profile Registration, DSP1071 WBEM Server): the server's
// brand, the namespaces it serves, how it is reached and what it speaks,
// and the profiles it implements.
//
// The namespace is an ordinary repository in the registry. Its classes are
// whatever the user loaded into it (the DMTF schema, say), and the bundled
// ones (server/interop_schema.mof) for the classes they lack. The server's
// own instances are made here and kept true:
//   - the CIM_ComputerSystem the server runs on, the CIM_ObjectManager (its
//     brand: name, version, description) and the CIM_HostedService
//     between them;
//   - a CIM_CIMXMLCommunicationMechanism stating the operations and
//     authentication the server really offers, with CIM_CommMechanismForManager;
//   - a CIM_Namespace (and CIM_NamespaceInManager) for every namespace,
//     following the registry as namespaces come and go;
//   - CIM_RegisteredProfile for the profiles the server implements (DMTF
//     Profile Registration and WBEM Server, SNIA Server), each with
//     CIM_ElementConformsToProfile to the object manager;
//   - when it delivers indications, a CIM_IndicationService (hosted by the
//     computer system) with its CIM_IndicationServiceCapabilities, and the
//     DMTF Indications profile conforming to the service.
// Clients may not change or delete these (Owns); creating a CIM_Namespace
// creates a namespace, deleting one deletes it (CreateNamespace,
// DeleteNamespace). What users add beside them (their own profiles,
// conforming elements in other namespaces) is theirs.
//
// Not thread-safe by itself: the server reaches it under the operations'
// lock (TRepositoryLock), shared to read and alone to change.

#ifndef INMEM_SERVER_INTEROP_NAMESPACE_H_
#define INMEM_SERVER_INTEROP_NAMESPACE_H_

#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "core/cim_reference.h"
#include "core/cim_value.h"
#include "server/namespace_registry.h"

class ICIMInstance;

// The bundled classes of the Interop namespace and of indications, as MOF.
extern const char kInteropSchemaMof[];

// A profile as CIM_RegisteredProfile names it.
struct TRegisteredProfile {
  uint16_t organization;  // RegisteredOrganization: 1 Other, 2 DMTF, 11 SNIA
  std::string organizationName;
  std::string name;
  std::string version;
};

// What the Interop namespace says of the server.
struct TServerIdentity {
  std::string product = "inmem";
  std::string version;
  std::string hostName;
  // Whether clients authenticate (HTTP Basic), or need not.
  bool basicAuthentication = false;
  // The functional profiles of CIM-XML the server offers (the ValueMap of
  // CIM_ObjectManagerCommunicationMechanism.FunctionalProfilesSupported),
  // each with what it covers.
  std::vector<std::pair<uint16_t, std::string>> functionalProfiles;

  // What the indication service says of itself, when the server delivers
  // indications: its CIM_IndicationService and capabilities, and the
  // Indications profile it conforms to.
  struct TIndications {
    bool offered = false;
    uint16_t retryAttempts = 3;
    uint32_t retryIntervalSeconds = 2;
    bool subscriptionsPersisted = false;
    uint32_t maxDestinations = 1000;
    uint32_t maxSubscriptions = 1000;
  };
  TIndications indications;
};

class TInteropNamespace {
 public:
  static constexpr const char* kDefaultName = "interop";

  TInteropNamespace(TNamespaceRegistry& namespaces, std::string name, TServerIdentity identity);
  TInteropNamespace(const TInteropNamespace&) = delete;
  TInteropNamespace& operator=(const TInteropNamespace&) = delete;

  // Makes the namespace ready: created when the registry lacks it, the
  // bundled classes it lacks loaded, the server's instances entered; from
  // then on, it follows the registry. Throws std::runtime_error when the
  // classes cannot be loaded (a user's class of the same name that the
  // server's instances do not fit, say).
  void Start();

  const std::string& Name() const { return name_; }
  // Whether `namespaceName` names the Interop namespace.
  bool IsInterop(std::string_view namespaceName) const;
  // Whether the instance at `path` (in the Interop namespace) is the
  // server's own.
  bool Owns(const TCIMReference& path) const;
  // Whether `className` (in the Interop namespace) is CIM_Namespace or a
  // subclass of it: instances of it stand for namespaces.
  bool IsNamespaceClass(const std::string& className) const;

  // Creates the namespace a new CIM_Namespace instance names (its Name),
  // empty; returns the path of the CIM_Namespace instance that stands for
  // it. Throws TCimError: CIM_ERR_INVALID_PARAMETER without a valid Name,
  // CIM_ERR_ALREADY_EXISTS when it is served already.
  TCIMReference CreateNamespace(const std::vector<std::pair<std::string, TCIMValue>>& values);
  // Deletes the namespace the CIM_Namespace instance at `path` stands for.
  // Throws TCimError: CIM_ERR_NOT_FOUND for no such instance,
  // CIM_ERR_ACCESS_DENIED for the Interop namespace itself,
  // CIM_ERR_NAMESPACE_NOT_EMPTY when the namespace holds classes.
  void DeleteNamespace(const TCIMReference& path);

  // Registers a profile the server implements for a model it serves itself
  // (the inventory it collects), with its central instances (paths that
  // name their namespace), as the server's own; it takes the place of an
  // earlier registration of the same profile.
  void RegisterProfile(const TRegisteredProfile& profile, const std::vector<TCIMReference>& central);

  // Which instances of the namespace a snapshot keeps: all but the
  // server's own, which it makes again at every start.
  std::function<bool(ICIMInstance&)> SnapshotFilter() const;

 private:
  const TNamespaceRegistry::TEntry& Entry() const;
  std::string ProfileId(const TRegisteredProfile& profile) const;
  // Enters an instance of `className` with `values` (in place of one with
  // the same path), as the server's own; returns its path.
  TCIMReference Enter(const std::string& className, const std::vector<std::pair<std::string, TCIMValue>>& values);
  void Remove(const TCIMReference& path);
  // Enters the instances that stand for the server (all but those of
  // namespaces), afresh.
  void Populate();
  // Brings the CIM_Namespace instances in line with the registry; enters
  // everything again when the Interop namespace's repository is another
  // than the one populated.
  void FollowRegistry();
  // Enters the indication service, hosted by `system`, its capabilities
  // and the Indications profile.
  void EnterIndicationService(const TCIMReference& system,
                              const std::vector<std::pair<std::string, TCIMValue>>& scoped);
  // Enters `profile`, conforming to each of `central`; returns the paths
  // entered.
  std::vector<TCIMReference> EnterProfile(const TRegisteredProfile& profile, const std::vector<TCIMReference>& central);

  TNamespaceRegistry& namespaces_;
  std::string name_;
  TServerIdentity identity_;
  bool started_ = false;
  TCIMReference objectManager_;
  // The repository the instances were entered in.
  const ICIMNamespace* populated_ = nullptr;
  // The path texts of the server's own instances.
  std::set<std::string> owned_;
  // The instances that stand for one namespace.
  struct TRepresentation {
    std::string name;
    TCIMReference instance;   // its CIM_Namespace
    TCIMReference inManager;  // its CIM_NamespaceInManager
  };
  // By TNamespaceDirectory::Key of the namespace's name.
  std::map<std::string, TRepresentation> represented_;
  // The profiles registered for the server's own models, by InstanceID:
  // what was asked, and the paths entered for it.
  struct TRegistration {
    TRegisteredProfile profile;
    std::vector<TCIMReference> central;
    std::vector<TCIMReference> entered;
  };
  std::map<std::string, TRegistration> registrations_;
};

#endif  // INMEM_SERVER_INTEROP_NAMESPACE_H_
