// inmem: the command-line tool of the repository. It loads the plug-in
// through the core's provider manager, loads MOF into a fresh namespace, and
// runs one command on it.
//
// Exit status: 0 success, 1 not found or refused, 2 usage or load errors.

#include <dlfcn.h>

#include <iostream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "core/logger.h"
#include "core/namespace_provider_manager.h"
#include "core/root_object.h"
#include "core/tyl_exception.h"
#include "mof/mof_loader.h"
#include "include/cim_class.h"
#include "include/cim_instance.h"
#include "tools/linux_collector.h"
#include "tools/repository_commands.h"

namespace {

struct TOptions {
  std::vector<std::string> mofFiles;
  std::vector<std::string> includePaths;
  int verbosity = 0;
  std::string format = "text";
  std::string plugin = INMEM_PLUGIN_PATH;
  bool keepGoing = false;
};

// Loads the plug-in, makes a namespace and loads `files` into it. Prints
// the diagnostics (errors always, the rest with -v); false on any error.
bool BuildRepository(const TOptions& options, const std::vector<std::string>& files,
                     bool keepGoing, boost::shared_ptr<ICIMNamespace>* ns, TMofLoadCounts* counts,
                     int* errors) {
  boost::shared_ptr<INamespaceProviderManager> manager = TRootObject::GetNamespaceProviderManager();
  manager->LoadProviderLibrary(options.plugin);
  *ns = manager->CreateNamespace("inmem", TContext(), false, "NOKRTYL20");
  TMofLoadOptions loadOptions;
  loadOptions.includePaths = options.includePaths;
  loadOptions.keepGoing = keepGoing;
  TMofLoader loader(*ns, loadOptions);
  bool loaded = true;
  for (const std::string& file : files) {
    loaded = loader.LoadFile(file) && loaded;
    if (!loaded && !keepGoing) break;
  }
  for (const TMofDiagnostic& d : loader.Diagnostics()) {
    if (d.severity == TMofDiagnostic::kError || options.verbosity > 0) std::cerr << d.Format() << "\n";
  }
  *counts = loader.Counts();
  *errors = loader.ErrorCount();
  return loaded;
}

// Hands the processors' cache states to the plug-in's globals.
void SetCacheStates(const std::string& plugin, const TCacheStates& states) {
  void* library = dlopen(plugin.c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (library == nullptr) return;
  const std::pair<const char*, int> globals[] = {
      {"g_L1Enabled", states.level1}, {"g_L2Enabled", states.level2}, {"g_L3Enabled", states.level3}};
  for (const auto& global : globals) {
    if (void* address = dlsym(library, global.first)) *static_cast<int32_t*>(address) = global.second;
  }
  dlclose(library);
}

// This machine's inventory: the bundled schema filled by the collector.
int Inventory(const TOptions& options, const boost::shared_ptr<ICIMNamespace>& ns,
              const std::string& root, TRepositoryCommands& commands) {
  TLinuxCollector collector(root);
  boost::shared_ptr<ICIMInstance> system = collector.Collect(*ns);
  SetCacheStates(options.plugin, collector.CacheStates());
  // Enumerating the processors applies the cache states to them.
  ns->GetClass("PELXA_Processor", TContext())
      ->EnumerateInstances([](boost::shared_ptr<ICIMInstance>) { return true; }, false, TContext());
  return commands.Inventory(system->GetReference(TContext()).GetPath());
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app{"inmem: an in-memory CIM repository on the command line"};
  app.set_help_all_flag("--help-all", "help for every command");
  TOptions options;
  app.add_option("-m,--mof", options.mofFiles, "MOF file to load first (repeatable)");
  app.add_option("-I,--include", options.includePaths, "folder searched by #pragma include");
  app.add_flag("-v,--verbose", options.verbosity, "show more of the log (repeatable)");
  app.add_option("--format", options.format, "output format: text or json")
      ->check(CLI::IsMember({"text", "json"}));
  app.add_option("--plugin", options.plugin, "path of libinmem.so");
  app.add_flag("--keep-going", options.keepGoing, "report every MOF error, not only the first");
  app.require_subcommand(1);
  app.fallthrough();  // the options above may also follow the command

  bool tree = false, deep = false, names = false;
  std::string name;
  std::vector<std::string> checkFiles;
  TWalkFilters filters;
  CLI::App* classes = app.add_subcommand("classes", "list the classes");
  classes->add_flag("--tree", tree, "show the inheritance tree");
  CLI::App* cls = app.add_subcommand("class", "show a class as MOF, inherited members marked");
  cls->add_option("name", name, "class name")->required();
  CLI::App* qualifiers = app.add_subcommand("qualifiers", "list the qualifier declarations");
  CLI::App* instances = app.add_subcommand("instances", "list the instances of a class");
  instances->add_option("class", name, "class name")->required();
  instances->add_flag("--deep", deep, "the instances of subclasses too");
  instances->add_flag("--names", names, "paths only");
  CLI::App* get = app.add_subcommand("get", "show an instance with the display text of each property");
  get->add_option("path", name, "object path, e.g. Class.Key=\"v\",Key2=3")->required();
  CLI::App* associators = app.add_subcommand("associators", "the instances associated with one");
  associators->add_option("path", name, "object path")->required();
  associators->add_option("--assoc-class", filters.assocClass, "association class");
  associators->add_option("--result-class", filters.resultClass, "class of the far end");
  associators->add_option("--role", filters.role, "property naming this end");
  associators->add_option("--result-role", filters.resultRole, "property naming the far end");
  CLI::App* references = app.add_subcommand("references", "the associations that point at an instance");
  references->add_option("path", name, "object path")->required();
  references->add_option("--result-class", filters.resultClass, "association class");
  references->add_option("--role", filters.role, "property naming this end");
  CLI::App* check = app.add_subcommand("check", "load MOF files and report counts and errors");
  check->add_option("files", checkFiles, "MOF files")->required();
  CLI::App* exportCommand = app.add_subcommand("export", "write the repository as MOF");
  std::string root = "/";
  CLI::App* inventory = app.add_subcommand("inventory", "this machine's inventory, with display text");
  inventory->add_option("--root", root, "read /proc and /sys below this folder (default /)");
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    return app.exit(e) == 0 ? kExitOk : kExitUsage;
  }

  TStderrLogger logger(options.verbosity);
  TRootObject::SetCoreLogger(&logger);
  int status = kExitOk;
  try {
    boost::shared_ptr<ICIMNamespace> ns;
    TMofLoadCounts counts;
    int errors = 0;
    std::vector<std::string> files;
    if (inventory->parsed()) files.push_back(INMEM_INVENTORY_SCHEMA);
    files.insert(files.end(), options.mofFiles.begin(), options.mofFiles.end());
    files.insert(files.end(), checkFiles.begin(), checkFiles.end());
    bool loaded = BuildRepository(options, files, options.keepGoing || check->parsed(), &ns,
                                  &counts, &errors);
    TRepositoryCommands commands(ns, options.format == "json", std::cout, std::cerr);
    if (check->parsed()) {
      std::cout << counts.files << " files, " << counts.qualifierDecls << " qualifier declarations, "
                << counts.classes << " classes (" << counts.keylessClasses << " without keys), "
                << counts.instances << " instances, " << errors << " errors\n";
      status = loaded ? kExitOk : kExitUsage;
    } else if (!loaded) {
      status = kExitUsage;
    } else if (classes->parsed()) {
      status = commands.Classes(tree);
    } else if (cls->parsed()) {
      status = commands.Class(name);
    } else if (qualifiers->parsed()) {
      status = commands.Qualifiers();
    } else if (instances->parsed()) {
      status = commands.Instances(name, deep, names);
    } else if (get->parsed()) {
      status = commands.Get(name);
    } else if (associators->parsed()) {
      status = commands.Associators(name, filters);
    } else if (references->parsed()) {
      status = commands.References(name, filters);
    } else if (exportCommand->parsed()) {
      status = commands.Export();
    } else if (inventory->parsed()) {
      status = Inventory(options, ns, root, commands);
    }
  } catch (const TTYLException& e) {
    std::cerr << "inmem: " << e.what() << " (" << e.GetStatus().GetStatusName() << ")\n";
    status = e.GetStatusCode() == kStatusLoadFailed ? kExitUsage : kExitNotFound;
  }
  TRootObject::SetCoreLogger(nullptr);
  return status;
}
