// TCimOperations: running a request, and the read operations.

#include "server/cim_operations.h"

#include <set>

#include "core/ascii.h"
#include "core/collected.h"
#include "core/log_capture.h"
#include "core/printable_text.h"
#include "core/tyl_exception.h"
#include "include/cim_class.h"
#include "include/cim_instance.h"
#include "include/cim_property.h"
#include "include/cim_property_decl.h"
#include "server/cim_operations_internal.h"

namespace {

const TContext kNone;

// The default of LocalOnly for instances. DSP0200 gives true and deprecates
// the parameter; clients are told to send false, and servers may read it
// as false, which is what a client that sends nothing expects to see: the
// whole instance.
const bool kInstanceLocalOnly = false;

}  // namespace

std::shared_ptr<TObjectOptions> ReadObjectOptions(const TCimXmlReader& reader,
                                                  const TCimRequest& request, bool localOnly,
                                                  bool includeQualifiers) {
  auto o = std::make_shared<TObjectOptions>();
  o->options.localOnly = reader.Boolean(request.Parameter("LocalOnly"), localOnly);
  o->options.includeQualifiers = reader.Boolean(request.Parameter("IncludeQualifiers"), includeQualifiers);
  o->options.includeClassOrigin = reader.Boolean(request.Parameter("IncludeClassOrigin"), false);
  o->propertyList = reader.PropertyList(request.Parameter("PropertyList"));
  if (o->propertyList) o->options.propertyList = &*o->propertyList;
  return o;
}

TCimMethodResponse::TItems InstancesWithPaths(std::vector<boost::shared_ptr<ICIMInstance>> instances,
                                              std::shared_ptr<TObjectOptions> options, bool pathsOnly,
                                              std::function<TCIMReference(ICIMInstance&)> pathOf) {
  return EachOf(std::move(instances), [options, pathsOnly, pathOf](TCimXmlWriter& writer,
                                                                   const boost::shared_ptr<ICIMInstance>& i) {
    if (pathsOnly) {
      writer.InstancePath(pathOf(*i));
      return;
    }
    writer.Open("VALUE.INSTANCEWITHPATH");
    writer.InstancePath(pathOf(*i));
    writer.Instance(*i, options->options);
    writer.Close();
  });
}

TCimOperations::TCimOperations(TNamespaceRegistry& namespaces, TCimOperationsConfig config)
    : namespaces_(namespaces), config_(std::move(config)), contexts_(config_.maxOpenEnumerations) {}

TCimOperations::~TCimOperations() = default;

