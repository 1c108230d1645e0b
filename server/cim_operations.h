// TCimOperations: the intrinsic CIM operations (DSP0200) over the
// namespaces of a TNamespaceRegistry, each a repository driven through the
// element interfaces alone. A request names its namespace; one the registry
// does not hold is CIM_ERR_INVALID_NAMESPACE.
//
// Reads: GetClass, EnumerateClasses, EnumerateClassNames, GetInstance,
// EnumerateInstances, EnumerateInstanceNames, Associators, AssociatorNames,
// References, ReferenceNames (on instances and on classes), GetProperty,
// GetQualifier, EnumerateQualifiers; the pull operations; writes:
// CreateInstance, ModifyInstance, DeleteInstance, SetProperty, CreateClass,
// SetQualifier. Everything else answers CIM_ERR_NOT_SUPPORTED. Deleting an
// instance deletes the association instances that point at it as well: an
// association does not stand without its ends.
//
// Associations may cross namespaces: an association instance whose
// reference names another namespace the server serves ("root/cimv2:..."),
// as users register their profiles in the Interop namespace. Walks follow
// such references in both directions: from the association to the far
// end, and from an instance to the associations in other namespaces that
// point at it (found through a per-namespace list of the association
// instances whose references leave their namespace, made on first need and
// made again when the namespace changes; NamespaceChanged). Results in
// another namespace than the request's carry their namespace in their path.
//
// Every operation runs under a log capture: a refusal of the repository
// answers with the matching CIM status (server/cim_status.h) and the lines
// the repository logged as its description. An operation that fails leaves
// the repository as it found it: values are read and checked before the
// first change, and a created instance is entered only whole.
//
// Safe to share between threads. Reads (the lookups, enumerations, walks,
// queries and pulls) run side by side under the operations' lock
// (TRepositoryLock) held shared, and so does the writing of their answers
// (each piece the body makes); writes hold it alone. The open enumerations
// and the cross-namespace lists, which reads change, are under mutexes of
// their own. Whoever else reaches the namespaces while the server runs
// (collections, snapshots, the browser's pages) takes Lock() too.

#ifndef INMEM_SERVER_CIM_OPERATIONS_H_
#define INMEM_SERVER_CIM_OPERATIONS_H_

#include <atomic>
#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>
#include <boost/weak_ptr.hpp>

#include "include/cim_namespace.h"
#include "server/cim_response.h"
#include "server/cimxml_request.h"
#include "server/enumeration_contexts.h"
#include "server/indication_hooks.h"
#include "server/cim_status.h"
#include "server/namespace_registry.h"
#include "server/repository_lock.h"
#include "server/schema_rebuild.h"

class TBoundQuery;
class TCimXmlReader;
enum class EPull : int;
class TInteropNamespace;

struct TCimOperationsConfig {
  bool readOnly = false;
  // The Interop namespace, whose server-owned instances clients may not
  // change and whose CIM_Namespace instances create and delete namespaces;
  // none when nullptr.
  TInteropNamespace* interop = nullptr;
  // Told of every instance a client makes, changes or deletes; none when
  // nullptr.
  IInstanceChanges* changes = nullptr;
  // Checks the instances of the subscription classes in the Interop
  // namespace; none when nullptr.
  ISubscriptionGuard* subscriptions = nullptr;
  // Open enumerations at once, and how long one may wait between pulls.
  size_t maxOpenEnumerations = 256;
  std::chrono::seconds defaultOperationTimeout{60};
  std::chrono::seconds maxOperationTimeout{3600};
};

// What one call did, for the access log.
struct TCallRecord {
  std::string operation;
  std::string target;  // the class or path named, when there is one
  ECimStatus status = kCimOk;
};

class TCimOperations {
 public:
  // `namespaces` must outlive the operations.
  TCimOperations(TNamespaceRegistry& namespaces, TCimOperationsConfig config);
  ~TCimOperations();

