#include "fault.hpp"
#include "support.hpp"

#include <climits>
#include <cstdarg>
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/wait.h>

namespace {

// What happens to the chosen call and to those after it.
enum class Mode {
  once,    // it fails
  lasting, // it fails, and so do all later ones
  hindered // a signal interrupts it; files are read and written in small portions
};

// Plain thread-locals of the program itself: reading them never allocates.
thread_local Mode mode = Mode::once;
thread_local long countdown = LONG_MAX; // the library's calls until the chosen one
thread_local long live = 0;             // blocks allocated and not released by this thread

// Shared with child processes, whose calls can be chosen too.
struct Outcome {
  bool chosen, failed;
};
Outcome *const outcome = static_cast<Outcome *>(mmap(
    nullptr, sizeof(Outcome), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));

bool is_library(const void *caller) {
  Dl_info place;
  return countdown != LONG_MAX && dladdr(caller, &place) != 0 &&
         strstr(place.dli_fname, "libnodetree.so") != nullptr;
}

// Counts a call that `caller` makes. True if it must fail. An error of 0 means that only
// signals can disturb the call.
bool fails(const void *caller, int error, bool interruptible = false) {
  const bool hindered = mode == Mode::hindered;
  if (!(hindered ? interruptible : error != 0) || !is_library(caller) || --countdown != 0)
    return false;
  countdown = mode == Mode::lasting ? 1 : LONG_MAX - 1;
  outcome->chosen = true;
  outcome->failed = !hindered;
  errno = hindered ? EINTR : error;
  return true;
}

// How many of `size` bytes are read or written.
size_t portion(const void *caller, size_t size) {
  return mode == Mode::hindered && size > 3 && is_library(caller) ? 3 : size;
}

// The libc function that `own` replaces. With large-file support its name differs from the
// one in the source.
template <class Function>
Function *next(Function *own) {
  Dl_info place;
  dladdr(reinterpret_cast<void *>(own), &place);
  return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, place.dli_sname));
}

} // namespace

#define CALLER __builtin_return_address(0)

