// inmem: the command-line tool of the repository. It loads the plug-in
// through the core's provider manager, loads MOF into a fresh namespace, and
// runs one command on it.
//
// Exit status: 0 success, 1 not found or refused, 2 usage or load errors.

#include <editline/readline.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "core/logger.h"
#include "core/namespace_provider_manager.h"
#include "core/printable_text.h"
#include "core/root_object.h"
#include "core/tyl_exception.h"
#include "mof/mof_loader.h"
#include "include/cim_class.h"
#include "include/cim_instance.h"
#include "tools/install_paths.h"
#include "tools/inventory_feed.h"
#include "tools/linux_collector.h"
#include "tools/listen_command.h"
#include "tools/repository_commands.h"
#include "tools/serve_command.h"

namespace {

struct TOptions {
  std::vector<std::string> mofFiles;
  std::vector<std::string> includePaths;
  int verbosity = 0;
  std::string format = "text";
  std::string plugin = DefaultPluginPath();
  bool keepGoing = false;
};

// Loads the plug-in and makes a fresh namespace.
boost::shared_ptr<ICIMNamespace> NewNamespace(const TOptions& options) {
  boost::shared_ptr<INamespaceProviderManager> manager = TRootObject::GetNamespaceProviderManager();
  manager->LoadProviderLibrary(options.plugin);
  return manager->CreateNamespace("inmem", TContext(), false, "NOKRTYL20");
}

// Loads `files` with `loader`, stopping at the first file with an error
// unless it keeps going, and shows the diagnostics on stderr (errors always,
// the rest with -v); false on any error.
bool LoadFiles(const TOptions& options, const std::vector<std::string>& files,
               TMofLoader& loader, bool keepGoing) {
  bool loaded = true;
  for (const std::string& file : files) {
    loaded = loader.LoadFile(file) && loaded;
    if (!loaded && !keepGoing) break;
  }
  for (const TMofDiagnostic& d : loader.Diagnostics()) {
    if (d.severity == TMofDiagnostic::kError || options.verbosity > 0) std::cerr << d.Format() << "\n";
  }
  return loaded;
}

// A refusal that reached the top: the status text and name.
std::string Refused(const TTYLException& e) {
  return std::string(e.what()) + " (" + e.GetStatus().GetStatusName() + ")";
}

bool IsFolder(const std::string& path) {
  struct stat info;
  return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

// This machine's inventory: the bundled schema filled by the collector.
// The bundled schema is loaded first unless the namespace already has it.
// What the collector left out is noted with -v.
int Inventory(const TOptions& options, const boost::shared_ptr<ICIMNamespace>& ns, TSchemaNotes* notes,
              const std::string& root, TRepositoryCommands& commands) {
  if (!IsFolder(root)) {
    return commands.Fail(kExitUsage, "inventory: --root " + Printable(root) + ": no such folder");
  }
  try {
    ns->GetClass("PELXA_ComputerSystem", TContext());
  } catch (const TTYLException&) {
    TMofLoadOptions loadOptions;
    loadOptions.keepDeclaredQualifiers = true;  // beside another schema, its declarations stay
    loadOptions.notes = notes;
    TMofLoader loader(ns, loadOptions);
    if (!LoadFiles(options, {InventorySchemaPath()}, loader, false)) {
      return commands.LoadFailed(loader);
    }
  }
  TLinuxCollector collector(root);
  boost::shared_ptr<ICIMInstance> system;
  try {
    system = collector.Collect(*ns);
  } catch (const TCollectError& e) {
    return commands.Fail(kExitNotFound, std::string("inventory: ") + e.what());
  }
  if (options.verbosity > 0) {
    for (const std::string& note : collector.Notes()) std::cerr << "inmem: note: " << note << "\n";
  }
  HandCacheStates(options.plugin, collector.CacheStates(), *ns);
  return commands.Inventory(system->GetReference(TContext()).GetPath());
}

}  // namespace

// The commands that run on a loaded repository: declared on the tool's own
// command line and again for each line of the shell.
struct TCommandLine {
  bool tree = false, deep = false, names = false;
  std::string name;
  std::string root = "/";
  TWalkFilters filters;
  CLI::App *classes, *cls, *qualifiers, *instances, *get, *associators, *references, *exportCommand,
      *inventory;
  // query: the text is in `name`.
  std::string queryLanguage = "wql", queryClass;
  CLI::App* query;