  // Runs `request` and returns its response document. `host` is the host
  // name the client used (for full object paths).
  std::unique_ptr<TResponseBody> Run(const TCimRequest& request, const std::string& host,
                                     TCallRecord* record);
  // Makes the indications of the changes made so far (IInstanceChanges::
  // Settle), if any were made; cheap when none were.
  void Settle();

  // Drops the open enumerations whose time has passed.
  void DropExpiredEnumerations();
  // Says that the namespace `name` changed other than through these
  // operations (a collection, a load): its associations are looked at
  // again when a walk needs them.
  void NamespaceChanged(std::string_view name);
  // Says that the host changed the processors' cache states
  // (include/processor_cache_state.h): the instances they correct are
  // corrected now. Call with Lock() held alone.
  void ProcessorStatesChanged();
  size_t OpenEnumerations();
  // How many writes have succeeded so far.
  uint64_t Changes() const { return changes_; }
  const TCimOperationsConfig& Config() const { return config_; }
  // The lock the operations run under.
  TRepositoryLock& Lock() { return lock_; }

  // The functional profiles of CIM-XML (the numbers of
  // CIM_ObjectManagerCommunicationMechanism.FunctionalProfilesSupported)
  // that every operation of is implemented, each with the operations it
  // covers (and the query languages they take); those that write only when
  // `readOnly` is false.
  static std::vector<std::pair<uint16_t, std::string>> FunctionalProfiles(bool readOnly);

 private:
  struct TCall;
  typedef std::unique_ptr<TResponseBody> (TCimOperations::*THandler)(TCall&);
  struct TOperation {
    THandler handler;
    bool writes;  // holds the lock alone
  };
  // By name in lower case.
  static const std::map<std::string, TOperation, std::less<>>& Operations();

  std::unique_ptr<TResponseBody> GetClass(TCall& call);
  std::unique_ptr<TResponseBody> EnumerateClasses(TCall& call);
  std::unique_ptr<TResponseBody> EnumerateClassNames(TCall& call);
  std::unique_ptr<TResponseBody> GetInstance(TCall& call);
  std::unique_ptr<TResponseBody> EnumerateInstances(TCall& call);
  std::unique_ptr<TResponseBody> EnumerateInstanceNames(TCall& call);
  std::unique_ptr<TResponseBody> Associators(TCall& call);
  std::unique_ptr<TResponseBody> AssociatorNames(TCall& call);
  std::unique_ptr<TResponseBody> References(TCall& call);
  std::unique_ptr<TResponseBody> ReferenceNames(TCall& call);
  std::unique_ptr<TResponseBody> GetProperty(TCall& call);
  std::unique_ptr<TResponseBody> GetQualifier(TCall& call);
  std::unique_ptr<TResponseBody> EnumerateQualifiers(TCall& call);
  std::unique_ptr<TResponseBody> CreateInstance(TCall& call);
  std::unique_ptr<TResponseBody> ModifyInstance(TCall& call);
  std::unique_ptr<TResponseBody> DeleteInstance(TCall& call);
  std::unique_ptr<TResponseBody> SetProperty(TCall& call);
  std::unique_ptr<TResponseBody> CreateClass(TCall& call);
  std::unique_ptr<TResponseBody> SetQualifier(TCall& call);
  std::unique_ptr<TResponseBody> ModifyClass(TCall& call);
  std::unique_ptr<TResponseBody> DeleteClass(TCall& call);
  std::unique_ptr<TResponseBody> DeleteQualifier(TCall& call);
  std::unique_ptr<TResponseBody> ExecQuery(TCall& call);
  std::unique_ptr<TResponseBody> OpenQueryInstances(TCall& call);
  std::unique_ptr<TResponseBody> PullInstances(TCall& call);
  std::unique_ptr<TResponseBody> OpenEnumerateInstances(TCall& call);
  std::unique_ptr<TResponseBody> OpenEnumerateInstancePaths(TCall& call);
  std::unique_ptr<TResponseBody> OpenAssociatorInstances(TCall& call);
  std::unique_ptr<TResponseBody> OpenAssociatorInstancePaths(TCall& call);
  std::unique_ptr<TResponseBody> OpenReferenceInstances(TCall& call);
  std::unique_ptr<TResponseBody> OpenReferenceInstancePaths(TCall& call);
  std::unique_ptr<TResponseBody> PullInstancesWithPath(TCall& call);
  std::unique_ptr<TResponseBody> PullInstancePaths(TCall& call);
  std::unique_ptr<TResponseBody> CloseEnumeration(TCall& call);
  // What the three Pull... operations share.
  std::unique_ptr<TResponseBody> Pull(TCall& call, EPull pull);

