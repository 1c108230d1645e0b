// WriteSnapshot: sections of MOF, a temporary file, fsync, rename.
// LoadSnapshot: the MOF loader with namespace pragmas routed to the registry.

#include "server/snapshot.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <sstream>
#include <stdexcept>

#include "include/cim_namespace.h"
#include "mof/mof_loader.h"
#include "mof/mof_writer.h"
#include "server/namespace_registry.h"

bool WriteSnapshot(const std::vector<TSnapshotSection>& sections, const std::string& path, std::string* error) {
  std::ostringstream mof;
  mof << "// inmem snapshot: every namespace served, as MOF\n";
  for (const TSnapshotSection& section : sections) {
    mof << "\n#pragma namespace (\"" << section.name << "\")\n\n";
    TMofWriter(mof, section.notes).WriteNamespace(*section.ns, section.keep);
  }
  const std::string text = mof.str();
  const std::string temporary = path + ".tmp";
  const int fd = open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  if (fd < 0) {
    *error = "cannot write " + temporary + ": " + std::strerror(errno);
    return false;
  }
  size_t written = 0;
  while (written < text.size()) {
    const ssize_t n = write(fd, text.data() + written, text.size() - written);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    written += static_cast<size_t>(n);
  }
  const bool ok = written == text.size() && fsync(fd) == 0;
  const int saved = errno;
  close(fd);
  if (!ok || std::rename(temporary.c_str(), path.c_str()) != 0) {
    *error = "cannot write " + path + ": " + std::strerror(ok ? errno : saved);
    std::remove(temporary.c_str());
    return false;
  }
  return true;
}

bool LoadSnapshot(TNamespaceRegistry& namespaces, const std::string& home, const std::string& path,
                  std::unique_ptr<TMofLoader>* loader) {
  const TNamespaceRegistry::TEntry* homeEntry = namespaces.Find(home);
  TMofLoadOptions options;
  options.namespaceFor = [&namespaces](const std::string& name, std::string* why) {
    if (const TNamespaceRegistry::TEntry* entry = namespaces.Find(name)) return entry->ns;
    try {
      return namespaces.Create(name).ns;
    } catch (const std::invalid_argument& e) {
      *why = e.what();
      return boost::shared_ptr<ICIMNamespace>();
    }
  };
  options.notesFor = [&namespaces](const std::string& name) {
    const TNamespaceRegistry::TEntry* entry = namespaces.Find(name);
    return entry != nullptr ? entry->notes.get() : nullptr;
  };
  if (homeEntry == nullptr) homeEntry = &namespaces.Create(home);
  options.notes = homeEntry->notes.get();
  *loader = std::make_unique<TMofLoader>(homeEntry->ns, std::move(options));
  return (*loader)->LoadFile(path);
}
