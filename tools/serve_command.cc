// `inmem serve` and `inmem passwd`.

#include "tools/serve_command.h"

#include <termios.h>
#include <unistd.h>

#include <iostream>
#include <memory>
#include <thread>


#include "browser/dot_renderer.h"
#include "browser/page_parts.h"
#include "browser/repository_graphs.h"
#include "browser/repository_pages.h"
#include "core/namespace_directory.h"
#include "core/printable_text.h"
#include "delivery/indication_delivery.h"
#include "indication/indication_service.h"
#include "mof/mof_loader.h"
#include "server/cim_operations.h"
#include "server/interop_namespace.h"
#include "server/namespace_registry.h"
#include "server/snapshot.h"
#include "server/user_file.h"
#include "server/wbem_server.h"
#include "tools/http_listen_options.h"
#include "tools/inventory_feed.h"
#include "tools/repository_commands.h"
#include "tools/strict_number.h"

namespace {

int UsageError(const std::string& message) {
  std::cerr << "inmem: serve: " << message << "\n";
  return kExitUsage;
}

// The profile of this machine's inventory, as the Interop namespace
// registers it: a model of this project's own.
const TRegisteredProfile kInventoryProfile{1, "inmem", "Linux Inventory", "1.0.0"};

std::string HostName() {
  char name[256] = {};
  if (gethostname(name, sizeof name - 1) != 0 || name[0] == '\0') return "localhost";
  return name;
}

// Reports what a load said (its errors; everything with -v); true when it
// loaded without an error.
bool Loaded(const TMofLoader& loader, bool loaded) {
  for (const TMofDiagnostic& d : loader.Diagnostics()) {
    if (d.severity == TMofDiagnostic::kError) std::cerr << d.Format() << "\n";
  }
  return loaded;
}

// The two passes over the --load options. Files for the Interop namespace
// are loaded in both: their qualifier declarations and classes first, so
// that they stand and the bundled classes fill in only what they lack, and
// their instances once those are there too. Every other file is loaded
// whole in the first.
enum class ELoadPass { kFirst, kInteropInstances };

// One pass over the --load options: each file into its namespace, made
// when new.
bool LoadNamespaces(const std::vector<std::string>& loads, TNamespaceRegistry& namespaces,
                    const std::string& interop, ELoadPass pass, std::vector<std::string>* loaded) {
  for (const std::string& load : loads) {
    const size_t equals = load.find('=');
    const std::string name = load.substr(0, equals);
    const std::string file = equals == std::string::npos ? std::string() : load.substr(equals + 1);
    const TNamespaceRegistry::TEntry* entry = namespaces.Find(name);
    try {
      if (entry == nullptr) entry = &namespaces.Create(name);
    } catch (const std::invalid_argument& e) {
      std::cerr << "inmem: serve: --load " << Printable(load) << ": " << e.what() << "\n";
      return false;
    }
    const bool isInterop = TNamespaceDirectory::Key(entry->name) == TNamespaceDirectory::Key(interop);
    if (file.empty() || (pass == ELoadPass::kInteropInstances && !isInterop)) continue;
    TMofLoadOptions options;
    options.notes = entry->notes.get();
    if (isInterop) {
      const bool instances = pass == ELoadPass::kInteropInstances;
      options.only = [instances](const TMofProduction& p) { return (p.kind == TMofProduction::kInstance) == instances; };
    }
    TMofLoader loader(entry->ns, options);
    if (!Loaded(loader, loader.LoadFile(file))) return false;
    if (pass == ELoadPass::kFirst) loaded->push_back(file + " into " + entry->name);
  }
  return true;
}

}  // namespace