  // Lookups in the call's namespace that answer with the CIM error a client
  // expects.
  static boost::shared_ptr<ICIMClass> FindClass(TCall& call, const std::string& name, ECimStatus missing);
  static boost::shared_ptr<ICIMInstance> FindInstance(TCall& call, const TCIMReference& path);
  // The instance an INSTANCENAME parameter names, which becomes the call's
  // target.
  boost::shared_ptr<ICIMInstance> NamedInstance(TCall& call, const char* parameter);
  // Whether `instance` is still filed in its repository.
  static bool StillThere(const boost::shared_ptr<ICIMInstance>& instance);
  // The path a response gives `instance`: with its namespace's name when it
  // lives in another repository than `home`.
  TCIMReference PathIn(const ICIMNamespace* home, ICIMInstance& instance) const;
  // The instance `path` names: in the namespace the path names, or else in
  // `base` (the namespace of the instance that holds the path); empty when
  // there is none.
  boost::shared_ptr<ICIMInstance> Resolve(ICIMNamespace& base, const TCIMReference& path) const;
  // The association instances of other namespaces that point at `source`
  // (of the call's namespace), of the class named `assocClass` or a
  // subclass (any when empty), pointing at it through `role` (any when
  // empty).
  std::vector<boost::shared_ptr<ICIMInstance>> ForeignReferrers(TCall& call, ICIMInstance& source,
                                                                const std::string& assocClass,
                                                                const std::string& role);