const std::map<std::string, TCimOperations::TOperation, std::less<>>& TCimOperations::Operations() {
  static const std::map<std::string, TOperation, std::less<>> operations = [] {
    const std::pair<const char*, TOperation> table[] = {
        {"GetClass", {&TCimOperations::GetClass, false}},
        {"EnumerateClasses", {&TCimOperations::EnumerateClasses, false}},
        {"EnumerateClassNames", {&TCimOperations::EnumerateClassNames, false}},
        {"GetInstance", {&TCimOperations::GetInstance, false}},
        {"EnumerateInstances", {&TCimOperations::EnumerateInstances, false}},
        {"EnumerateInstanceNames", {&TCimOperations::EnumerateInstanceNames, false}},
        {"Associators", {&TCimOperations::Associators, false}},
        {"AssociatorNames", {&TCimOperations::AssociatorNames, false}},
        {"References", {&TCimOperations::References, false}},
        {"ReferenceNames", {&TCimOperations::ReferenceNames, false}},
        {"GetProperty", {&TCimOperations::GetProperty, false}},
        {"GetQualifier", {&TCimOperations::GetQualifier, false}},
        {"EnumerateQualifiers", {&TCimOperations::EnumerateQualifiers, false}},
        {"CreateInstance", {&TCimOperations::CreateInstance, true}},
        {"ModifyInstance", {&TCimOperations::ModifyInstance, true}},
        {"DeleteInstance", {&TCimOperations::DeleteInstance, true}},
        {"SetProperty", {&TCimOperations::SetProperty, true}},
        {"CreateClass", {&TCimOperations::CreateClass, true}},
        {"SetQualifier", {&TCimOperations::SetQualifier, true}},
        {"ModifyClass", {&TCimOperations::ModifyClass, true}},
        {"DeleteClass", {&TCimOperations::DeleteClass, true}},
        {"DeleteQualifier", {&TCimOperations::DeleteQualifier, true}},
        {"ExecQuery", {&TCimOperations::ExecQuery, false}},
        {"OpenQueryInstances", {&TCimOperations::OpenQueryInstances, false}},
        {"PullInstances", {&TCimOperations::PullInstances, false}},
        {"OpenEnumerateInstances", {&TCimOperations::OpenEnumerateInstances, false}},
        {"OpenEnumerateInstancePaths", {&TCimOperations::OpenEnumerateInstancePaths, false}},
        {"OpenAssociatorInstances", {&TCimOperations::OpenAssociatorInstances, false}},
        {"OpenAssociatorInstancePaths", {&TCimOperations::OpenAssociatorInstancePaths, false}},
        {"OpenReferenceInstances", {&TCimOperations::OpenReferenceInstances, false}},
        {"OpenReferenceInstancePaths", {&TCimOperations::OpenReferenceInstancePaths, false}},
        {"PullInstancesWithPath", {&TCimOperations::PullInstancesWithPath, false}},
        {"PullInstancePaths", {&TCimOperations::PullInstancePaths, false}},
        {"CloseEnumeration", {&TCimOperations::CloseEnumeration, false}},
    };
    std::map<std::string, TOperation, std::less<>> byName;
    for (const auto& entry : table) byName[LowerAscii(entry.first)] = entry.second;
    return byName;
  }();
  return operations;
}

std::vector<std::pair<uint16_t, std::string>> TCimOperations::FunctionalProfiles(bool readOnly) {
  // `languages`: the query languages the operations take, said after
  // them, since the mechanism's class has no property of its own for them.
  struct TProfile {
    uint16_t number;
    bool writes;
    std::vector<const char*> operations;
    const char* languages = nullptr;
  };
  static const TProfile kProfiles[] = {
      {2, false, {"GetClass", "EnumerateClasses", "EnumerateClassNames", "GetInstance", "EnumerateInstances",
                  "EnumerateInstanceNames", "GetProperty"}},
      {3, true, {"SetProperty"}},
      {4, true, {"CreateClass", "ModifyClass", "DeleteClass"}},
      {5, true, {"CreateInstance", "ModifyInstance", "DeleteInstance"}},
      {6, false, {"Associators", "AssociatorNames", "References", "ReferenceNames"}},
      {7, false, {"ExecQuery"}, "query languages WQL, DMTF:CQL"},
      {8, true, {"GetQualifier", "SetQualifier", "DeleteQualifier", "EnumerateQualifiers"}},
      {10, false, {"OpenEnumerateInstances", "OpenEnumerateInstancePaths", "OpenAssociatorInstances",
                   "OpenAssociatorInstancePaths", "OpenReferenceInstances", "OpenReferenceInstancePaths",
                   "PullInstancesWithPath", "PullInstancePaths", "CloseEnumeration"},
       "filter query language DMTF:FQL"},
      {11, false, {"EnumerationCount"}},
      {12, false, {"OpenQueryInstances", "PullInstances"}, "query languages WQL, DMTF:CQL"},
  };
  std::vector<std::pair<uint16_t, std::string>> supported;
  for (const TProfile& profile : kProfiles) {
    if (profile.writes && readOnly) continue;
    std::string operations;
    bool all = true;
    for (const char* operation : profile.operations) {
      all = all && Operations().count(LowerAscii(operation)) != 0;
      operations += (operations.empty() ? "" : ", ") + std::string(operation);
    }
    if (profile.languages != nullptr) operations += std::string(" (") + profile.languages + ")";
    if (all) supported.emplace_back(profile.number, operations);
  }
  return supported;
}

