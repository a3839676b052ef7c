/* Splitting, joining, ordering and slicing. */
#include <nodetree/stringlist.h>

#include "stringlist/builder.hpp"

#include <cstdlib>
#include <cstring>
#include <utility>

using namespace nodetree;

char **sl_split(const char *text, int separator) {
  if (!text || !*text)
    return nullptr;
  /* memchr() because strchr() would find the NUL at the end for the separator 0. */
  const char *const end = text + strlen(text);
  const auto find = [=](const char *from) {
    return static_cast<const char *>(
        memchr(from, separator, static_cast<size_t>(end - from)));
  };

  size_t fields = 0;
  for (const char *rest = text; rest && rest < end; ++fields)
    if ((rest = find(rest)))
      ++rest;
  ListBuilder built(fields);
  if (!built.ok())
    return nullptr;
  for (const char *rest = text; rest < end;) {
    const char *found = find(rest);
    const char *field_end = found ? found : end;
    if (!built.add(rest, static_cast<size_t>(field_end - rest)))
      return nullptr;
    rest = field_end + 1;
  }
  return built.take();
}

char *sl_join(char *const *list, const char *separator) {
  if (!separator)
    separator = "";
  const size_t separator_length = strlen(separator);
  size_t length = 0;
  for (size_t i = 0; list && list[i]; ++i)
    length += strlen(list[i]) + (i > 0 ? separator_length : 0);
  char *text = static_cast<char *>(malloc(length + 1));
  if (!text)
    return nullptr;
  char *out = text;
  for (size_t i = 0; list && list[i]; ++i) {
    if (i > 0)
      out = stpcpy(out, separator);
    out = stpcpy(out, list[i]);
  }
  *out = '\0';
  return text;
}

void sl_sort(char **list) {
  if (sl_empty(list))
    return;
  qsort(list, sl_len(list), sizeof *list, [](const void *a, const void *b) {
    return strcmp(*static_cast<char *const *>(a), *static_cast<char *const *>(b));
  });
}

void sl_reverse(char **list) {
  if (sl_empty(list))
    return;
  for (char **first = list, **last = list + sl_len(list) - 1; first < last; ++first, --last)
    std::swap(*first, *last);
}

char **sl_slice(char **list, int start, int end) {
  const ptrdiff_t length = static_cast<ptrdiff_t>(sl_len(list));
  if (length == 0)
    return list;
  ptrdiff_t from = start < 0 ? start + length : start;
  ptrdiff_t to = end < 0 ? end + length : end;
  if (from < 0)
    from = 0;
  if (to > length)
    to = length;
  if (from >= to) {
    sl_free(list);
    return nullptr;
  }

  for (ptrdiff_t i = 0; i < from; ++i)
    free(list[i]);
  for (ptrdiff_t i = to; i < length; ++i)
    free(std::exchange(list[i], nullptr));
  if (from == 0)
    return list;

  /* If there is no memory for an array of the exact size, uses the present one: the caller
     could not tell a failure from an empty slice. */
  const size_t bytes = static_cast<size_t>(to - from + 1) * sizeof *list;
  if (char **exact = static_cast<char **>(malloc(bytes))) {
    memcpy(exact, list + from, bytes);
    free(list);
    return exact;
  }
  memmove(list, list + from, bytes);
  return list;
}