  void Declare(CLI::App& app) {
    classes = app.add_subcommand("classes", "list the classes");
    classes->add_flag("--tree", tree, "show the inheritance tree");
    cls = app.add_subcommand("class", "show a class as MOF, inherited members marked");
    cls->add_option("name", name, "class name")->required();
    qualifiers = app.add_subcommand("qualifiers", "list the qualifier declarations");
    instances = app.add_subcommand("instances", "list the instances of a class");
    instances->add_option("class", name, "class name")->required();
    instances->add_flag("--deep", deep, "the instances of subclasses too");
    instances->add_flag("--names", names, "paths only");
    get = app.add_subcommand("get", "show an instance with the display text of each property");
    get->add_option("path", name, "object path, e.g. Class.Key=\"v\",Key2=3")->required();
    associators = app.add_subcommand("associators", "the instances associated with one");
    associators->add_option("path", name, "object path")->required();
    associators->add_option("--assoc-class", filters.assocClass, "association class");
    associators->add_option("--result-class", filters.resultClass, "class of the far end");
    associators->add_option("--role", filters.role, "property naming this end");
    associators->add_option("--result-role", filters.resultRole, "property naming the far end");
    references = app.add_subcommand("references", "the associations that point at an instance");
    references->add_option("path", name, "object path")->required();
    references->add_option("--result-class", filters.resultClass, "association class");
    references->add_option("--role", filters.role, "property naming this end");
    exportCommand = app.add_subcommand("export", "write the repository as MOF");
    inventory = app.add_subcommand("inventory", "this machine's inventory, with display text");
    inventory->add_option("--root", root, "read /proc and /sys below this folder (default /)");
    query = app.add_subcommand("query", "the instances a WQL, CQL or FQL query selects");
    query->add_option("query", name, "e.g. \"SELECT Id FROM Disk WHERE Size > 1e9\"")->required();
    query->add_option("--language", queryLanguage, "wql (default), cql or fql")
        ->check(CLI::IsMember({"wql", "cql", "fql"}));
    query->add_option("--class", queryClass, "for fql: the class whose instances it filters");
  }

