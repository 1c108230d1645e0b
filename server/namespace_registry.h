// TNamespaceRegistry: the namespaces `inmem serve` serves, by name. Each is a
// repository of its own, made by the plug-in's provider (the factory given
// at construction) or handed in whole by the host.
//
// Names keep the spelling they were created with ("root/cimv2"); lookups
// fold letter case and ignore a leading or trailing '/', as CIM namespace
// names compare. A name is one or more identifiers joined by '/'. Every
// namespace is also registered with the core's TNamespaceDirectory while it
// is here, so that an object path naming it resolves in it from any other
// namespace.
//
// Each namespace has its schema notes beside its repository
// (mof/schema_notes.h: what its MOF declared that the repository does not
// keep), made empty with the namespace unless the host hands them in with
// a repository it filled; whatever loads MOF into a namespace or writes its
// classes uses that entry's notes.
//
// Observers (OnChange) hear of every namespace added, removed or replaced,
// after the change: the Interop namespace keeps its CIM_Namespace instances
// true that way.
//
// Not thread-safe by itself: the server reaches it under the operations'
// lock (TRepositoryLock), shared to read and alone to change.

#ifndef INMEM_SERVER_NAMESPACE_REGISTRY_H_
#define INMEM_SERVER_NAMESPACE_REGISTRY_H_

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "include/cim_namespace.h"
#include "mof/schema_notes.h"

class TNamespaceRegistry {
 public:
  typedef std::function<boost::shared_ptr<ICIMNamespace>()> TFactory;

  struct TEntry {
    std::string name;
    boost::shared_ptr<ICIMNamespace> ns;
    std::shared_ptr<TSchemaNotes> notes;  // never null
  };

  explicit TNamespaceRegistry(TFactory newNamespace);
  ~TNamespaceRegistry();
  TNamespaceRegistry(const TNamespaceRegistry&) = delete;
  TNamespaceRegistry& operator=(const TNamespaceRegistry&) = delete;

  // Whether `name` can name a namespace: identifiers joined by '/'.
  static bool IsValidName(std::string_view name);

  // The namespace called `name`, or nullptr.
  const TEntry* Find(std::string_view name) const;
  // The entry holding the repository `ns`, or nullptr.
  const TEntry* FindByRepository(const ICIMNamespace* ns) const;
  // Every namespace, in the order of their names.
  std::vector<const TEntry*> Entries() const;

  // A new, empty repository from the factory, not yet served.
  boost::shared_ptr<ICIMNamespace> NewRepository() const { return factory_(); }
  // Serves `ns` as `name`, with `notes` (the notes of the MOF loaded into
  // it; new, empty ones when null). Throws std::invalid_argument when the
  // name is not valid or is taken.
  const TEntry& Add(const std::string& name, boost::shared_ptr<ICIMNamespace> ns,
                    std::shared_ptr<TSchemaNotes> notes = nullptr);
  // A new, empty namespace called `name`; throws as Add does.
  const TEntry& Create(const std::string& name) { return Add(name, NewRepository()); }
  // Stops serving `name`; false when there is no such namespace.
  bool Remove(std::string_view name);
  // Serves `ns` in place of the repository of the namespace `name`, which
  // must exist, with `notes` in place of its notes (new, empty ones when
  // null: the old ones describe the old repository).
  void Replace(std::string_view name, boost::shared_ptr<ICIMNamespace> ns,
               std::shared_ptr<TSchemaNotes> notes = nullptr);

  void OnChange(std::function<void()> observer) { observers_.push_back(std::move(observer)); }

 private:
  void Changed();

  TFactory factory_;
  // By TNamespaceDirectory::Key of the name.
  std::map<std::string, TEntry> byKey_;
  std::vector<std::function<void()>> observers_;
};

#endif  // INMEM_SERVER_NAMESPACE_REGISTRY_H_
