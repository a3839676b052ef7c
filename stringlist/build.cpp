/* Making, growing and releasing string lists. */
#include <nodetree/stringlist.h>

#include "stringlist/builder.hpp"

#include <cstdio>
#include <cstdlib>
#include <cstring>

using namespace nodetree;

namespace {

/* Grows `list` by `count` strings, which it takes over. NULL, with `list` untouched and the
   strings still the caller's, when the array cannot be grown. */
char **append_moved(char **list, char *const *strings, size_t count) {
  const size_t length = sl_len(list);
  char **grown = static_cast<char **>(realloc(list, (length + count + 1) * sizeof(char *)));
  if (!grown)
    return nullptr;
  if (count > 0)
    memcpy(grown + length, strings, count * sizeof(char *));
  grown[length + count] = nullptr;
  return grown;
}

/* Appends what was built. The copies had to come first: once realloc() has moved the array
   there is no way back to the list that the caller knows. */
char **append_built(char **list, ListBuilder &built) {
  if (!list)
    return built.take();
  const size_t count = built.size();
  char **added = built.take();
  char **grown = append_moved(list, added, count);
  if (grown)
    free(added);
  else
    sl_free(added);
  return grown;
}

char **append_args(char **list, const char *first, va_list args) {
  size_t count = 0;
  if (first) {
    va_list rest;
    va_copy(rest, args);
    do
      ++count;
    while (va_arg(rest, const char *));
    va_end(rest);
  }
  ListBuilder built(count);
  if (!built.ok())
    return nullptr;
  for (const char *string = first; string; string = va_arg(args, const char *))
    if (!built.add(string))
      return nullptr;
  return append_built(list, built);
}

} // namespace

char **_sl_new(const char *first, ...) {
  va_list args;
  va_start(args, first);
  char **list = append_args(nullptr, first, args);
  va_end(args);
  return list;
}

char **_sl_append(char **list, ...) {
  va_list args;
  va_start(args, list);
  const char *first = va_arg(args, const char *);
  list = append_args(list, first, args);
  va_end(args);
  return list;
}

char **sl_appendn(char **list, const char *const *strings, size_t count) {
  if (count == 0)
    return list;
  size_t present = 0;
  for (size_t i = 0; i < count; ++i)
    present += strings[i] != nullptr;
  ListBuilder built(present);
  if (!built.ok())
    return nullptr;
  for (size_t i = 0; i < count; ++i)
    if (strings[i] && !built.add(strings[i]))
      return nullptr;
  return append_built(list, built);
}

char **sl_append_vprintf(char **list, const char *format, va_list args) {
  char *text;
  if (vasprintf(&text, format, args) < 0)
    return list;
  char **grown = append_moved(list, &text, 1);
  if (!grown)
    free(text);
  return grown;
}

char **sl_append_printf(char **list, const char *format, ...) {
  va_list args;
  va_start(args, format);
  list = sl_append_vprintf(list, format, args);
  va_end(args);
  return list;
}

char **sl_copyn(char *const *list, size_t count) {
  size_t present = 0;
  while (list && present < count && list[present])
    ++present;
  ListBuilder built(present);
  if (!built.ok())
    return nullptr;
  for (size_t i = 0; i < present; ++i)
    if (!built.add(list[i]))
      return nullptr;
  return built.take();
}

char **sl_copy(char *const *list) {
  return list ? sl_copyn(list, sl_len(list)) : nullptr;
}

char **sl_concat(char **a, char **b) {
  if (sl_empty(b)) {
    free(b);
    return a;
  }
  char **joined = append_moved(a, b, sl_len(b));
  if (joined)
    free(b);
  return joined;
}

void sl_free(char **list) {
  if (!list)
    return;
  for (char **string = list; *string; ++string)
    free(*string);
  free(list);
}
