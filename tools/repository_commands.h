// The commands of the inmem tool over one loaded namespace. Each writes its
// result to `out` in the chosen format and returns the tool's exit status:
// 0 success, 1 not found or refused. Problems go to `err` in one line.

#ifndef INMEM_TOOLS_REPOSITORY_COMMANDS_H_
#define INMEM_TOOLS_REPOSITORY_COMMANDS_H_

#include <functional>
#include <ostream>
#include <string>

#include <boost/shared_ptr.hpp>

#include "include/callbacks.h"
#include "include/cim_namespace.h"

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
  TRepositoryCommands(boost::shared_ptr<ICIMNamespace> ns, bool json, std::ostream& out,
                      std::ostream& err)
      : ns_(std::move(ns)), json_(json), out_(out), err_(err) {}

  int Classes(bool tree);
  int Class(const std::string& name);
  int Qualifiers();
  int Instances(const std::string& className, bool deep, bool namesOnly);
  int Get(const std::string& path);
  int Associators(const std::string& path, const TWalkFilters& filters);
  int References(const std::string& path, const TWalkFilters& filters);
  int Export();
  // The system at `systemPath` and each of its components (associators
  // through PELXA_SystemComponent), every property with its display text.
  int Inventory(const std::string& systemPath);

 private:
  boost::shared_ptr<ICIMClass> FindClass(const std::string& name);
  // Prints the paths of what `walk` reaches from the instance at `path`.
  int Walk(const std::string& path, const char* what,
           const std::function<void(ICIMInstance&, const TInstanceCallback&)>& walk);
  boost::shared_ptr<ICIMInstance> FindInstance(const std::string& path);
  // `onlySet`: leave out properties that hold no value of their own.
  void PrintInstance(ICIMInstance& instance, bool first, bool onlySet = false);
  int PrintInstances(const std::vector<boost::shared_ptr<ICIMInstance>>& instances, bool namesOnly,
                     bool onlySet = false);

  boost::shared_ptr<ICIMNamespace> ns_;
  bool json_;
  std::ostream& out_;
  std::ostream& err_;
};

#endif  // INMEM_TOOLS_REPOSITORY_COMMANDS_H_
