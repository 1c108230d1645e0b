// TLinuxCollector: fills the inventory schema from what Linux reports in
// /proc and /sys under a root folder ("/" for this machine; tests give a
// fixture tree): the computer system, its processors (with their caches),
// memory, block devices, network interfaces and operating system, each
// linked to the system by a PELXA_SystemComponent association.
//
// What the machine does not report is left unset. What it reports but
// cannot be read (a number that is no number or does not fit the property)
// is set to null, so that it shows as unknown rather than as a guess. Text
// is trimmed and made valid UTF-8. One bad detail never loses the whole
// inventory: a value the schema cannot hold (a property it lacks, a type it
// refuses) is left out, and a component whose key cannot be read is left
// out; each leaves a note. Key values are never made up: a system whose host
// name cannot be read cannot be named, and the collection fails.
//
// The processors' cache states (1 when the machine reports a cache of that
// level, otherwise unknown, -1) are returned for the host to hand to the
// repository.

#ifndef INMEM_TOOLS_LINUX_COLLECTOR_H_
#define INMEM_TOOLS_LINUX_COLLECTOR_H_

#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "include/cim_instance.h"
#include "include/cim_namespace.h"

struct TCacheStates {
  int level1 = -1;
  int level2 = -1;
  int level3 = -1;
};

// The collection failed as a whole; what() says why, in one line.
class TCollectError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class TLinuxCollector {
 public:
  // Property values of one instance, its key first.
  typedef std::vector<std::pair<std::string, TCIMValue>> TValues;

  explicit TLinuxCollector(std::string root) : root_(std::move(root)) {}

  // Fills `ns` (which holds the inventory schema) and returns the system.
  // Throws TCollectError when the system cannot be named or entered.
  boost::shared_ptr<ICIMInstance> Collect(ICIMNamespace& ns);
  const TCacheStates& CacheStates() const { return caches_; }
  // What was left out, and why: one line each.
  const std::vector<std::string>& Notes() const { return notes_; }

 private:
  // The trimmed text of the file at `path` below the root; none when the
  // file is not there. A file that is there but cannot be read gives "", and
  // so does anything there that is not a regular file (a pipe, a device).
  std::optional<std::string> Read(const std::string& path) const;
  // A new instance of `className` with `values`, entered in the namespace.
  // Values the class cannot hold are left out with a note. When the
  // namespace refuses the instance, returns empty and says why in *why.
  boost::shared_ptr<ICIMInstance> Add(ICIMNamespace& ns, const std::string& className,
                                      const TValues& values, std::string* why);
  // Adds a part of the system; one that is refused is left out with a note.
  void AddComponent(ICIMNamespace& ns, const std::string& className, const TValues& values);
  void Note(const std::string& text) { notes_.push_back(text); }
  void CollectProcessors(ICIMNamespace& ns);
  void CollectCaches(const std::string& cpu, TValues* values);
  void CollectMemory(ICIMNamespace& ns);
  void CollectDisks(ICIMNamespace& ns);
  void CollectNetwork(ICIMNamespace& ns);
  void CollectOperatingSystem(ICIMNamespace& ns);

  std::string root_;
  TCacheStates caches_;
  std::vector<boost::shared_ptr<ICIMInstance>> components_;
  std::vector<std::string> notes_;
};

#endif  // INMEM_TOOLS_LINUX_COLLECTOR_H_