extern "C" {

#ifndef __SANITIZE_ADDRESS__

// libc's own names for the functions that this file replaces. dlsym() cannot find them,
// because it allocates.
void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void *__libc_realloc(void *block, size_t size);
void __libc_free(void *block);

void *malloc(size_t size) {
  void *block = fails(CALLER, ENOMEM) ? nullptr : __libc_malloc(size);
  live += block != nullptr;
  return block;
}

void *calloc(size_t count, size_t size) {
  void *block = fails(CALLER, ENOMEM) ? nullptr : __libc_calloc(count, size);
  live += block != nullptr;
  return block;
}

void *realloc(void *old, size_t size) {
  if (fails(CALLER, ENOMEM))
    return nullptr;
  void *block = __libc_realloc(old, size);
  live += (old == nullptr && block != nullptr) - (old != nullptr && size == 0);
  return block;
}

void free(void *block) {
  live -= block != nullptr;
  __libc_free(block);
}

#endif

// Calls that only fail when they are chosen. Those that allocate do it inside libc, where
// the caller is no longer known.
#define CALL(Result, name, parameters, arguments, failure, ...)                            \
  Result name parameters {                                                                 \
    return fails(CALLER, __VA_ARGS__) ? failure : next<Result parameters>(name) arguments; \
  }

// A coverage build calls this before a child writes its counters.
void stop_failing_calls();
void stop_failing_calls() {
  countdown = LONG_MAX;
}

using Filter = int(const dirent *);
using Order = int(const dirent **, const dirent **);

CALL(char *, strdup, (const char *text), (text), nullptr, ENOMEM)
CALL(char *, strndup, (const char *text, size_t size), (text, size), nullptr, ENOMEM)
CALL(int, vasprintf, (char **out, const char *format, va_list list), (out, format, list),
     -1, ENOMEM) // *out is undefined
// The same in a hardened build.
CALL(int, __vasprintf_chk, (char **out, int flag, const char *format, va_list list),
     (out, flag, format, list), -1, ENOMEM)
CALL(int, setenv, (const char *name, const char *value, int over), (name, value, over), -1,
     ENOMEM)
CALL(FILE *, open_memstream, (char **data, size_t *size), (data, size), nullptr, ENOMEM)
CALL(FILE *, fopen, (const char *path, const char *access), (path, access), nullptr, EMFILE)
CALL(int, fflush, (FILE * file), (file), EOF, ENOSPC)
CALL(int, fseeko, (FILE * file, off_t to, int from), (file, to, from), -1, ENOMEM)
CALL(int, scandir, (const char *path, dirent ***all, Filter *filter, Order *order),
     (path, all, filter, order), -1, ENOMEM)
CALL(ssize_t, read, (int fd, void *data, size_t size), (fd, data, portion(CALLER, size)),
     -1, EIO, true)
CALL(ssize_t, write, (int fd, const void *data, size_t size),
     (fd, data, portion(CALLER, size)), -1, ENOSPC, true)
CALL(int, stat, (const char *path, struct stat *status), (path, status), -1, EACCES)
CALL(int, lstat, (const char *path, struct stat *status), (path, status), -1, EACCES)
CALL(int, fstat, (int fd, struct stat *status), (fd, status), -1, EIO)
CALL(void *, mmap, (void *at, size_t size, int access, int flags, int fd, off_t from),
     (at, size, access, flags, fd, from), MAP_FAILED, ENOMEM)
CALL(int, mkdir, (const char *path, mode_t access), (path, access), -1, ENOSPC)
CALL(int, flock, (int fd, int operation), (fd, operation), -1, ENOLCK, true)
CALL(int, pipe2, (int *ends, int flags), (ends, flags), -1, EMFILE)
CALL(int, dup2, (int fd, int target), (fd, target), -1, EMFILE)
CALL(pid_t, waitpid, (pid_t pid, int *status, int options), (pid, status, options), -1, 0,
     true)

pid_t fork() {
  const pid_t pid = fails(CALLER, EAGAIN) ? -1 : next(fork)();
  if (pid == 0 && mode == Mode::hindered)
    countdown = LONG_MAX; // no call of a new child fails
  return pid;
}

// Closes the file even when it fails: nobody could close it later.
int fclose(FILE *file) {
  const int result = next(fclose)(file);
  return fails(CALLER, EIO) ? EOF : result;
}

// As in libc, these read an argument that may not have been passed.

int open(const char *path, int flags, ...) {
  va_list list;
  va_start(list, flags);
  const mode_t access = va_arg(list, mode_t);
  va_end(list);
  return fails(CALLER, EMFILE, true)
             ? -1
             : next<int(const char *, int, ...)>(open)(path, flags, access);
}

int fcntl(int fd, int command, ...) {
  va_list list;
  va_start(list, command);
  void *argument = va_arg(list, void *);
  va_end(list);
  return fails(CALLER, EMFILE) ? -1
                               : next<int(int, int, ...)>(fcntl)(fd, command, argument);
}

} // extern "C"

namespace fault {

bool injected() {
  return outcome->failed;
}

Granted::Granted() : countdown_(countdown) {
  countdown = LONG_MAX;
}

Granted::~Granted() {
  countdown = countdown_;
}

void for_each_failure(const std::function<void()> &body, int at_least) {
  static const char *const meanings[] = {"fails", "and all after it fail",
                                         "is interrupted"};
  *outcome = {};
  body();
  for (const Mode way : {Mode::once, Mode::lasting, Mode::hindered}) {
    int rounds = -1;
    do {
      ++rounds;
      SCOPED_TRACE(testing::Message()
                   << "call " << rounds + 1 << " " << meanings[static_cast<int>(way)]);
      *outcome = {};
      mode = way;
      const auto open_before = test::open_descriptors();
      const long before = live;
      countdown = rounds + 1;
      body();
      countdown = LONG_MAX;
      ASSERT_EQ(live, before) << "blocks leaked or released twice";
      ASSERT_EQ(test::open_descriptors(), open_before);
      ASSERT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a child is left";
    } while (outcome->chosen && !testing::Test::HasFailure());
    EXPECT_GE(rounds, allocations && way != Mode::hindered ? at_least : 0)
        << "the body met too few calls";
  }
  *outcome = {};
}

} // namespace fault
