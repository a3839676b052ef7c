#include <nodetree/string.h>

#include "shared/memory.hpp"
#include "string/parse_int.hpp"

#include <cctype>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fnmatch.h>

using namespace nodetree;

namespace {

/* Whether `pointer` points at one of the `size` bytes at `start`. */
bool points_into(const char *pointer, const char *start, size_t size) {
  return reinterpret_cast<uintptr_t>(pointer) - reinterpret_cast<uintptr_t>(start) < size;
}

} // namespace

bool _string_equals(const char *a, const char *b) {
  if (!a || !b)
    return a == b;
  return strcmp(a, b) == 0;
}

bool __string_equals(const char **a, const char **b) {
  return _string_equals(*a, *b);
}

bool string_prefixed(const char *string, const char *prefix) {
  return string && prefix && strncmp(string, prefix, strlen(prefix)) == 0;
}

bool string_suffixed(const char *string, const char *suffix) {
  if (!string || !suffix)
    return false;
  const size_t length = strlen(string);
  const size_t suffix_length = strlen(suffix);
  return suffix_length <= length && strcmp(string + (length - suffix_length), suffix) == 0;
}

bool string_match(const char *name, const char *pattern) {
  return fnmatch(pattern, name, 0) == 0;
}

bool string_contains(const char *text, const char *piece) {
  return strstr(text, piece) != nullptr;
}

bool string_empty(const char *string) {
  return !string || !*string;
}

char *string_printf(const char *format, ...) {
  va_list args;
  va_start(args, format);
  char *text;
  const int length = vasprintf(&text, format, args);
  va_end(args);
  return length < 0 ? nullptr : text;
}

char *string_replace(char *string, const char *find, const char *replacement) {
  if (!string || !find || !replacement || !*find)
    return string;
  const char *found = strstr(string, find);
  if (!found)
    return string;

  const size_t length = strlen(string);
  const size_t find_length = strlen(find);
  const size_t replacement_length = strlen(replacement);
  const size_t start = static_cast<size_t>(found - string);
  const size_t rest = start + find_length; /* the position behind the occurrence */
  const size_t new_length = length - find_length + replacement_length;

  /* A part of the string itself would move before it is copied. */
  Text copy;
  if (points_into(replacement, string, length + 1)) {
    copy.reset(strdup(replacement));
    if (!copy)
      return nullptr;
    replacement = copy.get();
  }

  if (new_length > length) {
    char *grown = static_cast<char *>(realloc(string, new_length + 1));
    if (!grown)
      return nullptr;
    string = grown;
  }
  memmove(string + start + replacement_length, string + rest, length - rest + 1);
  memcpy(string + start, replacement, replacement_length);
  if (new_length < length) {
    /* If the block cannot be cut it still holds the result. */
    if (char *shrunk = static_cast<char *>(realloc(string, new_length + 1)))
      string = shrunk;
  }
  return string;
}

char *string_to_upper(char *string) {
  if (string)
    for (char *c = string; *c; ++c)
      *c = static_cast<char>(toupper(static_cast<unsigned char>(*c)));
  return string;
}

bool string_to_int(const char *text, int *value) {
  if (!text)
    return false;
  const char *end;
  return parse_int32(text, &end, value) && !*end;
}

bool string_to_long_long(const char *text, long long *value) {
  if (!text)
    return false;
  char *end;
  *value = strtoll(text, &end, number_base(text));
  return end != text && !*end;
}

bool string_to_bool(const char *text, bool *value) {
  const bool is_true = _string_equals(text, "true");
  if (!is_true && !_string_equals(text, "false"))
    return false;
  *value = is_true;
  return true;
}
