// WriteSnapshot: the whole repository as MOF in a file that the server loads
// again at its next start.
//
// The file is written whole or not at all: the MOF goes to a temporary file
// beside it, is flushed to the disk, and then takes the file's name in one
// rename, so a crash while writing leaves the previous snapshot as it was.

#ifndef INMEM_SERVER_SNAPSHOT_H_
#define INMEM_SERVER_SNAPSHOT_H_

#include <string>

class ICIMNamespace;

// False, with the reason in *error, when the snapshot cannot be written.
bool WriteSnapshot(ICIMNamespace& ns, const std::string& path, std::string* error);

#endif  // INMEM_SERVER_SNAPSHOT_H_