  // Runs the parsed command; kExitUsage when none was given.
  int Run(const TOptions& options, const boost::shared_ptr<ICIMNamespace>& ns, TSchemaNotes* notes,
          TRepositoryCommands& commands) {
    if (classes->parsed()) return commands.Classes(tree);
    if (cls->parsed()) return commands.Class(name);
    if (qualifiers->parsed()) return commands.Qualifiers();
    if (instances->parsed()) return commands.Instances(name, deep, names);
    if (get->parsed()) return commands.Get(name);
    if (associators->parsed()) return commands.Associators(name, filters);
    if (references->parsed()) return commands.References(name, filters);
    if (exportCommand->parsed()) return commands.Export();
    if (inventory->parsed()) return Inventory(options, ns, notes, root, commands);
    if (query->parsed()) return commands.Query(name, queryLanguage, queryClass);
    return kExitUsage;
  }
};

// Splits a shell line at blanks; single quotes group words and are removed,
// double quotes are kept (they belong to object paths).
std::vector<std::string> SplitLine(const std::string& line) {
  std::vector<std::string> words;
  std::string word;
  bool quoted = false, inWord = false;
  for (char c : line) {
    if (c == '\'') {
      quoted = !quoted;
      inWord = true;
    } else if (!quoted && std::isspace(static_cast<unsigned char>(c))) {
      if (inWord) words.push_back(word);
      word.clear();
      inWord = false;
    } else {
      word += c;
      inWord = true;
    }
  }
  if (inWord) words.push_back(word);
  return words;
}

// Reads commands until "quit", end of input or an empty line at the end;
// with a terminal, lines are edited and kept in a history.
int Shell(const TOptions& options, const boost::shared_ptr<ICIMNamespace>& ns, TSchemaNotes* notes) {
  bool terminal = isatty(STDIN_FILENO) != 0;
  const char* home = std::getenv("HOME");
  std::string historyFile = std::string(home != nullptr ? home : ".") + "/.inmem_history";
  if (terminal) read_history(historyFile.c_str());
  int status = kExitOk;
  while (true) {
    std::string line;
    if (terminal) {
      char* read = readline("inmem> ");
      if (read == nullptr) break;
      line = read;
      std::free(read);
      if (!line.empty()) add_history(line.c_str());
    } else if (!std::getline(std::cin, line)) {
      break;
    }
    std::vector<std::string> words = SplitLine(line);
    if (words.empty()) continue;
    if (words[0] == "quit" || words[0] == "exit") break;
    CLI::App app{"inmem shell commands"};
    app.require_subcommand(1);
    TCommandLine command;
    command.Declare(app);
    TRepositoryCommands commands(ns, options.format == "json", std::cout, std::cerr, notes);
    bool known = words[0] == "help";
    for (const CLI::App* sub : app.get_subcommands({})) known = known || sub->get_name() == words[0];
    if (!known) {
      status = commands.Fail(kExitUsage, "unknown command '" + Printable(words[0]) +
                                             "' (type help for the commands)");
      continue;
    }
    std::vector<std::string> reversed(words.rbegin(), words.rend());
    try {
      app.parse(reversed);
    } catch (const CLI::ParseError& e) {
      if (words[0] == "help" || e.get_exit_code() == 0) {
        commands.PrintText(app.help());
        status = kExitUsage;
      } else {
        status = commands.Fail(kExitUsage, std::string(e.what()) + " (type help for the commands)");
      }
      continue;
    }
    try {
      status = command.Run(options, ns, notes, commands);
    } catch (const TTYLException& e) {
      status = commands.Fail(kExitNotFound, Refused(e));
    }
  }
  if (terminal) write_history(historyFile.c_str());
  return status;
}

int main(int argc, char** argv) {
  CLI::App app{"inmem: an in-memory CIM repository on the command line"};
  // The options may come from a file too: `name = value` lines, a
  // command's own under `[COMMAND]` (`[serve]`).
  app.set_config("--config", "", "read options from FILE: 'name = value' lines, a command's under [COMMAND]");
  app.set_help_all_flag("--help-all", "help for every command");
  app.set_version_flag("--version", "inmem " INMEM_VERSION);
  TOptions options;
  app.add_option("-m,--mof", options.mofFiles, "MOF file to load first (repeatable)");
  app.add_option("-I,--include", options.includePaths, "folder searched by #pragma include");
  app.add_flag("-v,--verbose", options.verbosity, "show more of the log (repeatable)");
  app.add_option("--format", options.format, "output format: text or json")
      ->check(CLI::IsMember({"text", "json"}));
  app.add_option("--plugin", options.plugin, "path of libinmem.so (default: beside the tool, or INMEM_PLUGIN)");
  app.add_flag("--keep-going", options.keepGoing, "report every MOF error, not only the first");
  app.require_subcommand(1);
  app.fallthrough();  // the options above may also follow the command
  TCommandLine command;
  command.Declare(app);
  std::vector<std::string> checkFiles;
  CLI::App* check = app.add_subcommand("check", "load MOF files and report counts and errors");
  check->add_option("files", checkFiles, "MOF files")->required();
  CLI::App* shell = app.add_subcommand("shell", "load once, then run commands typed one per line");
  TServeOptions serveOptions;
  CLI::App* serve = app.add_subcommand("serve", "serve the repository to CIM clients (CIM-XML over HTTP)");
  DeclareServeOptions(*serve, serveOptions);
  TListenOptions listenOptions;
  CLI::App* listen = app.add_subcommand("listen", "receive CIM indications (CIM-XML export) and print them");
  DeclareListenOptions(*listen, listenOptions);
  std::string graphFormat = "svg", graphOf;
  int hops = 1;
  CLI::App* graph = app.add_subcommand("graph", "a picture of a class or an instance, as SVG or DOT");
  graph->require_subcommand(1);
  graph->add_option("--format", graphFormat, "svg (default) or dot")->check(CLI::IsMember({"svg", "dot"}));
  CLI::App* graphClass = graph->add_subcommand("class", "a class: its ancestors, subclasses and associations");
  graphClass->add_option("name", graphOf, "class name")->required();
  CLI::App* graphInstance = graph->add_subcommand("instance", "an instance and what is associated with it");
  graphInstance->add_option("path", graphOf, "object path")->required();
  graphInstance->add_option("--hops", hops, "association hops from it (1 to 4, default 1)")->check(CLI::Range(1, 4));
  std::string usersFile, userName;
  CLI::App* passwd = app.add_subcommand("passwd", "set a user's password in a users file for serve --users");
  passwd->add_option("file", usersFile, "users file")->required();
  passwd->add_option("user", userName, "user name")->required();
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    if (options.format != "json") return app.exit(e) == 0 ? kExitOk : kExitUsage;
    // Once --format json was read, stdout gets one document here too.
    std::ostringstream help, usage;
    TRepositoryCommands reporter(nullptr, true, std::cout, std::cerr);
    if (app.exit(e, help, usage) != 0) {
      return reporter.Fail(kExitUsage, std::string(e.what()) + " (--help for the commands)");
    }
    reporter.PrintText(help.str());
    return kExitOk;
  }

