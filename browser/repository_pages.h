// TRepositoryPages: the namespaces `inmem serve` serves, shown to people in
// a browser beside the CIM endpoint. Plain HTML made on the server, one
// stylesheet, one small script (the class tree's search), and SVG pictures;
// nothing is fetched from anywhere else.
//
// The pages of each namespace (browser/namespace_links.h has the
// addresses: the default namespace's at the short ones, every namespace's
// below /ns/NAME):
//   /                          overview: every namespace served, with its
//                              counts; the namespace's counts, what was
//                              loaded and when, this machine's inventory
//                              when the namespace holds it
//   /classes                   the class tree, collapsible, with a search
//   /class/NAME                a class: qualifiers, properties, methods,
//                              subclasses, associations, instances, MOF
//   /class/NAME/instances      its instances, a page of them at a time
//                              (?page=N), those an FQL condition keeps
//                              (?filter=TEXT)
//   /instance?path=PATH        an instance: its properties with display
//                              text, and the instances associated with it
//   /graph/class/NAME.svg      where a class stands
//   /graph/instance.svg?path=PATH&hops=N   what an instance is connected to
//
// Namespaces come and go while the server runs, and a class write replaces
// a namespace's repository, so every request looks its namespace up in the
// registry afresh and nothing of a namespace is kept between requests. A
// namespace that is not served answers 404 with a page that says so.
//
// The pages only read. Every text from the repository or the request is
// escaped, and every answer carries a Content-Security-Policy that lets the
// page load only what this server sends. Something that is not there
// answers 404 with a page that says what was not found.
//
// Not thread-safe: it reads the registry, which the server's thread owns,
// and must not outlive it.

#ifndef INMEM_BROWSER_REPOSITORY_PAGES_H_
#define INMEM_BROWSER_REPOSITORY_PAGES_H_

#include <map>
#include <string>
#include <vector>

#include "browser/namespace_links.h"
#include "browser/page_frame.h"
#include "server/cim_http_exchange.h"
#include "server/namespace_registry.h"

class TRepositoryPages {
 public:
  // Instances shown on one page of a class's instances.
  static constexpr size_t kPageSize = 100;

  // The pages of the namespaces in `namespaces`; `defaultName`'s at the
  // short addresses. `interopName`, when given, is the Interop namespace,
  // marked as such.
  TRepositoryPages(const TNamespaceRegistry& namespaces, std::string defaultName,
                   std::string interopName = std::string())
      : namespaces_(namespaces), defaultName_(std::move(defaultName)), interopName_(std::move(interopName)) {}

  // Adds a line to "what was loaded" on the overview ("MOF x.mof",
  // "inventory collected"), with the time it is noted.
  void NoteLoaded(const std::string& what);

  // The answer to a GET or HEAD of any path but the CIM endpoint.
  THttpAnswer Answer(const THttpRequest& request);

 private:
  // The namespace a page is of, for the one request that asks for it.
  struct TAt {
    const TNamespaceRegistry::TEntry& entry;
    TNamespaceLinks links;
    TFrameNamespaces frame;
  };

  TNamespaceLinks LinksOf(const std::string& name) const { return TNamespaceLinks(&namespaces_, defaultName_, name); }
  // The frame of a page of `current` (nullptr: of no namespace).
  TFrameNamespaces FrameOf(const TNamespaceRegistry::TEntry* current) const;
  THttpAnswer Page(const std::string& namespaceName, const std::string& page,
                   const std::map<std::string, std::string>& query);
  THttpAnswer NotServed(const std::string& namespaceName) const;

  THttpAnswer Overview(const TAt* at);
  THttpAnswer ClassTree(const TAt& at);
  THttpAnswer ClassPage(const TAt& at, const std::string& name);
  THttpAnswer InstancesPage(const TAt& at, const std::string& name, const std::string& page,
                            const std::string& filter);
  THttpAnswer InstancePage(const TAt& at, const std::string& path);
  THttpAnswer ClassPicture(const TAt& at, const std::string& name);
  THttpAnswer InstancePicture(const TAt& at, const std::string& path, const std::string& hops);

  const TNamespaceRegistry& namespaces_;
  std::string defaultName_;
  std::string interopName_;
  std::vector<std::string> loaded_;
};

#endif  // INMEM_BROWSER_REPOSITORY_PAGES_H_
