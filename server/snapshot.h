// WriteSnapshot: every namespace the server serves, as one MOF file that
// the server loads again at its next start (LoadSnapshot).
//
// Each namespace is a section that begins with `#pragma namespace("NAME")`,
// so other MOF compilers read the file as well. Sections come in the order
// given: a namespace whose associations point into another comes after it.
//
// The file is written whole or not at all: the MOF goes to a temporary file
// beside it, is flushed to the disk, and then takes the file's name in one
// rename, so a crash while writing leaves the previous snapshot as it was.
//
// A snapshot is the server's own file, so it may be far larger than the MOF
// a user loads (kMaxMofFileBytes): up to kMaxSnapshotBytes, which a loader's
// positions and line numbers hold. One that would be larger is not written,
// so that a snapshot on disk can always be loaded again.

#ifndef INMEM_SERVER_SNAPSHOT_H_
#define INMEM_SERVER_SNAPSHOT_H_

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

class ICIMInstance;
class ICIMNamespace;
class TMofLoader;
class TNamespaceRegistry;
class TSchemaNotes;

struct TSnapshotSection {
  std::string name;
  ICIMNamespace* ns = nullptr;
  // The instances written; all when empty.
  std::function<bool(ICIMInstance&)> keep;
  // The namespace's schema notes, so that methods come back as their MOF
  // declared them; none when nullptr.
  const TSchemaNotes* notes = nullptr;
};

// 2 GiB less a byte: a file of that size has fewer lines than an int counts.
constexpr size_t kMaxSnapshotBytes = (size_t{1} << 31) - 1;

// False, with the reason in *error, when the snapshot cannot be written
// (the file as it was stays); `maxBytes` for tests.
bool WriteSnapshot(const std::vector<TSnapshotSection>& sections, const std::string& path, std::string* error,
                   size_t maxBytes = kMaxSnapshotBytes);

// Loads the snapshot at `path` into `namespaces`: each section into the
// namespace it names, made empty when the registry has none of that name;
// what comes before the first section (a snapshot of a server of one
// namespace) into `home`. Each namespace's schema notes are filled too. True when it loaded without an error; the
// loader keeps the diagnostics.
bool LoadSnapshot(TNamespaceRegistry& namespaces, const std::string& home, const std::string& path,
                  std::unique_ptr<TMofLoader>* loader, size_t maxBytes = kMaxSnapshotBytes);

#endif  // INMEM_SERVER_SNAPSHOT_H_