namespace {

// A body whose pieces are made under the operations' lock held shared: an
// enumeration's items are read from the repository as the connection takes
// them, beside other requests.
class TLockedBody : public TResponseBody {
 public:
  TLockedBody(TRepositoryLock& lock, std::unique_ptr<TResponseBody> body) : lock_(lock), body_(std::move(body)) {}

  bool Next(std::string* out, size_t size) override {
    auto read = lock_.Read();
    return body_->Next(out, size);
  }

 private:
  TRepositoryLock& lock_;
  std::unique_ptr<TResponseBody> body_;
};

// The operation's name as the table has it: in lower case, on the stack
// when it fits.
bool LowerName(const std::string& method, char (&buffer)[64], std::string_view* out) {
  if (method.size() > sizeof buffer) return false;
  for (size_t i = 0; i < method.size(); ++i) buffer[i] = ToLowerAscii(method[i]);
  *out = std::string_view(buffer, method.size());
  return true;
}

}  // namespace

std::unique_ptr<TResponseBody> TCimOperations::Run(const TCimRequest& request, const std::string& host,
                                                   TCallRecord* record) {
  char buffer[64];
  std::string_view name;
  auto operation = Operations().end();
  if (!request.extrinsic && LowerName(request.method, buffer, &name)) operation = Operations().find(name);
  const bool writes = operation != Operations().end() && operation->second.writes;
  // One of the two is held for the whole call.
  auto read = writes ? std::shared_lock<TRepositoryLock>() : lock_.Read();
  auto write = writes ? lock_.Write() : std::unique_lock<TRepositoryLock>();
  const TNamespaceRegistry::TEntry* space = namespaces_.Find(request.namespaceName);
  TCimResponseHead head{request.messageId, request.method, request.extrinsic, host,
                        space != nullptr ? space->name : request.namespaceName};
  record->operation = request.method;
  TLogCapture capture;
  std::string description;
  try {
    if (space == nullptr) {
      std::string served;
      for (const TNamespaceRegistry::TEntry* entry : namespaces_.Entries()) {
        served += (served.empty() ? "" : ", ") + entry->name;
      }
      throw TCimError(kCimInvalidNamespace, "no namespace " + Printable(request.namespaceName) +
                                                " here; this server serves " + served);
    }
    if (operation == Operations().end()) {
      throw TCimError(kCimNotSupported, std::string(request.extrinsic ? "method " : "operation ") +
                                            Printable(request.method) + " is not supported");
    }
    TCall call{request, space->name, space->ns, space->notes,
               TCimXmlReader(space->ns, space->name, PathTextBudget(request.documentBytes)), head, record};
    std::unique_ptr<TResponseBody> body = (this->*operation->second.handler)(call);
    if (writes) unsettled_.store(true);
    return std::make_unique<TLockedBody>(lock_, std::move(body));
  } catch (const TCimError& e) {
    record->status = e.Status();
    description = e.what();
  } catch (const TTYLException& e) {
    TCimError error = CimErrorOf(e, capture, EMissing::kInstance);
    record->status = error.Status();
    description = error.what();
  } catch (const std::exception& e) {
    record->status = kCimFailed;
    description = e.what();
  }
  return WholeBody(CimErrorDocument(head, record->status, description));
}

void TCimOperations::Settle() {
  if (config_.changes == nullptr || !unsettled_.load()) return;
  auto write = lock_.Write();
  unsettled_.store(false);
  config_.changes->Settle();
}

void TCimOperations::DropExpiredEnumerations() {
  std::lock_guard<std::mutex> lock(contextsMutex_);
  contexts_.DropExpired(TEnumerationContexts::TClock::now());
}

size_t TCimOperations::OpenEnumerations() {
  std::lock_guard<std::mutex> lock(contextsMutex_);
  return contexts_.Size();
}

