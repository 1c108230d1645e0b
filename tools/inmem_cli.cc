// inmem: the command-line tool of the repository. It loads the plug-in
// through the core's provider manager, loads MOF into a fresh namespace, and
// runs one command on it.
//
// Exit status: 0 success, 1 not found or refused, 2 usage or load errors.

#include <iostream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "core/logger.h"
#include "core/namespace_provider_manager.h"
#include "core/root_object.h"
#include "core/tyl_exception.h"
#include "include/cim_class.h"
#include "include/cim_namespace.h"
#include "mof/mof_loader.h"

namespace {

constexpr int kExitRefused = 1;
constexpr int kExitUsage = 2;

struct TOptions {
  std::vector<std::string> mofFiles;
  std::vector<std::string> includePaths;
  int verbosity = 0;
  std::string format = "text";
  std::string plugin = INMEM_PLUGIN_PATH;
  bool keepGoing = false;
  bool tree = false;
};

void PrintSubclasses(ICIMClass& cls, int depth) {
  cls.EnumerateSubclasses(
      [&](boost::shared_ptr<ICIMClass> sub) {
        std::cout << std::string(static_cast<size_t>(depth) * 2, ' ') << sub->GetName(TContext())
                  << "\n";
        PrintSubclasses(*sub, depth + 1);
        return true;
      },
      false, TContext());
}

int ListClasses(ICIMNamespace& ns, bool tree) {
  boost::shared_ptr<ICIMClass> root = ns.GetClass("", TContext());
  if (tree) {
    PrintSubclasses(*root, 0);
    return 0;
  }
  root->EnumerateSubclasses(
      [](boost::shared_ptr<ICIMClass> cls) {
        std::cout << cls->GetName(TContext()) << "\n";
        return true;
      },
      true, TContext());
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app{"inmem: an in-memory CIM repository on the command line"};
  TOptions options;
  app.add_option("-m,--mof", options.mofFiles, "MOF file to load first (repeatable)");
  app.add_option("-I,--include", options.includePaths, "folder searched by #pragma include");
  app.add_flag("-v,--verbose", options.verbosity, "show more of the log (repeatable)");
  app.add_option("--format", options.format, "output format")->check(CLI::IsMember({"text", "json"}));
  app.add_option("--plugin", options.plugin, "path of libinmem.so");
  app.add_flag("--keep-going", options.keepGoing, "report every MOF error, not only the first");
  app.require_subcommand(1);
  CLI::App* classes = app.add_subcommand("classes", "list the classes");
  classes->add_flag("--tree", options.tree, "show the inheritance tree");
  CLI::App* check = app.add_subcommand("check", "load MOF files and report counts and errors");
  std::vector<std::string> checkFiles;
  check->add_option("files", checkFiles, "MOF files")->required();
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    return app.exit(e) == 0 ? 0 : kExitUsage;
  }

  TStderrLogger logger(options.verbosity);
  TRootObject::SetCoreLogger(&logger);
  try {
    boost::shared_ptr<INamespaceProviderManager> manager = TRootObject::GetNamespaceProviderManager();
    manager->LoadProviderLibrary(options.plugin);
    boost::shared_ptr<ICIMNamespace> ns = manager->CreateNamespace("inmem", TContext(), false, "NOKRTYL20");
    TMofLoadOptions loadOptions;
    loadOptions.includePaths = options.includePaths;
    loadOptions.keepGoing = options.keepGoing || check->parsed();
    TMofLoader loader(ns, loadOptions);
    std::vector<std::string> files = options.mofFiles;
    files.insert(files.end(), checkFiles.begin(), checkFiles.end());
    bool loaded = true;
    for (const std::string& file : files) loaded = loader.LoadFile(file) && loaded;
    for (const TMofDiagnostic& d : loader.Diagnostics()) {
      if (d.severity == TMofDiagnostic::kError || options.verbosity > 0) {
        std::cerr << d.Format() << "\n";
      }
    }
    if (check->parsed()) {
      const TMofLoadCounts& counts = loader.Counts();
      std::cout << counts.files << " files, " << counts.qualifierDecls << " qualifier declarations, "
                << counts.classes << " classes (" << counts.keylessClasses << " without keys), "
                << counts.instances << " instances, " << loader.ErrorCount() << " errors\n";
      TRootObject::SetCoreLogger(nullptr);
      return loaded ? 0 : kExitUsage;
    }
    if (!loaded) {
      TRootObject::SetCoreLogger(nullptr);
      return kExitUsage;
    }
    int status = ListClasses(*ns, options.tree);
    TRootObject::SetCoreLogger(nullptr);
    return status;
  } catch (const TTYLException& e) {
    std::cerr << "inmem: " << e.what() << " (" << e.GetStatus().GetStatusName() << ")\n";
    TRootObject::SetCoreLogger(nullptr);
    return e.GetStatusCode() == kStatusLoadFailed ? kExitUsage : kExitRefused;
  }
}
