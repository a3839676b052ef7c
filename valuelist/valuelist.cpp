#include <nodetree/stringstream.h>
#include <nodetree/valuelist.h>

#include <memory>
#include <stdarg.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

namespace {

/* `array`, or a fresh one for NULL, resized to hold `count` elements and the end. NULL,
   with `array` untouched, when that fails. */
void **resize(void **array, size_t count) {
  if (count >= PTRDIFF_MAX / sizeof(void *))
    return nullptr;
  return static_cast<void **>(realloc(array, (count + 1) * sizeof(void *)));
}

void **append_args(void **list, void *first, va_list args) {
  const size_t length = vl_len(list);
  size_t count = 0;
  if (first) {
    va_list rest;
    va_copy(rest, args);
    do
      ++count;
    while (va_arg(rest, void *));
    va_end(rest);
  }
  void **grown = resize(list, length + count);
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
  size_t added = 0;
  for (size_t i = 0; i < count; ++i)
    added += elements[i] != nullptr;
  // A new array instead of a grown one: `elements` may lie in the old one.
  const size_t length = vl_len(list);
  void **joined = resize(nullptr, length + added);
  if (!joined)
    return nullptr;
  if (length > 0)
    memcpy(joined, list, length * sizeof(void *));
  void **end = joined + length;
  for (size_t i = 0; i < count; ++i)
    if (elements[i])
      *end++ = elements[i];
  *end = nullptr;
  free(list);
  return joined;
}

size_t vl_len(void *const *list) {
  size_t length = 0;
  while (list && list[length])
    ++length;
  return length;
}

bool vl_empty(void *const *list) {
  return !list || !*list;
}

bool vl_equals(void *const *a, void *const *b) {
  if (a == b)
    return true;
  if (!a || !b)
    return false;
  while (*a && *a == *b)
    ++a, ++b;
  return *a == *b;
}

void **vl_copyn(void *const *list, size_t count) {
  void **copy = resize(nullptr, count);
  if (!copy)
    return nullptr;
  if (count > 0)
    memcpy(copy, list, count * sizeof(void *));
  copy[count] = nullptr;
  return copy;
}

void **vl_copy(void *const *list) {
  return list ? vl_copyn(list, vl_len(list)) : nullptr;
}

void **vl_concat(void **a, void **b) {
  if (vl_empty(b)) {
    free(b);
    return a;
  }
  const size_t a_length = vl_len(a);
  const size_t b_length = vl_len(b);
  void **joined = resize(a, a_length + b_length);
  if (!joined)
    return nullptr;
  memcpy(joined + a_length, b, (b_length + 1) * sizeof(void *));
  free(b);
  return joined;
}

char *vl_stringify(void *const *list) {
  std::unique_ptr<stringstream, decltype(&stringstream_free)> stream(stringstream_open(),
                                                                     stringstream_free);
  if (!stream || !write_elements(stringstream_file(stream.get()), list))
    return nullptr;
  return stringstream_take_data(stream.get());
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
