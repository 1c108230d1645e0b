// Pieces that several pages of the browser show: links to classes and
// instances, a namespace's counts, an instance's properties, the class
// tree, this machine's inventory; and the lookups behind a page's address.
// Links are made by the TNamespaceLinks of the page's namespace.

#ifndef INMEM_BROWSER_PAGE_PARTS_H_
#define INMEM_BROWSER_PAGE_PARTS_H_

#include <string>

#include <boost/shared_ptr.hpp>

#include "browser/namespace_links.h"
#include "core/class_lookup.h"
#include "include/cim_namespace.h"

class ICIMClass;
class ICIMInstance;

// The instance at `path` (path text); empty, with a sentence for people in
// *why, when the text is no path or names no instance.
boost::shared_ptr<ICIMInstance> FindInstanceOrNull(const boost::shared_ptr<ICIMNamespace>& ns,
                                                   const std::string& path, std::string* why);

std::string ClassLink(const TNamespaceLinks& links, const std::string& name);
// A link to the instance, showing `text` (its path when empty).
std::string InstanceLink(const TNamespaceLinks& links, ICIMInstance& instance,
                         const std::string& text = std::string());

// What a namespace holds, for the overview.
struct TNamespaceCounts {
  size_t classes = 0;
  size_t associations = 0;
  size_t qualifiers = 0;  // declarations
  size_t instances = 0;
};
TNamespaceCounts CountsOf(ICIMNamespace& ns);

// A table of the instance's properties: name, display text, and the
// previous value's display text where there is one.
std::string PropertyTable(ICIMInstance& instance);

// Every class below the root as nested lists, each branch collapsible
// (<details>), for the class tree page and its search script.
std::string ClassTreeList(const TNamespaceLinks& links, ICIMNamespace& ns);

// This machine's inventory, when the repository holds one: each computer
// system and the parts linked to it, with display text. Empty otherwise.
std::string MachineSection(const TNamespaceLinks& links, ICIMNamespace& ns);

#endif  // INMEM_BROWSER_PAGE_PARTS_H_
