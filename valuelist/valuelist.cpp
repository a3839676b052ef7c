#include <nodetree/stringstream.h>
#include <nodetree/valuelist.h>

#include "shared/null_ended.hpp"

using namespace nodetree;

namespace {

void **append_args(void **list, void *first, va_list args) {
  const size_t length = vl_len(list);
  const size_t count = null_ended::count_arguments(first, args);
  void **grown = null_ended::resize(list, length + count);
  if (!grown)
    return nullptr;
  void **end = grown + length;
  for (void *element = first; element; element = va_arg(args, void *))
    *end++ = element;
  *end = nullptr;
  return grown;
}

bool write_elements(FILE *file, void *const *list) {
  if (fputs("[", file) == EOF)
    return false;
  const char *separator = "";
  for (; list && *list; ++list) {
    if (fprintf(file, "%s %p", separator, *list) < 0)
      return false;
    separator = ",";
  }
  return fputs(" ]", file) != EOF;
}

} // namespace

void **_vl_new(void *first, ...) {
  va_list args;
  va_start(args, first);
  void **list = append_args(nullptr, first, args);
  va_end(args);
  return list;
}

void **_vl_append(void **list, ...) {
  va_list args;
  va_start(args, list);
  void *first = va_arg(args, void *);
  list = append_args(list, first, args);
  va_end(args);
  return list;
}

void **vl_appendn(void **list, void *const *elements, size_t count) {
  if (count == 0)
    return list;
  // Copied first, because they may lie in the list, which moves.
  void **kept = null_ended::resize<void>(nullptr, count);
  if (!kept)
    return nullptr;
  size_t added = 0;
  for (size_t i = 0; i < count; ++i)
    if (elements[i])
      kept[added++] = elements[i];
  void **grown = null_ended::append(list, kept, added);
  free(kept);
  return grown;
}

size_t vl_len(void *const *list) {
  return null_ended::length(list);
}

bool vl_empty(void *const *list) {
  return !list || !*list;
}

bool vl_equals(void *const *a, void *const *b) {
  return null_ended::equal(a, b, [](const void *x, const void *y) { return x == y; });
}

void **vl_copyn(void *const *list, size_t count) {
  return null_ended::append<void>(nullptr, list, count);
}

void **vl_copy(void *const *list) {
  return list ? vl_copyn(list, vl_len(list)) : nullptr;
}

void **vl_concat(void **a, void **b) {
  return null_ended::concat(a, b);
}

char *vl_stringify(void *const *list) {
  stringstream *stream = stringstream_open();
  const bool written = stream && write_elements(stringstream_file(stream), list);
  char *text = written ? stringstream_take_data(stream) : nullptr;
  stringstream_free(stream);
  return text;
}

void vl_sort(void **list, int (*compare)(const void *, const void *)) {
  if (!vl_empty(list))
    qsort(list, vl_len(list), sizeof(void *), compare);
}

int vl_sort_natural_cmp(const void *slot_a, const void *slot_b) {
  const auto a = reinterpret_cast<uintptr_t>(*static_cast<void *const *>(slot_a));
  const auto b = reinterpret_cast<uintptr_t>(*static_cast<void *const *>(slot_b));
  return a < b ? -1 : a > b;
}

void vl_free(void **list, void (*release)(void *element)) {
  if (!list)
    return;
  if (release)
    for (void **element = list; *element; ++element)
      release(*element);
  free(list);
}
