// TLinuxCollector: fills the inventory schema from what Linux reports in
// /proc and /sys under a root folder ("/" for this machine; tests give a
// fixture tree): the computer system, its processors (with their caches),
// memory, block devices, network interfaces and operating system, each
// linked to the system by a PELXA_SystemComponent association.
//
// What the machine does not report is left unset. The processors' cache
// states (1 when the machine reports a cache of that level, otherwise
// unknown, -1) are returned for the host to hand to the repository.

#ifndef INMEM_TOOLS_LINUX_COLLECTOR_H_
#define INMEM_TOOLS_LINUX_COLLECTOR_H_

#include <string>

#include <boost/shared_ptr.hpp>

#include "include/cim_instance.h"
#include "include/cim_namespace.h"

struct TCacheStates {
  int level1 = -1;
  int level2 = -1;
  int level3 = -1;
};

class TLinuxCollector {
 public:
  explicit TLinuxCollector(std::string root) : root_(std::move(root)) {}

  // Fills `ns` (which holds the inventory schema) and returns the system.
  boost::shared_ptr<ICIMInstance> Collect(ICIMNamespace& ns);
  const TCacheStates& CacheStates() const { return caches_; }

 private:
  std::string Read(const std::string& path) const;
  boost::shared_ptr<ICIMInstance> Add(ICIMNamespace& ns, const std::string& className,
                                      const std::vector<std::pair<std::string, TCIMValue>>& values);
  void CollectProcessors(ICIMNamespace& ns);
  void CollectMemory(ICIMNamespace& ns);
  void CollectDisks(ICIMNamespace& ns);
  void CollectNetwork(ICIMNamespace& ns);
  void CollectOperatingSystem(ICIMNamespace& ns);

  std::string root_;
  TCacheStates caches_;
  std::vector<boost::shared_ptr<ICIMInstance>> components_;
};

#endif  // INMEM_TOOLS_LINUX_COLLECTOR_H_
