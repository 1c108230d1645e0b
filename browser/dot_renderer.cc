// RenderSvg: posix_spawn of dot, its pipes served with poll until it ends
// or its time is up.

#include "browser/dot_renderer.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>

extern char** environ;

namespace {

const size_t kMaxSvgBytes = 16u << 20;

// While it lives, SIGPIPE is held back from this thread, so that writing to
// a dot that died answers EPIPE instead of ending the process; one raised
// meanwhile is taken off before the mask goes back.
class TNoSigPipe {
 public:
  TNoSigPipe() {
    sigemptyset(&pipe_);
    sigaddset(&pipe_, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipe_, &previous_);
  }
  ~TNoSigPipe() {
    sigset_t pending;
    sigpending(&pending);
    if (sigismember(&pending, SIGPIPE)) {
      const timespec now{0, 0};
      sigtimedwait(&pipe_, nullptr, &now);
    }
    pthread_sigmask(SIG_SETMASK, &previous_, nullptr);
  }

 private:
  sigset_t pipe_;
  sigset_t previous_;
};

void CloseFd(int* fd) {
  if (*fd >= 0) close(*fd);
  *fd = -1;
}

}  // namespace

bool RenderSvg(const std::string& dot, std::string* svg, std::string* error, int seconds) {
  svg->clear();
  int input[2], output[2];
  if (pipe2(input, O_CLOEXEC) != 0) {
    *error = std::string("cannot make a pipe: ") + std::strerror(errno);
    return false;
  }
  if (pipe2(output, O_CLOEXEC) != 0) {
    *error = std::string("cannot make a pipe: ") + std::strerror(errno);
    close(input[0]);
    close(input[1]);
    return false;
  }
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  char program[] = "dot", format[] = "-Tsvg";
  char* argv[] = {program, format, nullptr};
  pid_t pid = 0;
  const int spawned = posix_spawnp(&pid, program, &actions, nullptr, argv, environ);
  posix_spawn_file_actions_destroy(&actions);
  close(input[0]);
  close(output[1]);
  int toDot = input[1], fromDot = output[0];
  if (spawned != 0) {
    *error = std::string("cannot run dot (Debian's graphviz package has it): ") + std::strerror(spawned);
    CloseFd(&toDot);
    CloseFd(&fromDot);
    return false;
  }
  fcntl(toDot, F_SETFL, O_NONBLOCK);
  fcntl(fromDot, F_SETFL, O_NONBLOCK);
  TNoSigPipe noSigPipe;
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
  size_t written = 0;
  if (dot.empty()) CloseFd(&toDot);
  while (error->empty()) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0) {
      *error = "dot took longer than " + std::to_string(seconds) + " s";
      break;
    }
    pollfd fds[2] = {{fromDot, POLLIN, 0}, {toDot, POLLOUT, 0}};
    if (poll(fds, toDot >= 0 ? 2 : 1, static_cast<int>(left.count())) < 0 && errno != EINTR) {
      *error = std::string("poll: ") + std::strerror(errno);
      break;
    }
    if (toDot >= 0 && (fds[1].revents & (POLLOUT | POLLERR | POLLHUP))) {
      const ssize_t n = write(toDot, dot.data() + written, dot.size() - written);
      if (n > 0) written += static_cast<size_t>(n);
      if ((n < 0 && errno != EAGAIN && errno != EINTR) || written == dot.size()) CloseFd(&toDot);
    }
    if (fds[0].revents & (POLLIN | POLLERR | POLLHUP)) {
      char buffer[65536];
      const ssize_t n = read(fromDot, buffer, sizeof buffer);
      if (n == 0) break;  // dot is done
      if (n > 0) svg->append(buffer, static_cast<size_t>(n));
      if (n < 0 && errno != EAGAIN && errno != EINTR) *error = std::string("read: ") + std::strerror(errno);
      if (svg->size() > kMaxSvgBytes) *error = "dot wrote more than " + std::to_string(kMaxSvgBytes) + " bytes";
    }
  }
  if (!error->empty()) kill(pid, SIGKILL);
  CloseFd(&toDot);
  CloseFd(&fromDot);
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  if (error->empty() && (!WIFEXITED(status) || WEXITSTATUS(status) != 0)) *error = "dot could not lay the picture out";
  if (!error->empty()) svg->clear();
  return error->empty();
}
