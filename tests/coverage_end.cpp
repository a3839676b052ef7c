// Stands before the calls by which a child process ends without exit handlers, and so
// without writing its coverage counters. One that has given up root may not write them.
#include <unistd.h>

extern "C" {
void __gcov_dump();
void __gcov_reset();
int __real_execvp(const char *file, char *const arguments[]);
[[noreturn]] void __real__exit(int status);
int __wrap_execvp(const char *file, char *const arguments[]);
[[noreturn]] void __wrap__exit(int status);

// Of the program that makes calls fail: they are to succeed from here on.
[[gnu::weak]] void stop_failing_calls();
}

static const uid_t user = geteuid();

static void write_counters() {
  if (stop_failing_calls)
    stop_failing_calls();
  if (geteuid() == user)
    __gcov_dump();
}

int __wrap_execvp(const char *file, char *const arguments[]) {
  write_counters();
  int result = __real_execvp(file, arguments);
  __gcov_reset(); // what is counted from here on is written by the next call
  return result;
}

void __wrap__exit(int status) {
  write_counters();
  __real__exit(status);
}
