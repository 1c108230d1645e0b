// Pieces that several pages of the browser show: links to classes and
// instances, an instance's properties, the class tree, this machine's
// inventory; and the lookups behind a page's address.

#ifndef INMEM_BROWSER_PAGE_PARTS_H_
#define INMEM_BROWSER_PAGE_PARTS_H_

#include <string>

#include <boost/shared_ptr.hpp>

#include "core/cim_reference.h"
#include "include/cim_namespace.h"

class ICIMClass;
class ICIMInstance;

// The class named `name`, or empty.
boost::shared_ptr<ICIMClass> FindClassOrNull(ICIMNamespace& ns, const std::string& name);
// The instance at `path` (path text); empty, with a sentence for people in
// *why, when the text is no path or names no instance.
boost::shared_ptr<ICIMInstance> FindInstanceOrNull(const boost::shared_ptr<ICIMNamespace>& ns,
                                                   const std::string& path, std::string* why);

std::string ClassLink(const std::string& name);
// A link to the instance at `path`, showing `text` (the path when empty).
std::string InstanceLink(const TCIMReference& path, const std::string& text = std::string());

// A table of the instance's properties: name, display text, and the
// previous value's display text where there is one.
std::string PropertyTable(ICIMInstance& instance);

// Every class below the root as nested lists, each branch collapsible
// (<details>), for the class tree page and its search script.
std::string ClassTreeList(ICIMNamespace& ns);

// This machine's inventory, when the repository holds one: each computer
// system and the parts linked to it, with display text. Empty otherwise.
std::string MachineSection(ICIMNamespace& ns);

#endif  // INMEM_BROWSER_PAGE_PARTS_H_