boost::shared_ptr<ICIMClass> TCimOperations::FindClass(TCall& call, const std::string& name, ECimStatus missing) {
  try {
    if (!name.empty()) return call.ns->GetClass(name, kNone);
  } catch (const TTYLException& e) {
    if (e.GetStatusCode() != kStatusNotFound && e.GetStatusCode() != kStatusInvalidName) throw;
  }
  throw TCimError(missing, name.empty() ? std::string("a class name is required")
                                        : "no class named " + Printable(name));
}

boost::shared_ptr<ICIMInstance> TCimOperations::FindInstance(TCall& call, const TCIMReference& path) {
  boost::shared_ptr<ICIMInstance> instance;
  try {
    instance = call.ns->GetInstance(path, kNone);
  } catch (const TTYLException& e) {
    if (e.GetStatusCode() != kStatusNotFound) throw;
  }
  if (!instance) throw TCimError(kCimNotFound, "no instance " + Printable(path.GetPath()));
  return instance;
}

boost::shared_ptr<ICIMInstance> TCimOperations::NamedInstance(TCall& call, const char* parameter) {
  const TCIMReference path = call.reader.InstanceName(call.Content(parameter, "INSTANCENAME"));
  call.record->target = path.GetPath();
  return FindInstance(call, path);
}

bool TCimOperations::StillThere(const boost::shared_ptr<ICIMInstance>& instance) {
  try {
    boost::shared_ptr<ICIMNamespace> ns = instance->GetClass(kNone)->GetNamespace(kNone);
    return ns && ns->GetInstance(instance->GetReference(kNone), kNone).get() == instance.get();
  } catch (const TTYLException&) {
    return false;  // its class, or a key, is gone
  }
}

std::vector<boost::shared_ptr<ICIMInstance>> TCimOperations::InstancesOf(ICIMClass& cls) {
  return Collected<ICIMInstance>([&](const auto& callback) { cls.EnumerateInstances(callback, true, kNone); });
}

std::unique_ptr<TResponseBody> TCimOperations::GetClass(TCall& call) {
  const std::string name = call.reader.ClassName(call.Parameter("ClassName"));
  call.record->target = name;
  boost::shared_ptr<ICIMClass> cls = FindClass(call, name, kCimNotFound);
  auto options = call.ClassOptions(true, true);
  return std::make_unique<TCimMethodResponse>(
      call.head, OneItem([cls, options](TCimXmlWriter& w) { w.Class(*cls, options->options); }));
}

// The classes below ClassName (below the root without one): its direct
// subclasses, or with DeepInheritance all of them.
static std::vector<boost::shared_ptr<ICIMClass>> Subclasses(ICIMClass& top, bool deep) {
  return Collected<ICIMClass>([&](const auto& callback) { top.EnumerateSubclasses(callback, deep, kNone); });
}

std::unique_ptr<TResponseBody> TCimOperations::EnumerateClasses(TCall& call) { return ClassEnumeration(call, false); }
std::unique_ptr<TResponseBody> TCimOperations::EnumerateClassNames(TCall& call) { return ClassEnumeration(call, true); }

std::unique_ptr<TResponseBody> TCimOperations::ClassEnumeration(TCall& call, bool namesOnly) {
  const std::string name = call.reader.ClassName(call.Parameter("ClassName"));
  call.record->target = name;
  boost::shared_ptr<ICIMClass> top = name.empty() ? call.ns->GetClass("", kNone) : FindClass(call, name, kCimInvalidClass);
  auto options = call.ClassOptions(true, true);
  return std::make_unique<TCimMethodResponse>(
      call.head, EachOf(Subclasses(*top, call.Boolean("DeepInheritance", false)),
                        [options, namesOnly](TCimXmlWriter& w, const boost::shared_ptr<ICIMClass>& c) {
                          if (namesOnly) {
                            w.ClassName(c->GetName(kNone));
                          } else {
                            w.Class(*c, options->options);
                          }
                        }));
}

