// Tests of paths, operations on their texts, and making directories.
#include <nodetree/file.h>
#include <nodetree/string.h>

#include "shared/memory.hpp"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <libgen.h>
#include <sys/stat.h>

using namespace nodetree;

namespace {

bool make_directory(const char *path, mode_t mode) {
  if (mkdir(path, mode) == 0)
    return true;
  if (errno != EEXIST)
    return false;
  if (path_is_directory(path))
    return true;
  errno = ENOTDIR;
  return false;
}

} // namespace

bool path_exists(const char *path) {
  struct stat status;
  return stat(path, &status) == 0;
}

bool path_is_directory(const char *path) {
  struct stat status;
  return stat(path, &status) == 0 && S_ISDIR(status.st_mode);
}

bool path_is_file(const char *path) {
  struct stat status;
  return stat(path, &status) == 0 && S_ISREG(status.st_mode);
}

bool file_mkdirp(const char *path, mode_t mode) {
  const Text copy(strdup(path));
  if (!copy)
    return false;
  char *text = copy.get();
  // A slash at the start has no name before it.
  for (char *from = *text ? text + 1 : text; char *slash = strchr(from, '/');
       from = slash + 1) {
    *slash = '\0';
    if (!make_directory(text, mode))
      return false;
    *slash = '/';
  }
  return make_directory(text, mode);
}

char *path_dirname(const char *path) {
  if (!path)
    return nullptr;
  const Text copy(strdup(path));
  // dirname() returns a part of its argument or a constant.
  return copy ? strdup(dirname(copy.get())) : nullptr;
}

char *path_normalize(const char *path) {
  Text copy(strdup(path));
  if (!copy)
    return nullptr;
  char *const start = copy.get();
  const char *rest = start;
  char *end = start; // of the result, which is never ahead of the reading position

  const auto drop_component = [&] {
    while (end > start && *--end != '/')
      continue;
  };
  while (*rest) {
    if (string_prefixed(rest, "/../") || strcmp(rest, "/..") == 0) {
      drop_component();
      rest += 3;
    } else if (string_prefixed(rest, "/./") || strcmp(rest, "/.") == 0) {
      rest += 2;
    } else if (string_prefixed(rest, "//")) {
      rest += 1;
    } else {
      *end++ = *rest++;
    }
  }
  if (end - start > 1 && end[-1] == '/')
    --end;
  *end = '\0';
  return copy.release();
}
