// TCimOperations: the pull operations. An Open... operation works out every
// instance it will deliver, keeps them (weakly) in an open enumeration and
// delivers the first MaxObjectCount; each Pull... delivers the next ones,
// leaving out those that have left the repository meanwhile.

#include "core/namespace_directory.h"
#include "core/printable_text.h"
#include "include/cim_class.h"
#include "include/cim_instance.h"
#include "server/cim_operations_internal.h"

namespace {

const TContext kNone;

}  // namespace

std::unique_ptr<TResponseBody> TCimOperations::OpenEnumeration(
    TCall& call, std::vector<boost::shared_ptr<ICIMInstance>> instances, bool pathsOnly,
    boost::shared_ptr<ICIMClass> declaredBy) {
  TEnumeration enumeration;
  enumeration.pathsOnly = pathsOnly;
  enumeration.includeClassOrigin = call.Boolean("IncludeClassOrigin", false);
  enumeration.propertyList = call.reader.PropertyList(call.Parameter("PropertyList"));
  enumeration.declaredBy = std::move(declaredBy);
  enumeration.items.assign(instances.begin(), instances.end());
  return Open(call, std::move(enumeration));
}

std::unique_ptr<TResponseBody> TCimOperations::Open(TCall& call, TEnumeration enumeration,
                                                    std::function<void(TXmlOut&)> more) {
  if (call.Boolean("ContinueOnError", false)) {
    throw TCimError(kCimContinuationOnErrorNotSupported, "ContinueOnError is not supported");
  }
  enumeration.namespaceKey = TNamespaceDirectory::Key(call.namespaceName);
  const std::optional<uint32_t> timeout = call.reader.Uint32(call.Parameter("OperationTimeout"));
  enumeration.timeout = timeout ? std::chrono::seconds(*timeout) : config_.defaultOperationTimeout;
  if (enumeration.timeout.count() == 0 || enumeration.timeout > config_.maxOperationTimeout) {
    throw TCimError(kCimInvalidOperationTimeout,
                    "OperationTimeout must be 1 to " + std::to_string(config_.maxOperationTimeout.count()) +
                        " seconds");
  }
  const uint32_t count = call.reader.Uint32(call.Parameter("MaxObjectCount")).value_or(0);
  const auto now = TEnumerationContexts::TClock::now();
  std::lock_guard<std::mutex> lock(contextsMutex_);
  const std::optional<std::string> id = contexts_.Open(std::move(enumeration), now);
  if (!id) {
    throw TCimError(kCimServerLimitsExceeded, std::to_string(config_.maxOpenEnumerations) +
                                                  " enumerations are open already");
  }
  return Deliver(call, *id, *contexts_.Find(*id, now), count, std::move(more));
}

std::unique_ptr<TResponseBody> TCimOperations::Deliver(TCall& call, const std::string& id, TEnumeration& enumeration,
                                                       uint32_t count, std::function<void(TXmlOut&)> more) {
  auto live = [&](size_t index) {
    boost::shared_ptr<ICIMInstance> instance = enumeration.items[index].lock();
    return instance && StillThere(instance) ? instance : boost::shared_ptr<ICIMInstance>();
  };
  std::vector<boost::shared_ptr<ICIMInstance>> delivered;
  while (delivered.size() < count && enumeration.next < enumeration.items.size()) {
    if (auto instance = live(enumeration.next++)) delivered.push_back(std::move(instance));
  }
  // Instances gone since do not hold the end back.
  while (enumeration.next < enumeration.items.size() && !live(enumeration.next)) ++enumeration.next;
  const bool end = enumeration.next >= enumeration.items.size();
  auto options = std::make_shared<TObjectOptions>();
  options->propertyList = enumeration.propertyList;
  if (options->propertyList) options->options.propertyList = &*options->propertyList;
  options->options.includeClassOrigin = enumeration.includeClassOrigin;
  options->declaredBy = enumeration.declaredBy;
  options->options.declaredBy = options->declaredBy.get();
  const bool pathsOnly = enumeration.pathsOnly;
  const bool withoutPaths = enumeration.withoutPaths;
  if (end) contexts_.Close(id);  // `enumeration` is gone from here on
  TCimMethodResponse::TItems items =
      withoutPaths ? EachOf(std::move(delivered), [options](TCimXmlWriter& w, const boost::shared_ptr<ICIMInstance>& i) {
        w.Instance(*i, options->options);
      })
                   : InstancesWithPaths(std::move(delivered), options, pathsOnly,
                                        [this, home = call.ns.get()](ICIMInstance& i) { return PathIn(home, i); });
  return std::make_unique<TCimMethodResponse>(call.head, std::move(items), [id, end, more](TXmlOut& xml) {
    ParamValue(xml, "EnumerationContext", "string", end ? nullptr : &id);
    const std::string endText = end ? "TRUE" : "FALSE";
    ParamValue(xml, "EndOfSequence", "boolean", &endText);
    if (more) more(xml);
  });
}

