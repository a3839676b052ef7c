// Starting programs in child processes.
#include <nodetree/process.h>
#include <nodetree/stringlist.h>

#include "log/report.hpp"
#include "shared/descriptor.hpp"

#include <csignal>
#include <initializer_list>
#include <iterator>
#include <pthread.h>
#include <stdio_ext.h>

using namespace nodetree;

namespace {

struct Stream {
  const char *name;
  int null_mode;
  int child_end; // index of the child's end in the result of pipe2()
};

// Indexed by descriptor.
constexpr Stream streams[] = {
    {"stdin", O_RDONLY, 0}, {"stdout", O_WRONLY, 1}, {"stderr", O_WRONLY, 1}};
constexpr int stream_count = std::size(streams);
using Descriptors = int[stream_count];

// Disables cancellation of the calling thread while it exists, in a child made meanwhile
// too.
class Uncancelled {
public:
  Uncancelled() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &state_); }
  ~Uncancelled() { pthread_setcancelstate(state_, nullptr); }
  Uncancelled(const Uncancelled &) = delete;
  Uncancelled &operator=(const Uncancelled &) = delete;

private:
  int state_;
};

// A duplicate of the descriptor, above the standard streams.
int duplicate_above_streams(int fd) {
  return fcntl(fd, F_DUPFD_CLOEXEC, stream_count);
}

// ---- In the child ----

// Calls `action` for the streams that messages are written to. The buffers of other streams
// belong to the parent.
void for_each_own_stream(int (*action)(FILE *)) {
  for (FILE *stream : {stderr, log_file})
    if (stream)
      static_cast<void>(action(stream));
}

void forget_parents_output() {
  for_each_own_stream([](FILE *stream) {
    __fpurge(stream);
    return 0;
  });
}

// exec and _exit() do not flush buffers.
void flush_messages() {
  for_each_own_stream(fflush);
}

[[noreturn]] void end_child() {
  flush_messages();
  _exit(EXIT_FAILURE);
}

// Sets signals that the caller handles to their default, so that no handler runs in the
// child.
void forget_signal_handlers() {
  for (int number = 1; number < NSIG; ++number) {
    struct sigaction action;
    if (sigaction(number, nullptr, &action) == 0 && action.sa_handler != SIG_IGN &&
        action.sa_handler != SIG_DFL)
      signal(number, SIG_DFL);
  }
}

// Makes `fd` the standard stream `target`, which the program inherits.
bool put_in_place(int fd, int target) {
  if (fd == target) // dup2() would keep close-on-exec
    return fcntl(fd, F_SETFD, 0) != -1;
  return dup2(fd, target) != -1;
}

// Opens it at `place` itself when the table of descriptors is full, closing what is there.
int open_null_device(int place) {
  const auto attempt = [=] {
    return open("/dev/null", streams[place].null_mode | O_CLOEXEC);
  };
  int fd = attempt();
  if (fd == -1 && errno == EMFILE && close(place) == 0)
    fd = attempt();
  return fd;
}

// Returns the name of the stream that could not be redirected, or nullptr.
const char *redirect(Descriptors &fds) {
  // A closed descriptor must not be taken for one that is opened below.
  for (int i = 0; i < stream_count; ++i)
    if (fds[i] >= 0 && fcntl(fds[i], F_GETFD) == -1)
      return streams[i].name;
  // Save descriptors that are overwritten before they are used.
  for (int i = 0; i < stream_count; ++i)
    if (fds[i] >= 0 && fds[i] < i && fds[fds[i]] != fds[i])
      if ((fds[i] = duplicate_above_streams(fds[i])) == -1)
        return streams[i].name;
  for (int i = 0; i < stream_count; ++i) {
    const int fd = fds[i] >= 0 ? fds[i] : open_null_device(i);
    if (fd == -1 || !put_in_place(fd, i))
      return streams[i].name;
  }
  return nullptr;
}

// ---- In the parent ----

// A pipe must not take the place of a closed standard stream, which others may write to.
bool move_above_streams(Descriptor &fd) {
  if (fd.get() < stream_count)
    fd.reset(duplicate_above_streams(fd.get()));
  return fd.is_open();
}

bool open_pipe(const Stream &stream, Descriptor &child, Descriptor &caller) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) == -1)
    return false;
  child.reset(ends[stream.child_end]);
  caller.reset(ends[1 - stream.child_end]);
  return move_above_streams(child) && move_above_streams(caller);
}

} // namespace

pid_t process_spawn_fd(char *const *command, char *const *environment, const char *user,
                       int in, int out, int err) {
  if (sl_empty(command)) {
    NODETREE_DEBUG("Cannot spawn process with empty command.");
    errno = EINVAL;
    return -1;
  }
  const Uncancelled uncancelled;
  sigset_t all, mask;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &mask);
  const pid_t pid = fork();
  if (pid != 0) {
    pthread_sigmask(SIG_SETMASK, &mask, nullptr);
    if (pid == -1)
      NODETREE_DEBUG("Fork failed: %m");
    return pid;
  }

  forget_parents_output();
  forget_signal_handlers();
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
  // A message without a reader must not change the status of the child. Ignoring the signal
  // also discards a pending one.
  const auto broken_pipe = signal(SIGPIPE, SIG_IGN);
  signal(SIGPIPE, broken_pipe);
  pthread_sigmask(SIG_SETMASK, &mask, nullptr);
  execvp(command[0], command);
  signal(SIGPIPE, SIG_IGN);
  // __extension__ silences the warning about "%m".
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
    errno = EINVAL;
    return -1;
  }
  const Uncancelled uncancelled;
  int *const wanted[] = {in, out, err};
  Descriptor child[stream_count], caller[stream_count];
  bool ready = true;
  for (int i = 0; i < stream_count && ready; ++i) {
    ready = !wanted[i] || open_pipe(streams[i], child[i], caller[i]);
    if (!ready)
      NODETREE_DEBUG("Failed to create %s pipe: %m", streams[i].name);
  }
  pid_t pid = -1;
  if (ready)
    pid = process_spawn_fd(command, environment, user, child[0].get(), child[1].get(),
                           child[2].get());
  for (int i = 0; i < stream_count; ++i)
    if (wanted[i])
      *wanted[i] = pid == -1 ? -1 : caller[i].release();
  return pid;
}
