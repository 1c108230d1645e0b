// The tool's own location (/proc/self/exe), and the files relative to it.

#include "tools/install_paths.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

namespace {

// The folder above the one the running program is in ("/usr" for
// /usr/bin/inmem); empty when it cannot be told.
std::string Prefix() {
  char path[4096];
  const ssize_t n = readlink("/proc/self/exe", path, sizeof path - 1);
  if (n <= 0) return std::string();
  std::string program(path, static_cast<size_t>(n));
  const size_t bin = program.rfind('/');
  const size_t prefix = bin == std::string::npos || bin == 0 ? std::string::npos : program.rfind('/', bin - 1);
  return prefix == std::string::npos ? std::string() : program.substr(0, prefix);
}

bool IsFile(const std::string& path) {
  struct stat info;
  return stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

// The installed file under the prefix when it is there, else the build
// tree's.
std::string Installed(const std::string& relative, const char* inBuildTree) {
  const std::string prefix = Prefix();
  if (!prefix.empty() && IsFile(prefix + "/" + relative)) return prefix + "/" + relative;
  return inBuildTree;
}

}  // namespace

std::string DefaultPluginPath() {
  const char* chosen = std::getenv("INMEM_PLUGIN");
  if (chosen != nullptr && *chosen != '\0') return chosen;
  return Installed(INMEM_INSTALLED_PLUGIN, INMEM_PLUGIN_PATH);
}

std::string InventorySchemaPath() { return Installed(INMEM_INSTALLED_SCHEMA, INMEM_INVENTORY_SCHEMA); }
