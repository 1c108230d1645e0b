// TNamespaceLinks: the addresses of the browser's pages of one namespace,
// made here and read here (Read), so that every link a page or picture
// makes leads to a page of the namespace that holds what it names.
//
// The default namespace (the one `serve --namespace` names) keeps the short
// addresses it always had, so that old links and bookmarks still work:
//   /  /classes  /class/NAME  /class/NAME/instances  /instance?path=PATH
//   /graph/class/NAME.svg  /graph/instance.svg?path=PATH
// Every namespace, the default one too, also has them below its own
// prefix, /ns/NAME, NAME percent-encoded with its '/' as %2F so that it is
// one path segment: /ns/interop/classes, /ns/root%2Fstorage/class/NAME.
// Links to the default namespace's pages use the short addresses.
//
// Every link is an absolute path: a picture is an SVG document of its own,
// and a relative link in it would resolve against the picture's address.
//
// An instance's link leads to the namespace whose repository holds the
// instance, looked up in the registry: an association may reach into
// another namespace, and its far end is shown there.
//
// A value. It keeps a pointer to the registry, not to any of its entries
// (they change while the server runs), and must not outlive it. Not
// thread-safe beyond what the registry is: the server's thread uses it.

#ifndef INMEM_BROWSER_NAMESPACE_LINKS_H_
#define INMEM_BROWSER_NAMESPACE_LINKS_H_

#include <string>
#include <string_view>

class ICIMInstance;
class TNamespaceRegistry;

// A request's path read against the scheme above.
struct TPageAddress {
  // The namespace named by the /ns/ prefix, decoded; empty without one.
  std::string namespaceName;
  bool prefixed = false;
  // The page within the namespace, decoded ("/" for its overview).
  std::string page;
};

class TNamespaceLinks {
 public:
  // The links of `name`'s pages; `defaultName` is the namespace served at
  // the short addresses. `namespaces`, when given, places instances that
  // another namespace holds.
  TNamespaceLinks(const TNamespaceRegistry* namespaces, const std::string& defaultName, std::string name);

  // Reads the path of a request's target (before any '?', still
  // percent-encoded); false when an escape in it is malformed.
  static bool Read(std::string_view path, TPageAddress* address);

  const std::string& Name() const { return name_; }
  // The links of another namespace's pages.
  TNamespaceLinks Of(std::string name) const;

  std::string Overview() const;
  std::string Classes() const;
  std::string Class(std::string_view className) const;
  std::string Instances(std::string_view className) const;
  std::string ClassPicture(std::string_view className) const;
  // The instance's page and picture, in the namespace that holds it.
  std::string Instance(ICIMInstance& instance) const;
  std::string InstancePicture(ICIMInstance& instance) const;
  // The name of the namespace that holds the instance.
  std::string NamespaceOf(ICIMInstance& instance) const;

 private:
  // The links of the namespace that holds `instance`, and its path there.
  TNamespaceLinks Home(ICIMInstance& instance, std::string* pathText) const;

  const TNamespaceRegistry* namespaces_;
  std::string defaultName_;
  std::string name_;
  std::string prefix_;  // "" for the default namespace, else /ns/NAME
};

#endif  // INMEM_BROWSER_NAMESPACE_LINKS_H_
