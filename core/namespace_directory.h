// TNamespaceDirectory: the namespaces a host serves, by name, so that an
// object path naming its namespace ("root/interop:cim_registeredprofile...")
// resolves there, whichever repository holds the path.
//
// A path without a namespace name resolves through the namespace it was made
// in, as always; so does one whose name is not registered here. A host of
// one namespace registers nothing and sees no change. Names compare without
// letter case and without leading or trailing '/', as CIM namespace names do.
//
// The directory holds its namespaces weakly: it never keeps one alive, and
// a namespace that is gone resolves nothing. Safe to use from several
// threads: a mutex guards the table, and a lookup while nothing is
// registered takes no lock.

#ifndef INMEM_CORE_NAMESPACE_DIRECTORY_H_
#define INMEM_CORE_NAMESPACE_DIRECTORY_H_

#include <string>
#include <string_view>

#include <boost/shared_ptr.hpp>

class ICIMNamespace;

class TNamespaceDirectory {
 public:
  // Registers `ns` under `name`, in place of any namespace registered so.
  static void Register(std::string_view name, const boost::shared_ptr<ICIMNamespace>& ns);
  // Unregisters `name` if `ns` is what it names (a namespace registered
  // since under the same name stays).
  static void Unregister(std::string_view name, const ICIMNamespace* ns);
  // The namespace registered under `name`; empty when there is none (or it
  // is gone).
  static boost::shared_ptr<ICIMNamespace> Find(std::string_view name);

  // The form names are compared in: lower case, no '/' at either end.
  static std::string Key(std::string_view name);
};

#endif  // INMEM_CORE_NAMESPACE_DIRECTORY_H_
