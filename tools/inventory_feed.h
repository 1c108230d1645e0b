// TInventoryFeed: this machine's inventory in a repository that others read
// too (the served one), collected again on demand.
//
// Each collection runs in a scratch namespace of its own, so that a
// collection that fails leaves the served repository as it was. Then the
// instances the previous collection entered leave the served repository,
// with any other under a path the new collection enters (the inventory
// owns those paths), and the new ones enter it, through the MOF loader as
// MOF text, so they pass the same rules as any other MOF. Nothing else
// changes: other instances a client made, even of the inventory's classes,
// stay.

#ifndef INMEM_TOOLS_INVENTORY_FEED_H_
#define INMEM_TOOLS_INVENTORY_FEED_H_

#include <functional>
#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "include/cim_namespace.h"
#include "mof/schema_notes.h"
#include "server/indication_hooks.h"
#include "tools/linux_collector.h"

// Hands the processors' cache states to the plug-in at `plugin` (its
// exported globals), and has `ns` apply them to its processors.
void HandCacheStates(const std::string& plugin, const TCacheStates& states, ICIMNamespace& ns);

class TInventoryFeed {
 public:
  // `notes` are the schema notes of `served` (none when nullptr);
  // `newNamespace` makes an empty namespace of the same plug-in; `schema`
  // is the inventory schema's MOF; `root` where /proc and /sys are read.
  TInventoryFeed(boost::shared_ptr<ICIMNamespace> served, TSchemaNotes* notes,
                 std::function<boost::shared_ptr<ICIMNamespace>()> newNamespace, std::string schema,
                 std::string root, std::string plugin);

  // Feeds `served` (with its schema notes `notes`) from now on: the
  // namespace was built again (a class changed), and the previous
  // collection's instances are there under the same paths.
  void Retarget(boost::shared_ptr<ICIMNamespace> served, TSchemaNotes* notes) {
    served_ = std::move(served);
    schemaNotes_ = notes;
  }

  // Collects again and replaces the previous collection's instances. False,
  // with the reason in *error, when nothing was replaced. `changes`, when
  // given, is told what differs from the previous collection, as changes
  // in `namespaceName`: an instance found for the first time is created,
  // one no longer found deleted, one whose values changed modified (the
  // time of collection alone is no change).
  bool Refresh(std::string* error, IInstanceChanges* changes = nullptr,
               const std::string& namespaceName = std::string());
  // What the last collection left out or could not enter, a line each.
  const std::vector<std::string>& Notes() const { return notes_; }
  size_t Instances() const { return entered_.size(); }
  // The instances the inventory's profile centres on: the computer system
  // the last collection entered.
  std::vector<TCIMReference> CentralInstances() const;

 private:
  boost::shared_ptr<ICIMNamespace> served_;
  TSchemaNotes* schemaNotes_;
  std::function<boost::shared_ptr<ICIMNamespace>()> newNamespace_;
  std::string schema_;
  std::string root_;
  std::string plugin_;
  std::vector<TCIMReference> entered_;  // by the last collection
  std::vector<std::string> notes_;
};

#endif  // INMEM_TOOLS_INVENTORY_FEED_H_