std::unique_ptr<TResponseBody> TCimOperations::GetInstance(TCall& call) {
  boost::shared_ptr<ICIMInstance> instance = NamedInstance(call, "InstanceName");
  auto options = ReadObjectOptions(call.reader, call.request, kInstanceLocalOnly, false);
  return std::make_unique<TCimMethodResponse>(
      call.head, OneItem([instance, options](TCimXmlWriter& w) { w.Instance(*instance, options->options); }));
}

std::unique_ptr<TResponseBody> TCimOperations::EnumerateInstances(TCall& call) {
  const std::string name = call.reader.ClassName(call.Parameter("ClassName"));
  call.record->target = name;
  boost::shared_ptr<ICIMClass> cls = FindClass(call, name, kCimInvalidClass);
  auto options = ReadObjectOptions(call.reader, call.request, kInstanceLocalOnly, false);
  if (!call.Boolean("DeepInheritance", true)) {
    options->declaredBy = cls;
    options->options.declaredBy = cls.get();
  }
  return std::make_unique<TCimMethodResponse>(
      call.head, EachOf(InstancesOf(*cls), [options](TCimXmlWriter& w, const boost::shared_ptr<ICIMInstance>& i) {
        w.Open("VALUE.NAMEDINSTANCE");
        w.InstanceName(i->GetReference(kNone));
        w.Instance(*i, options->options);
        w.Close();
      }));
}

std::unique_ptr<TResponseBody> TCimOperations::EnumerateInstanceNames(TCall& call) {
  const std::string name = call.reader.ClassName(call.Parameter("ClassName"));
  call.record->target = name;
  boost::shared_ptr<ICIMClass> cls = FindClass(call, name, kCimInvalidClass);
  return std::make_unique<TCimMethodResponse>(
      call.head, EachOf(InstancesOf(*cls), [](TCimXmlWriter& w, const boost::shared_ptr<ICIMInstance>& i) {
        w.InstanceName(i->GetReference(kNone));
      }));
}

std::unique_ptr<TResponseBody> TCimOperations::GetProperty(TCall& call) {
  boost::shared_ptr<ICIMInstance> instance = NamedInstance(call, "InstanceName");
  const std::string name = call.RequiredString("PropertyName");
  // Asked for a property its class does not declare, the instance would
  // make one up and declare it in the class: a read must change nothing.
  try {
    instance->GetClass(kNone)->GetPropertyDecl(name, kNone);
  } catch (const TTYLException&) {
    throw TCimError(kCimNoSuchProperty, "no property " + Printable(name) + " in " + Printable(call.record->target));
  }
  const TCIMValue value = instance->GetProperty(name, kNone)->GetValue(kNone);
  return std::make_unique<TCimMethodResponse>(call.head,
                                              OneItem([value](TCimXmlWriter& w) { w.Value(value); }));
}

std::unique_ptr<TResponseBody> TCimOperations::GetQualifier(TCall& call) {
  const std::string name = call.RequiredString("QualifierName");
  call.record->target = name;
  boost::shared_ptr<ICIMQualifierDecl> decl;
  try {
    decl = call.ns->GetQualifierDecl(name, kNone);
  } catch (const TTYLException& e) {
    if (e.GetStatusCode() != kStatusNotFound && e.GetStatusCode() != kStatusInvalidName) throw;
  }
  if (!decl) throw TCimError(kCimNotFound, "no qualifier declaration " + Printable(name));
  return std::make_unique<TCimMethodResponse>(call.head,
                                              OneItem([decl](TCimXmlWriter& w) { w.QualifierDecl(*decl); }));
}

std::unique_ptr<TResponseBody> TCimOperations::EnumerateQualifiers(TCall& call) {
  std::vector<boost::shared_ptr<ICIMQualifierDecl>> decls = Collected<ICIMQualifierDecl>(
      [&](const auto& callback) { call.ns->EnumerateQualifierDecls(callback, kNone); });
  return std::make_unique<TCimMethodResponse>(
      call.head, EachOf(std::move(decls), [](TCimXmlWriter& w, const boost::shared_ptr<ICIMQualifierDecl>& d) {
        w.QualifierDecl(*d);
      }));
}
