// TRepositoryPages: the repository shown to people in a browser, served by
// `inmem serve` beside the CIM endpoint. Plain HTML made on the server, one
// stylesheet, one small script (the class tree's search), and SVG pictures;
// nothing is fetched from anywhere else.
//
//   /                          overview: counts, what was loaded and when,
//                              this machine's inventory when it is served
//   /classes                   the class tree, collapsible, with a search
//   /class/NAME                a class: qualifiers, properties, methods,
//                              subclasses, associations, instances, MOF
//   /class/NAME/instances      its instances, a page of them at a time
//                              (?page=N)
//   /instance?path=PATH        an instance: its properties with display
//                              text, and the instances associated with it
//   /graph/class/NAME.svg      where a class stands
//   /graph/instance.svg?path=PATH&hops=N   what an instance is connected to
//
// The pages only read. Every text from the repository is escaped, and every
// answer carries a Content-Security-Policy that lets the page load only
// what this server sends. Something that is not there answers 404 with a
// page that says what was not found.

#ifndef INMEM_BROWSER_REPOSITORY_PAGES_H_
#define INMEM_BROWSER_REPOSITORY_PAGES_H_

#include <memory>
#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "include/cim_namespace.h"
#include "mof/schema_notes.h"
#include "server/cim_http_exchange.h"

class TRepositoryPages {
 public:
  // Instances shown on one page of a class's instances.
  static constexpr size_t kPageSize = 100;

  // `notes`, when given, are the schema notes of `ns`: a class's page shows
  // its methods as their MOF declared them.
  TRepositoryPages(boost::shared_ptr<ICIMNamespace> ns, std::string namespaceName,
                   std::shared_ptr<const TSchemaNotes> notes = nullptr)
      : ns_(std::move(ns)), namespaceName_(std::move(namespaceName)), notes_(std::move(notes)) {}

  // Adds a line to "what was loaded" on the overview ("MOF x.mof",
  // "inventory collected"), with the time it is noted.
  void NoteLoaded(const std::string& what);

  // The answer to a GET or HEAD of any path but the CIM endpoint.
  THttpAnswer Answer(const THttpRequest& request);

 private:
  THttpAnswer Overview();
  THttpAnswer ClassTree();
  THttpAnswer ClassPage(const std::string& name);
  THttpAnswer InstancesPage(const std::string& name, const std::string& page);
  THttpAnswer InstancePage(const std::string& path);
  THttpAnswer ClassPicture(const std::string& name);
  THttpAnswer InstancePicture(const std::string& path, const std::string& hops);

  boost::shared_ptr<ICIMNamespace> ns_;
  std::string namespaceName_;
  std::shared_ptr<const TSchemaNotes> notes_;
  std::vector<std::string> loaded_;
};

#endif  // INMEM_BROWSER_REPOSITORY_PAGES_H_