void DeclareServeOptions(CLI::App& serve, TServeOptions& o) {
  DeclareHttpListenOptions(serve, o, kServePort, "users allowed in (HTTP Basic), written by inmem passwd");
  serve.add_option("--namespace", o.namespaceName, "the namespace -m loads into (default root/cimv2)");
  serve.add_option("--load", o.loads, "NAMESPACE=FILE: load FILE into NAMESPACE, made when new (repeatable)");
  serve.add_option("--interop", o.interop, "the Interop namespace's name (default interop)");
  serve.add_flag("--read-only", o.readOnly, "refuse every write with CIM_ERR_ACCESS_DENIED");
  serve.add_flag("--inventory", o.inventory, "serve this machine's inventory too");
  serve.add_option("--root", o.root, "read /proc and /sys below this folder for --inventory");
  serve.add_option("--refresh", o.refresh, "collect the inventory again every SECONDS");
  serve.add_option("--snapshot", o.snapshot, "load FILE at start when present; write it on shutdown");
  serve.add_option("--snapshot-every", o.snapshotEvery, "write the snapshot every SECONDS when changed");
  serve.add_option("--max-enumerations", o.maxEnumerations, "open pull enumerations at once (default 256)");
  serve.add_option("--threads", o.threads, "threads that answer requests (default: one per core)")
      ->check(CLI::Range(1u, 256u));
  serve.add_option("--indication-queue", o.indicationQueue,
                   "indications queued per listener at most; more are dropped and counted (default 20000)");
  serve.add_option("--delivery-retries", o.deliveryRetries,
                   "tries after the first to deliver an indication (default 3)");
  serve.add_option("--delivery-interval", o.deliveryInterval, "seconds between tries (default 2)");
  serve.add_option("--delivery-grace", o.deliveryGrace,
                   "seconds to deliver what is queued when the server stops (default 2)");
  serve.add_option("--listener-ca", o.listenerCa, "authorities (PEM) trusted for https listeners besides the system's");
}

