#include "fault.hpp"

#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <dlfcn.h>
#include <gtest/gtest.h>

namespace {

// Plain thread-locals of the program itself: reading them never allocates.
thread_local long countdown = LONG_MAX; // library allocations until the one that fails
thread_local bool lasting = false;      // whether all later ones fail too
thread_local bool failed = false;
thread_local long live = 0; // blocks allocated and not released by this thread

#ifdef __SANITIZE_ADDRESS__
constexpr bool replaced = false;
#else
constexpr bool replaced = true;

// Counts an allocation that `caller` asks for: true when it is the one to fail.
bool fails(const void *caller) {
  Dl_info place;
  if (countdown == LONG_MAX || dladdr(caller, &place) == 0 ||
      strstr(place.dli_fname, "libnodetree.so") == nullptr || --countdown != 0) {
    return false;
  }
  countdown = lasting ? 1 : LONG_MAX;
  failed = true;
  errno = ENOMEM;
  return true;
}

template <class Function>
Function *next(const char *name) {
  return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}
#endif

} // namespace

#ifndef __SANITIZE_ADDRESS__

#define CALLER __builtin_return_address(0)

extern "C" {

// The C library's own names for what this file replaces; dlsym() could not be used to find
// them, because it allocates.
void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void *__libc_realloc(void *block, size_t size);
void __libc_free(void *block);

void *malloc(size_t size) {
  void *block = fails(CALLER) ? nullptr : __libc_malloc(size);
  live += block != nullptr;
  return block;
}

void *calloc(size_t count, size_t size) {
  void *block = fails(CALLER) ? nullptr : __libc_calloc(count, size);
  live += block != nullptr;
  return block;
}

void *realloc(void *old, size_t size) {
  if (fails(CALLER)) {
    return nullptr;
  }
  void *block = __libc_realloc(old, size);
  live += (old == nullptr && block != nullptr) - (old != nullptr && size == 0);
  return block;
}

void free(void *block) {
  live -= block != nullptr;
  __libc_free(block);
}

// These allocate inside libc, where the request no longer tells who made it.

char *strdup(const char *text) {
  return fails(CALLER) ? nullptr : next<char *(const char *)>("strdup")(text);
}

char *strndup(const char *text, size_t length) {
  return fails(CALLER) ? nullptr
                       : next<char *(const char *, size_t)>("strndup")(text, length);
}

int vasprintf(char **out, const char *format, va_list arguments) {
  if (fails(CALLER)) {
    return -1; // and *out stays undefined
  }
  return next<int(char **, const char *, va_list)>("vasprintf")(out, format, arguments);
}

FILE *open_memstream(char **data, size_t *size) {
  return fails(CALLER) ? nullptr
                       : next<FILE *(char **, size_t *)>("open_memstream")(data, size);
}

FILE *fopen(const char *path, const char *mode) {
  return fails(CALLER) ? nullptr
                       : next<FILE *(const char *, const char *)>("fopen")(path, mode);
}

int scandir(const char *path, dirent ***entries, int (*filter)(const dirent *),
            int (*compare)(const dirent **, const dirent **)) {
  using Scan = int(const char *, dirent ***, int (*)(const dirent *),
                   int (*)(const dirent **, const dirent **));
  return fails(CALLER) ? -1 : next<Scan>("scandir")(path, entries, filter, compare);
}

} // extern "C"

#endif

namespace fault {

bool injected() {
  return failed;
}

Granted::Granted() : countdown_(countdown) {
  countdown = LONG_MAX;
}

Granted::~Granted() {
  countdown = countdown_;
}

void for_each_failure(const std::function<void()> &body, int at_least) {
  failed = false;
  body();
  for (const bool mode : {false, true}) {
    int failures = -1;
    do {
      ++failures;
      SCOPED_TRACE(testing::Message() << "allocation " << failures + 1 << " fails, "
                                      << (mode ? "and all after it" : "once"));
      failed = false;
      lasting = mode;
      const long before = live;
      countdown = replaced ? failures + 1 : LONG_MAX;
      body();
      countdown = LONG_MAX;
      ASSERT_EQ(live, before) << "blocks leaked or released twice";
    } while (failed && !testing::Test::HasFailure());
    EXPECT_GE(failures, replaced ? at_least : 0) << "the body met too few allocations";
  }
  failed = false;
}

} // namespace fault
