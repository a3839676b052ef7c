// Starting programs in child processes.
#include <nodetree/process.h>
#include <nodetree/stringlist.h>

#include "log/report.hpp"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <initializer_list>
#include <iterator>
#include <stdio_ext.h>
#include <unistd.h>

namespace {

struct Stream {
  const char *name;
  int null_mode;
  int child_end; // of the two that pipe2() makes
};

// Each stands at the place of its descriptor.
constexpr Stream streams[] = {
    {"stdin", O_RDONLY, 0}, {"stdout", O_WRONLY, 1}, {"stderr", O_WRONLY, 1}};
constexpr int stream_count = std::size(streams);
using Descriptors = int[stream_count];

// What a write without a reader does. Put back by hand: exec runs no destructors.
class BrokenPipes {
public:
  void ignore() {
    struct sigaction action = {};
    action.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &action, &inherited_);
  }
  void restore() const { sigaction(SIGPIPE, &inherited_, nullptr); }

private:
  struct sigaction inherited_ = {};
};

// Another descriptor of the same file, above those of the standard streams.
int duplicate_above_streams(int fd) {
  return fcntl(fd, F_DUPFD_CLOEXEC, stream_count);
}

// ---- In the child ----

// Does `action` to the streams that messages are written to. What other streams have in
// their buffers is the parent's to write.
void for_each_own_stream(int (*action)(FILE *)) {
  for (FILE *stream : {stdout, stderr, log_file})
    if (stream)
      static_cast<void>(action(stream));
}

void forget_parents_output() {
  for_each_own_stream([](FILE *stream) {
    __fpurge(stream);
    return 0;
  });
}

// exec and _exit() would lose what waits in a buffer.
void flush_messages() {
  for_each_own_stream(fflush);
}

[[noreturn]] void end_child() {
  flush_messages();
  _exit(EXIT_FAILURE);
}

// Puts `fd` where a standard stream stands, for the program to inherit.
bool put_in_place(int fd, int target) {
  if (fd == target) // where dup2() would change nothing
    return fcntl(fd, F_SETFD, 0) != -1;
  return dup2(fd, target) != -1;
}

// Returns the name of the stream that could not be redirected, or nullptr.
const char *redirect(Descriptors &fds) {
  // A closed descriptor must not become one that is opened below.
  for (int i = 0; i < stream_count; ++i)
    if (fds[i] >= 0 && fcntl(fds[i], F_GETFD) == -1)
      return streams[i].name;
  // Save what is overwritten before its turn comes.
  for (int i = 0; i < stream_count; ++i)
    if (fds[i] >= 0 && fds[i] < i && fds[fds[i]] != fds[i])
      if ((fds[i] = duplicate_above_streams(fds[i])) == -1)
        return streams[i].name;
  for (int i = 0; i < stream_count; ++i) {
    const int fd =
        fds[i] >= 0 ? fds[i] : open("/dev/null", streams[i].null_mode | O_CLOEXEC);
    if (fd == -1 || !put_in_place(fd, i))
      return streams[i].name;
  }
  return nullptr;
}

// ---- In the parent ----

void close_keeping_errno(int fd) {
  const int failure = errno;
  close(fd);
  errno = failure;
}

void close_all(Descriptors &fds) {
  for (int &fd : fds) {
    if (fd != -1)
      close_keeping_errno(fd);
    fd = -1;
  }
}

// Whoever writes to standard output while that is closed must not write into a pipe.
int moved_above_streams(int fd) {
  if (fd >= stream_count)
    return fd;
  const int moved = duplicate_above_streams(fd);
  close_keeping_errno(fd);
  return moved;
}

// On failure one of the ends may be open all the same.
bool open_pipe(const Stream &stream, int &child, int &caller) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) == -1)
    return false;
  child = moved_above_streams(ends[stream.child_end]);
  caller = moved_above_streams(ends[1 - stream.child_end]);
  return child != -1 && caller != -1;
}

} // namespace

pid_t process_spawn_fd(char *const *command, char *const *environment, const char *user,
                       int in, int out, int err) {
  if (sl_empty(command)) {
    NODETREE_DEBUG("Cannot spawn process with empty command.");
    return -1;
  }
  const pid_t pid = fork();
  if (pid == -1)
    NODETREE_DEBUG("Fork failed: %m");
  if (pid != 0)
    return pid;

  forget_parents_output();
  // A message that nobody reads must not decide how the child ends.
  BrokenPipes broken_pipes;
  broken_pipes.ignore();
  Descriptors fds = {in, out, err};
  if (const char *name = redirect(fds)) {
    NODETREE_DEBUG("Failed to allocate file descriptor for %s: %m", name);
    end_child();
  }
  for (char *const *name = environment; name && name[0]; name += 2) {
    if (!name[1]) {
      NODETREE_DEBUG("Failed to set environment variable: no value associated with last "
                     "name in env list");
      break;
    }
    if (setenv(name[0], name[1], 1) == -1)
      NODETREE_DEBUG("Failed to set environment variable: %m");
  }
  if (user && !process_drop_privilege(user))
    end_child();
  flush_messages();
  broken_pipes.restore();
  execvp(command[0], command);
  broken_pipes.ignore();
  // __extension__ lets "%m" pass.
  __extension__ log_msg(LOG_ERR, "Failed to exec %s: %m", command[0]);
  end_child();
}

pid_t process_spawn(char *const *command) {
  return process_spawn_fd(command, nullptr, nullptr, -1, -1, -1);
}

pid_t process_spawn_pipe(char *const *command, char *const *environment, const char *user,
                         int *in, int *out, int *err) {
  if (sl_empty(command)) {
    NODETREE_DEBUG("Cannot spawn process with empty command.");
    return -1;
  }
  int *const wanted[] = {in, out, err};
  Descriptors child = {-1, -1, -1}, caller = {-1, -1, -1};
  bool ready = true;
  for (int i = 0; i < stream_count && ready; ++i) {
    ready = !wanted[i] || open_pipe(streams[i], child[i], caller[i]);
    if (!ready)
      NODETREE_DEBUG("Failed to create %s pipe: %m", streams[i].name);
  }
  pid_t pid = -1;
  if (ready)
    pid = process_spawn_fd(command, environment, user, child[0], child[1], child[2]);
  close_all(child);
  if (pid == -1)
    close_all(caller);
  for (int i = 0; i < stream_count; ++i)
    if (wanted[i])
      *wanted[i] = caller[i];
  return pid;
}