  if (passwd->parsed()) return Passwd(usersFile, userName);

  TStderrLogger logger(options.verbosity);
  TRootObject::SetCoreLogger(&logger);
  int status = kExitOk;
  boost::shared_ptr<ICIMNamespace> ns;
  // What the MOF declares of methods that the repository does not keep,
  // for the commands (and the server) that write classes.
  auto notes = std::make_shared<TSchemaNotes>();
  try {
    ns = NewNamespace(options);
    TMofLoadOptions loadOptions;
    loadOptions.includePaths = options.includePaths;
    loadOptions.notes = notes.get();
    loadOptions.keepGoing = options.keepGoing || check->parsed();
    TMofLoader loader(ns, loadOptions);
    std::vector<std::string> files;
    files.insert(files.end(), options.mofFiles.begin(), options.mofFiles.end());
    files.insert(files.end(), checkFiles.begin(), checkFiles.end());
    struct stat snapshot;
    if (serve->parsed() && !serveOptions.snapshot.empty() && stat(serveOptions.snapshot.c_str(), &snapshot) == 0) {
      // The snapshot holds what the MOF loaded then, and every change since;
      // serve loads it, into every namespace it names.
      if (!files.empty()) std::cerr << "inmem serve: loading the snapshot " << serveOptions.snapshot << " in place of -m\n";
      files.clear();
      serveOptions.loadSnapshot = true;
    }
    bool loaded = LoadFiles(options, files, loader, loadOptions.keepGoing);
    TRepositoryCommands commands(ns, options.format == "json", std::cout, std::cerr, notes.get());
    if (check->parsed()) {
      status = commands.Check(loader);
    } else if (!loaded) {
      status = commands.LoadFailed(loader);
    } else if (shell->parsed()) {
      status = Shell(options, ns, notes.get());
    } else if (serve->parsed()) {
      status = Serve(serveOptions, ns, notes, files, [&] { return NewNamespace(options); }, InventorySchemaPath(),
                     options.plugin);
    } else if (listen->parsed()) {
      status = Listen(listenOptions, ns, options.format == "json", std::cout);
    } else if (graph->parsed()) {
      status = Graph(*ns, ns, graphClass->parsed(), graphOf, hops, graphFormat, std::cout);
    } else {
      status = command.Run(options, ns, notes.get(), commands);
    }
  } catch (const TTYLException& e) {
    // Failures of the plug-in or the repository that no command reports.
    TRepositoryCommands reporter(ns, options.format == "json", std::cout, std::cerr);
    status = reporter.Fail(e.GetStatusCode() == kStatusLoadFailed ? kExitUsage : kExitNotFound,
                           Refused(e));
  }
  TRootObject::SetCoreLogger(nullptr);
  return status;
}