int Serve(const TServeOptions& o, const boost::shared_ptr<ICIMNamespace>& ns,
          const std::shared_ptr<TSchemaNotes>& notes, const std::vector<std::string>& loaded,
          const std::function<boost::shared_ptr<ICIMNamespace>()>& newNamespace,
          const std::string& inventorySchema, const std::string& plugin) {
  TWbemServerConfig config;
  TUserFile users;
  const std::string problem = ConfigureHttp(o, kServePort, &config, &config.http, &users);
  if (!problem.empty()) return UsageError(problem);
  config.threads = o.threads != 0 ? o.threads : std::max(1u, std::thread::hardware_concurrency());

  TNamespaceRegistry namespaces(newNamespace);
  try {
    namespaces.Add(o.namespaceName, ns, notes);
  } catch (const std::invalid_argument& e) {
    return UsageError(std::string("--namespace: ") + e.what());
  }
  std::vector<std::string> sources = loaded;
  if (o.loadSnapshot) {
    std::unique_ptr<TMofLoader> loader;
    const bool loadedWhole = LoadSnapshot(namespaces, o.namespaceName, o.snapshot, &loader);
    if (!Loaded(*loader, loadedWhole)) {
      std::cerr << "inmem: serve: the snapshot " << o.snapshot << " did not load\n";
      return kExitUsage;
    }
    sources = {"the snapshot " + o.snapshot};
  }
  if (!LoadNamespaces(o.loads, namespaces, o.interop, ELoadPass::kFirst, &sources)) return kExitUsage;
  if (!TNamespaceRegistry::IsValidName(o.interop)) return UsageError("--interop: not a namespace name: " + o.interop);

  TServerIdentity identity;
  identity.version = INMEM_VERSION;
  identity.hostName = HostName();
  identity.basicAuthentication = !o.users.empty();
  identity.functionalProfiles = TCimOperations::FunctionalProfiles(o.readOnly);
  TSubscriptionRules subscriptionRules;
  subscriptionRules.hostName = identity.hostName;
  subscriptionRules.insecure = o.insecure;
  identity.indications.offered = true;
  identity.indications.retryAttempts = static_cast<uint16_t>(std::min(o.deliveryRetries, 65535u));
  identity.indications.retryIntervalSeconds = o.deliveryInterval;
  identity.indications.subscriptionsPersisted = !o.snapshot.empty();
  identity.indications.maxDestinations = static_cast<uint32_t>(subscriptionRules.maxDestinations);
  identity.indications.maxSubscriptions = static_cast<uint32_t>(subscriptionRules.maxSubscriptions);
  TInteropNamespace interop(namespaces, o.interop, identity);
  try {
    interop.Start();
  } catch (const std::exception& e) {
    std::cerr << "inmem: serve: " << e.what() << "\n";
    return kExitUsage;
  }
  if (!LoadNamespaces(o.loads, namespaces, o.interop, ELoadPass::kInteropInstances, &sources)) return kExitUsage;

  // Indications: made on this thread, delivered from the engine's own.
  TDeliveryConfig deliveryConfig;
  deliveryConfig.maxQueue = std::max<size_t>(o.indicationQueue, 1);
  deliveryConfig.retryAttempts = o.deliveryRetries;
  deliveryConfig.retryInterval = std::chrono::seconds(o.deliveryInterval);
  deliveryConfig.shutdownGrace = std::chrono::seconds(o.deliveryGrace);
  deliveryConfig.trustedCertificates = o.listenerCa;
  TIndicationDelivery delivery(deliveryConfig, std::cerr);
  TIndicationService indications(
      namespaces, interop, subscriptionRules,
      [&delivery](const std::vector<TIndicationToSend>& requests) { delivery.SendAll(requests); },
      std::cerr);
  indications.OnForget([&delivery](const std::string& destination) { delivery.Forget(destination); });
  indications.Reload();
  namespaces.OnChange([&] { indications.Reload(); });

  TCimOperationsConfig operationsConfig;
  operationsConfig.readOnly = o.readOnly;
  operationsConfig.maxOpenEnumerations = o.maxEnumerations;
  operationsConfig.interop = &interop;
  operationsConfig.changes = &indications;
  operationsConfig.subscriptions = &indications;
  TCimOperations operations(namespaces, operationsConfig);
  TRepositoryPages pages(namespaces, o.namespaceName, o.interop);
  for (const std::string& source : sources) pages.NoteLoaded("MOF " + source);
  // Requests run on several threads: what reaches the namespaces from
  // here on takes the operations' lock, shared to read, alone to change.
  TRepositoryLock& lock = operations.Lock();
  config.http.pages = [&pages, &lock](const THttpRequest& request) {
    auto read = lock.Read();
    return pages.Answer(request);
  };

  // Changes the snapshot has not seen: writes by clients, and collections.
  uint64_t collections = 0;
  std::unique_ptr<TInventoryFeed> feed;
  auto collect = [&] {
    auto write = lock.Write();
    std::string error;
    if (feed->Refresh(&error, &indications, namespaces.Find(o.namespaceName)->name)) {
      ++collections;
      operations.NamespaceChanged(o.namespaceName);
      operations.ProcessorStatesChanged();
      // The inventory registers its profile as users register theirs: in
      // the Interop namespace, conforming to the computer system it found.
      std::vector<TCIMReference> systems = feed->CentralInstances();
      for (TCIMReference& system : systems) system.SetNameSpaceName(namespaces.Find(o.namespaceName)->name);
      try {
        interop.RegisterProfile(kInventoryProfile, systems);
      } catch (const std::exception& e) {
        std::cerr << "inmem serve: the inventory's profile is not registered: " << e.what() << "\n";
      }
      std::cerr << "inmem serve: inventory collected: " << feed->Instances() << " instances\n";
      pages.NoteLoaded("this machine's inventory, " + std::to_string(feed->Instances()) + " instances");
    } else {
      std::cerr << "inmem serve: inventory not collected: " << error << "\n";
    }
    for (const std::string& note : feed->Notes()) std::cerr << "inmem serve: note: " << note << "\n";
  };
  if (o.inventory) {
    feed = std::make_unique<TInventoryFeed>(ns, notes.get(), newNamespace, inventorySchema, o.root, plugin);
    collect();
    // A class write builds the namespace again: the feed follows it.
    namespaces.OnChange([&] {
      const TNamespaceRegistry::TEntry* entry = namespaces.Find(o.namespaceName);
      if (entry != nullptr) feed->Retarget(entry->ns, entry->notes.get());
    });
  }

  TWbemServer server(operations, config, std::cerr);
  try {
    server.Start();
  } catch (const std::exception& e) {
    std::cerr << "inmem: serve: " << e.what() << "\n";
    return kExitNotFound;
  }
  const std::vector<unsigned short> ports = server.Ports();
  for (size_t i = 0; i < ports.size(); ++i) {
    std::string served;
    for (const TNamespaceRegistry::TEntry* entry : namespaces.Entries()) {
      served += (served.empty() ? "" : ", ") + entry->name;
    }
    std::cerr << "inmem serve: listening on " << ListenUrl(config.listen[i], ports[i]) << "/cimom (namespace "
              << o.namespaceName << (o.readOnly ? ", read-only" : "") << "; serving " << served << ")" << std::endl;
  }
  if (feed && o.refresh > 0) server.Every(std::chrono::seconds(o.refresh), collect);
  // Dropping an enumeration may drop the last hold on a class a class
  // write has replaced: alone, as a write.
  server.Every(std::chrono::seconds(5), [&] {
    auto write = lock.Write();
    operations.DropExpiredEnumerations();
  });
  server.Every(std::chrono::seconds(1), [&] {
    std::vector<TDeliveryFailure> failures = delivery.TakeFailures();
    if (failures.empty()) return;
    auto write = lock.Write();
    for (const TDeliveryFailure& failure : failures) indications.DeliveryFailed(failure);
  });
  uint64_t saved = operations.Changes() + collections;
  auto save = [&](bool always) {
    const uint64_t now = operations.Changes() + collections;
    if (o.snapshot.empty() || (now == saved && !always)) return;
    auto read = lock.Read();
    // Every namespace, the Interop one last: what users register there
    // points into the others.
    std::vector<TSnapshotSection> sections;
    for (const TNamespaceRegistry::TEntry* entry : namespaces.Entries()) {
      if (!interop.IsInterop(entry->name)) {
        sections.push_back(TSnapshotSection{entry->name, entry->ns.get(), nullptr, entry->notes.get()});
      }
    }
    const TNamespaceRegistry::TEntry* interopEntry = namespaces.Find(interop.Name());
    sections.push_back(TSnapshotSection{interopEntry->name, interopEntry->ns.get(), interop.SnapshotFilter(),
                                        interopEntry->notes.get()});
    std::string error;
    if (WriteSnapshot(sections, o.snapshot, &error)) {
      saved = now;
      std::cerr << "inmem serve: snapshot written to " << o.snapshot << "\n";
    } else {
      std::cerr << "inmem serve: " << error << "\n";
    }
  };
  if (o.snapshotEvery > 0) server.Every(std::chrono::seconds(o.snapshotEvery), [&] { save(false); });
  server.Run([&] {
    std::cerr << "inmem serve: stopping\n";
    delivery.Stop();
    save(true);
  });
  return kExitOk;
}

