// TEnumerationContexts: the open enumerations of the pull operations.
//
// An open enumeration holds the instances it has still to deliver weakly,
// in order, with the time after which it is dropped. An instance that has
// left the repository since the enumeration was opened is skipped when its
// turn comes (the caller checks with `stillThere`), so a client pulling
// across a delete never reads a dropped instance.
//
// Contexts are named by random 128-bit identifiers, so a client cannot
// guess another client's context; their number is bounded.

#ifndef INMEM_SERVER_ENUMERATION_CONTEXTS_H_
#define INMEM_SERVER_ENUMERATION_CONTEXTS_H_

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>
#include <boost/weak_ptr.hpp>

class ICIMClass;
class ICIMInstance;

struct TEnumeration {
  // The namespace it was opened in (as TNamespaceDirectory::Key has it):
  // pulls must name the same.
  std::string namespaceKey;
  // What a pull delivers: instances with their paths, or paths only, or
  // (the answers of a query) instances alone.
  bool pathsOnly = false;
  bool withoutPaths = false;
  bool includeClassOrigin = false;
  std::optional<std::set<std::string>> propertyList;
  // Without deep inheritance, the class whose declared properties alone
  // are delivered; all of them when empty.
  boost::shared_ptr<ICIMClass> declaredBy;
  std::vector<boost::weak_ptr<ICIMInstance>> items;
  size_t next = 0;
  std::chrono::seconds timeout{0};
  std::chrono::steady_clock::time_point expires;
};

class TEnumerationContexts {
 public:
  typedef std::chrono::steady_clock TClock;

  explicit TEnumerationContexts(size_t maxOpen) : maxOpen_(maxOpen) {}

  // Keeps `enumeration` open until its timeout passes unused; returns its
  // identifier, or nothing when as many are open as allowed.
  std::optional<std::string> Open(TEnumeration enumeration, TClock::time_point now);
  // The open enumeration `id`, its expiry moved on; nullptr when there is
  // none (never opened, closed, ended or expired).
  TEnumeration* Find(const std::string& id, TClock::time_point now);
  void Close(const std::string& id) { open_.erase(id); }
  // Drops every enumeration whose time has passed.
  void DropExpired(TClock::time_point now);
  size_t Size() const { return open_.size(); }

 private:
  size_t maxOpen_;
  std::random_device random_;  // the system's own source, not a seeded sequence
  std::map<std::string, TEnumeration> open_;
};

#endif  // INMEM_SERVER_ENUMERATION_CONTEXTS_H_
