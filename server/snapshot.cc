// WriteSnapshot: a temporary file, fsync, rename.

#include "server/snapshot.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sstream>

#include "include/cim_namespace.h"
#include "mof/mof_writer.h"

bool WriteSnapshot(ICIMNamespace& ns, const std::string& path, std::string* error) {
  std::ostringstream mof;
  mof << "// inmem snapshot: the repository as MOF\n\n";
  TMofWriter(mof).WriteNamespace(ns);
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