int Graph(ICIMNamespace& ns, const boost::shared_ptr<ICIMNamespace>& shared, bool ofClass, const std::string& what,
          int hops, const std::string& format, std::ostream& out) {
  TGraphLimits limits;
  limits.hops = hops;
  std::string dot;
  if (ofClass) {
    boost::shared_ptr<ICIMClass> cls = FindClassOrNull(ns, what);
    if (!cls) {
      std::cerr << "inmem: graph: no class named " << Printable(what) << "\n";
      return kExitNotFound;
    }
    dot = ClassGraph(*cls, limits);
  } else {
    std::string why;
    boost::shared_ptr<ICIMInstance> instance = FindInstanceOrNull(shared, what, &why);
    if (!instance) {
      std::cerr << "inmem: graph: " << why << "\n";
      return why.find("is not an instance path") != std::string::npos ? kExitUsage : kExitNotFound;
    }
    dot = InstanceGraph(*instance, limits);
  }
  if (format == "dot") {
    out << dot;
    return kExitOk;
  }
  std::string svg, error;
  if (!RenderSvg(dot, &svg, &error)) {
    std::cerr << "inmem: graph: " << error << "\n";
    return kExitNotFound;
  }
  out << svg;
  return kExitOk;
}

namespace {

// One line from standard input, without echo when it is a terminal.
bool ReadSecret(const char* prompt, std::string* secret) {
  const bool terminal = isatty(STDIN_FILENO) != 0;
  termios saved{};
  if (terminal) {
    std::cerr << prompt << std::flush;
    tcgetattr(STDIN_FILENO, &saved);
    termios quiet = saved;
    quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    tcsetattr(STDIN_FILENO, TCSANOW, &quiet);
  }
  const bool read = static_cast<bool>(std::getline(std::cin, *secret));
  if (terminal) {
    tcsetattr(STDIN_FILENO, TCSANOW, &saved);
    std::cerr << "\n";
  }
  return read;
}

}  // namespace

int Passwd(const std::string& file, const std::string& user) {
  TUserFile users;
  std::string error;
  if (!users.Load(file, true, &error)) {
    std::cerr << "inmem: passwd: " << error << "\n";
    return kExitUsage;
  }
  std::string password, again;
  if (!ReadSecret("password: ", &password) || password.empty()) {
    std::cerr << "inmem: passwd: no password given\n";
    return kExitUsage;
  }
  if (isatty(STDIN_FILENO) && (!ReadSecret("again: ", &again) || again != password)) {
    std::cerr << "inmem: passwd: the passwords differ\n";
    return kExitUsage;
  }
  if (!users.SetPassword(user, password)) {
    std::cerr << "inmem: passwd: not a user name: " << Printable(user) << "\n";
    return kExitUsage;
  }
  if (!users.Save(file, &error)) {
    std::cerr << "inmem: passwd: " << error << "\n";
    return kExitNotFound;
  }
  std::cerr << "inmem: passwd: " << user << " set in " << file << "\n";
  return kExitOk;
}
