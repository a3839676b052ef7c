/* Making, growing and releasing string lists. */
#include <nodetree/stringlist.h>

#include "shared/null_ended.hpp"
#include "stringlist/builder.hpp"

#include <cstdio>

using namespace nodetree;

namespace {

/* Appends a heap string, which is consumed even on failure. Fails for NULL. */
char **append_own(char **list, char *string) {
  char **grown = string ? null_ended::append(list, &string, 1) : nullptr;
  if (!grown)
    free(string);
  return grown;
}

/* Appends the strings built. They are copied before the array grows: when realloc() has
   moved the array, the caller's list cannot be kept. */
char **append_built(char **list, ListBuilder &built) {
  if (!list)
    return built.take();
  const size_t count = built.size();
  char **added = built.take();
  char **grown = null_ended::append(list, added, count);
  if (grown)
    free(added);
  else
    sl_free(added);
  return grown;
}

char **append_args(char **list, const char *first, va_list args) {
  const size_t count = null_ended::count_arguments(first, args);
  if (count == 1)
    return append_own(list, strdup(first));
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
  if (count == 1 && *strings)
    return append_own(list, strdup(*strings));
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
  return vasprintf(&text, format, args) < 0 ? list : append_own(list, text);
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
  return null_ended::concat(a, b);
}

void sl_free(char **list) {
  if (!list)
    return;
  for (char **string = list; *string; ++string)
    free(*string);
  free(list);
}