  // The instances of a class and its subclasses.
  std::vector<boost::shared_ptr<ICIMInstance>> InstancesOf(ICIMClass& cls);
  // The walks from an instance, each result once (DSP0200's semantics: an
  // associator is every other end of every association that matches).
  std::vector<boost::shared_ptr<ICIMInstance>> ReferencesOf(ICIMInstance& source, TCall& call,
                                                            const char* resultClassParameter);
  std::vector<boost::shared_ptr<ICIMInstance>> AssociatorsOf(ICIMInstance& source, TCall& call);
  // The same on a class: association classes, and the classes at their far
  // ends.
  std::vector<boost::shared_ptr<ICIMClass>> ReferenceClassesOf(ICIMClass& source, TCall& call,
                                                               const char* resultClassParameter);
  std::vector<boost::shared_ptr<ICIMClass>> AssociatorClassesOf(ICIMClass& source, TCall& call);
  // EnumerateClasses, or with `namesOnly` EnumerateClassNames.
  std::unique_ptr<TResponseBody> ClassEnumeration(TCall& call, bool namesOnly);
  // An association walk of either kind on an instance or a class.
  std::unique_ptr<TResponseBody> Walk(TCall& call, bool associators, bool namesOnly);
  // An Open... operation over `instances`; with `declaredBy`, only the
  // properties that class declares are delivered.
  std::unique_ptr<TResponseBody> OpenEnumeration(TCall& call,
                                                 std::vector<boost::shared_ptr<ICIMInstance>> instances,
                                                 bool pathsOnly,
                                                 boost::shared_ptr<ICIMClass> declaredBy = nullptr);
  // Opens `enumeration` in the call's namespace with the request's
  // OperationTimeout (ContinueOnError refused), and delivers its first
  // MaxObjectCount items; `more` as for Deliver.
  std::unique_ptr<TResponseBody> Open(TCall& call, TEnumeration enumeration,
                                      std::function<void(TXmlOut&)> more = nullptr);
  // Delivers up to `count` items of `enumeration` and closes it at its end;
  // `more` writes output parameters of the operation's own after the
  // enumeration's.
  std::unique_ptr<TResponseBody> Deliver(TCall& call, const std::string& id, TEnumeration& enumeration,
                                         uint32_t count, std::function<void(TXmlOut&)> more = nullptr);
  // The query a request's `queryParameter` holds in the language its
  // `languageParameter` names (WQL or DMTF:CQL), bound to the call's
  // namespace; refusals as CIM errors.
  TBoundQuery ReadQuery(TCall& call, const char* languageParameter, const char* queryParameter);
  // `instances` less those the request's FilterQuery (DMTF:FQL) does not
  // select; all when it has none. `filteredClass` is the class the
  // enumeration walks; empty when its instances may be of any class (each
  // class is bound on its own).
  std::vector<boost::shared_ptr<ICIMInstance>> Filtered(TCall& call,
                                                        std::vector<boost::shared_ptr<ICIMInstance>> instances,
                                                        const std::string& filteredClass);
  // Enters what `rebuild` holds into a new repository and serves it in place
  // of the call's namespace; when a production does not enter, throws what
  // `refusal` makes of it, and nothing changes.
  void SwapRebuilt(TCall& call, TSchemaRebuild& rebuild,
                   const std::function<TCimError(const TSchemaRebuild::TFailure&)>& refusal,
                   const std::function<bool(const TMofProduction&, const std::string&)>& refuses = nullptr);
  // Refuses a write when the server is read-only.
  void RequireWritable(const TCall& call) const;
  // Refuses a change of an instance the server owns (in the Interop
  // namespace).
  void RequireClientOwned(const TCall& call, const TCIMReference& path) const;
  // Whether the call is in the Interop namespace.
  bool InInterop(const TCall& call) const;
  // Sets `values` (names as declared) on `instance`, checked by the
  // subscription guard when it guards the class, and told to the changes
  // hook.
  void ChangeInstance(TCall& call, const boost::shared_ptr<ICIMInstance>& instance,
                      const ISubscriptionGuard::TValues& values);
  // Whether instances of `cls` are checked by the subscription guard.
  bool IsSubscriptionClass(const TCall& call, ICIMClass& cls) const;
  // The changes hook, when it watches instances of `cls` in the call's
  // namespace; nullptr otherwise.
  IInstanceChanges* Watcher(const TCall& call, ICIMClass& cls) const;

  TNamespaceRegistry& namespaces_;
  TCimOperationsConfig config_;
  TRepositoryLock lock_;
  std::mutex contextsMutex_;
  TEnumerationContexts contexts_;  // under contextsMutex_
  // Counted under the lock held alone; read from anywhere.
  std::atomic<uint64_t> changes_{0};
  // Whether a write has run since the last Settle.
  std::atomic<bool> unsettled_{false};
  // Per namespace (by TNamespaceDirectory::Key), the association instances
  // whose references name another namespace, and the repository they were
  // gathered from; under crossMutex_. A walk takes the list it needs and
  // reads it without the mutex: a list is never changed once made, only
  // replaced.
  struct TCrossReferrers {
    const ICIMNamespace* repository = nullptr;
    std::shared_ptr<const std::vector<boost::weak_ptr<ICIMInstance>>> associations;
  };
  std::mutex crossMutex_;
  std::map<std::string, TCrossReferrers> crossReferrers_;
};

#endif  // INMEM_SERVER_CIM_OPERATIONS_H_
