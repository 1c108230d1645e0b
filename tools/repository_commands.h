// The commands of the inmem tool over one loaded namespace. Each writes its
// result to `out` in the chosen format and returns the tool's exit status:
// 0 success, 1 not found or refused, 2 usage or load errors.
//
// Problems go to `err` as one line of human text. In JSON, `out` gets
// exactly one document per command, also when the command fails: then it is
// {"error": the same line, "status": the exit status}.
//
// Display text: a property shows its display text (units, value maps); an
// array property shows one text per element, "{a, b}" (in JSON, an array of
// strings); a null value shows its NullDisplay text, or else "null" (in
// JSON, a null).

#ifndef INMEM_TOOLS_REPOSITORY_COMMANDS_H_
#define INMEM_TOOLS_REPOSITORY_COMMANDS_H_

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "include/callbacks.h"
#include "include/cim_namespace.h"

class TMofLoader;
class TSchemaNotes;

constexpr int kExitOk = 0;
constexpr int kExitNotFound = 1;
constexpr int kExitUsage = 2;

struct TWalkFilters {
  std::string assocClass;
  std::string resultClass;
  std::string role;
  std::string resultRole;
};

class TRepositoryCommands {
 public:
  // `notes`, when given, are the schema notes of what was loaded into `ns`
  // (class and export then write methods as their MOF declared them).
  TRepositoryCommands(boost::shared_ptr<ICIMNamespace> ns, bool json, std::ostream& out,
                      std::ostream& err, const TSchemaNotes* notes = nullptr)
      : ns_(std::move(ns)), json_(json), out_(out), err_(err), notes_(notes) {}

  int Classes(bool tree);
  int Class(const std::string& name);
  int Qualifiers();
  int Instances(const std::string& className, bool deep, bool namesOnly);
  int Get(const std::string& path);
  int Associators(const std::string& path, const TWalkFilters& filters);
  int References(const std::string& path, const TWalkFilters& filters);
  int Export();
  // The instances a query selects, each with the properties its SELECT list
  // names (all for *). `language` is wql, cql or fql; an fql query filters
  // the instances of `className`, which only it takes. A query that does
  // not read is a usage error, one that does not fit the schema a refusal.
  int Query(const std::string& text, const std::string& language, const std::string& className);
  // The system at `systemPath` and each of its components (associators
  // through PELXA_SystemComponent), every property with its display text.
  int Inventory(const std::string& systemPath);
  // The counts and diagnostics of what `loader` loaded; kExitUsage when it
  // reported an error. The text form leaves the diagnostics to the caller,
  // who shows them as they come.
  int Check(const TMofLoader& loader);
  // A command that cannot run because `loader` reported errors: in JSON,
  // the error document with the diagnostics. Returns kExitUsage.
  int LoadFailed(const TMofLoader& loader);
  // Reports a problem (`message`, one line, without the tool's name) and
  // returns `status`.
  int Fail(int status, const std::string& message);
  // Text that has no JSON form of its own (help): shown as it is, or in
  // JSON as {"text": ...}.
  void PrintText(const std::string& text);

 private:
  // The class named `name`; empty after a failure report naming `what`.
  boost::shared_ptr<ICIMClass> FindClass(const std::string& name, const std::string& what = "");
  // Prints the paths of what `walk` reaches from the instance at `path`.
  int Walk(const std::string& path, const char* what,
           const std::vector<std::pair<std::string, std::string>>& classFilters,
           const std::function<void(ICIMInstance&, const TInstanceCallback&)>& walk);
  boost::shared_ptr<ICIMInstance> FindInstance(const std::string& path, int* status);
  // `onlySet`: leave out properties that hold no value of their own;
  // `shown`, when given: leave out the properties it refuses by name.
  void PrintInstance(ICIMInstance& instance, bool first, bool onlySet = false,
                     const std::function<bool(const std::string&)>& shown = {});
  // The instances, or their paths; in JSON an array.
  void PrintInstances(const std::vector<boost::shared_ptr<ICIMInstance>>& instances,
                      bool namesOnly, bool onlySet = false,
                      const std::function<bool(const std::string&)>& shown = {});
  // Ends a command's JSON document (one line each); returns kExitOk.
  int EndDocument();
  void PrintClassJson(ICIMClass& cls);
  void PrintQualifierDeclJson(ICIMQualifierDecl& decl);
  void PrintDiagnosticsJson(const TMofLoader& loader);
  // Every class below the root, superclasses first, with its depth.
  std::vector<std::pair<int, boost::shared_ptr<ICIMClass>>> ClassTree();

  boost::shared_ptr<ICIMNamespace> ns_;
  bool json_;
  std::ostream& out_;
  std::ostream& err_;
  const TSchemaNotes* notes_;
};

#endif  // INMEM_TOOLS_REPOSITORY_COMMANDS_H_