std::unique_ptr<TResponseBody> TCimOperations::OpenEnumerateInstances(TCall& call) {
  const std::string name = call.reader.ClassName(call.Parameter("ClassName"));
  call.record->target = name;
  boost::shared_ptr<ICIMClass> cls = FindClass(call, name, kCimInvalidClass);
  // As EnumerateInstances: without deep inheritance, only what the class
  // itself declares.
  const bool deep = call.Boolean("DeepInheritance", true);
  return OpenEnumeration(call, Filtered(call, InstancesOf(*cls), cls->GetName(kNone)), false, deep ? nullptr : cls);
}

std::unique_ptr<TResponseBody> TCimOperations::OpenEnumerateInstancePaths(TCall& call) {
  const std::string name = call.reader.ClassName(call.Parameter("ClassName"));
  call.record->target = name;
  boost::shared_ptr<ICIMClass> cls = FindClass(call, name, kCimInvalidClass);
  return OpenEnumeration(call, Filtered(call, InstancesOf(*cls), cls->GetName(kNone)), true);
}

std::unique_ptr<TResponseBody> TCimOperations::OpenAssociatorInstances(TCall& call) {
  return OpenEnumeration(call, Filtered(call, AssociatorsOf(*NamedInstance(call, "InstanceName"), call), ""), false);
}

std::unique_ptr<TResponseBody> TCimOperations::OpenAssociatorInstancePaths(TCall& call) {
  return OpenEnumeration(call, Filtered(call, AssociatorsOf(*NamedInstance(call, "InstanceName"), call), ""), true);
}

std::unique_ptr<TResponseBody> TCimOperations::OpenReferenceInstances(TCall& call) {
  return OpenEnumeration(
      call, Filtered(call, ReferencesOf(*NamedInstance(call, "InstanceName"), call, "ResultClass"), ""), false);
}

std::unique_ptr<TResponseBody> TCimOperations::OpenReferenceInstancePaths(TCall& call) {
  return OpenEnumeration(
      call, Filtered(call, ReferencesOf(*NamedInstance(call, "InstanceName"), call, "ResultClass"), ""), true);
}

// What a Pull... (or CloseEnumeration) asks of the open enumeration it
// names: any kind, or the kind an Open... made.
enum class EPull : int { kAny, kInstancesWithPaths, kPaths, kInstances };

// The open enumeration a Pull... (or CloseEnumeration) names, which must
// have been opened in the call's namespace.
static TEnumeration& OpenContext(TEnumerationContexts& contexts, const std::string& id,
                                 const std::string& namespaceName, EPull pull) {
  TEnumeration* enumeration = contexts.Find(id, TEnumerationContexts::TClock::now());
  const char* why = nullptr;
  if (enumeration == nullptr) {
    why = " (never opened, ended, closed or expired)";
  } else if (enumeration->namespaceKey != TNamespaceDirectory::Key(namespaceName)) {
    why = " in this namespace";
  } else if (pull != EPull::kAny) {
    const EPull opened = enumeration->withoutPaths ? EPull::kInstances
                         : enumeration->pathsOnly  ? EPull::kPaths
                                                   : EPull::kInstancesWithPaths;
    if (opened != pull) {
      why = pull == EPull::kPaths ? " of paths" : pull == EPull::kInstances ? " of query answers" : " of instances";
    }
  }
  if (why != nullptr) throw TCimError(kCimInvalidEnumerationContext, "no open enumeration " + Printable(id) + why);
  return *enumeration;
}

std::unique_ptr<TResponseBody> TCimOperations::Pull(TCall& call, EPull pull) {
  const std::string id = call.RequiredString("EnumerationContext");
  const std::optional<uint32_t> count = call.reader.Uint32(call.Parameter("MaxObjectCount"));
  if (!count) throw TCimError(kCimInvalidParameter, "parameter MaxObjectCount is required");
  std::lock_guard<std::mutex> lock(contextsMutex_);
  return Deliver(call, id, OpenContext(contexts_, id, call.namespaceName, pull), *count);
}

std::unique_ptr<TResponseBody> TCimOperations::PullInstancesWithPath(TCall& call) {
  return Pull(call, EPull::kInstancesWithPaths);
}

std::unique_ptr<TResponseBody> TCimOperations::PullInstancePaths(TCall& call) {
  return Pull(call, EPull::kPaths);
}

std::unique_ptr<TResponseBody> TCimOperations::PullInstances(TCall& call) {
  return Pull(call, EPull::kInstances);
}

std::unique_ptr<TResponseBody> TCimOperations::CloseEnumeration(TCall& call) {
  const std::string id = call.RequiredString("EnumerationContext");
  std::lock_guard<std::mutex> lock(contextsMutex_);
  OpenContext(contexts_, id, call.namespaceName, EPull::kAny);
  contexts_.Close(id);
  return std::make_unique<TCimMethodResponse>(call.head, TCimMethodResponse::TItems());
}
