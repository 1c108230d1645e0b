// WriteSnapshot: sections of MOF into a temporary file, fsync, rename.
// LoadSnapshot: the MOF loader with namespace pragmas routed to the registry.

#include "server/snapshot.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <fstream>
#include <stdexcept>

#include "include/cim_namespace.h"
#include "mof/mof_loader.h"
#include "mof/mof_writer.h"
#include "server/namespace_registry.h"

bool WriteSnapshot(const std::vector<TSnapshotSection>& sections, const std::string& path, std::string* error,
                   size_t maxBytes) {
  const std::string temporary = path + ".tmp";
  // Written as it is made: a snapshot of millions of instances is too big to
  // hold a second time in memory.
  std::ofstream mof(temporary, std::ios::binary | std::ios::trunc);
  if (!mof) {
    *error = "cannot write " + temporary + ": " + std::strerror(errno);
    return false;
  }
  mof << "// inmem snapshot: every namespace served, as MOF\n";
  for (const TSnapshotSection& section : sections) {
    mof << "\n#pragma namespace (\"" << section.name << "\")\n\n";
    TMofWriter(mof, section.notes).WriteNamespace(*section.ns, section.keep);
  }
  mof.flush();
  const bool written = static_cast<bool>(mof);
  const int saved = errno;
  const auto bytes = static_cast<size_t>(mof.tellp());
  mof.close();
  auto fail = [&](const std::string& why) {
    *error = why;
    std::remove(temporary.c_str());
    return false;
  };
  if (!written) return fail("cannot write " + temporary + ": " + std::strerror(saved));
  if (bytes > maxBytes) {
    return fail("the snapshot would take " + std::to_string(bytes) + " bytes, more than the " +
                std::to_string(maxBytes) + " a snapshot may hold; " + path + " is left as it was");
  }
  const int fd = open(temporary.c_str(), O_RDONLY | O_CLOEXEC);
  const bool synced = fd >= 0 && fsync(fd) == 0;
  const int syncError = errno;
  if (fd >= 0) close(fd);
  if (!synced) return fail("cannot write " + path + ": " + std::strerror(syncError));
  if (std::rename(temporary.c_str(), path.c_str()) != 0) {
    return fail("cannot write " + path + ": " + std::strerror(errno));
  }
  return true;
}

bool LoadSnapshot(TNamespaceRegistry& namespaces, const std::string& home, const std::string& path,
                  std::unique_ptr<TMofLoader>* loader, size_t maxBytes) {
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
  options.readFile = [maxBytes](const std::string& file, TMofFile* read, std::string* error) {
    return ReadMofFile(file, read, error, maxBytes);
  };
  if (homeEntry == nullptr) homeEntry = &namespaces.Create(home);
  options.notes = homeEntry->notes.get();
  *loader = std::make_unique<TMofLoader>(homeEntry->ns, std::move(options));
  return (*loader)->LoadFile(path);
}
