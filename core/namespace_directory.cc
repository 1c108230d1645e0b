// TNamespaceDirectory: a map behind a mutex, and a count read without it.

#include "core/namespace_directory.h"

#include <atomic>
#include <map>
#include <mutex>

#include <boost/weak_ptr.hpp>

#include "core/ascii.h"

namespace {

struct TDirectory {
  std::mutex mutex;
  std::map<std::string, boost::weak_ptr<ICIMNamespace>> byKey;
  // How many names are registered: lets the lookup of a host that serves
  // one namespace skip the lock.
  std::atomic<size_t> size{0};
};

TDirectory& Directory() {
  static TDirectory* directory = new TDirectory;  // never destroyed: paths may resolve during exit
  return *directory;
}

}  // namespace

std::string TNamespaceDirectory::Key(std::string_view name) {
  while (!name.empty() && name.front() == '/') name.remove_prefix(1);
  while (!name.empty() && name.back() == '/') name.remove_suffix(1);
  std::string key(name);
  for (char& c : key) c = ToLowerAscii(c);
  return key;
}

void TNamespaceDirectory::Register(std::string_view name, const boost::shared_ptr<ICIMNamespace>& ns) {
  TDirectory& d = Directory();
  std::lock_guard<std::mutex> lock(d.mutex);
  d.byKey[Key(name)] = ns;
  d.size = d.byKey.size();
}

void TNamespaceDirectory::Unregister(std::string_view name, const ICIMNamespace* ns) {
  TDirectory& d = Directory();
  std::lock_guard<std::mutex> lock(d.mutex);
  auto it = d.byKey.find(Key(name));
  if (it == d.byKey.end()) return;
  boost::shared_ptr<ICIMNamespace> registered = it->second.lock();
  if (registered && registered.get() != ns) return;
  d.byKey.erase(it);
  d.size = d.byKey.size();
}

boost::shared_ptr<ICIMNamespace> TNamespaceDirectory::Find(std::string_view name) {
  TDirectory& d = Directory();
  if (d.size.load(std::memory_order_acquire) == 0) return boost::shared_ptr<ICIMNamespace>();
  const std::string key = Key(name);
  std::lock_guard<std::mutex> lock(d.mutex);
  auto it = d.byKey.find(key);
  return it == d.byKey.end() ? boost::shared_ptr<ICIMNamespace>() : it->second.lock();
}
