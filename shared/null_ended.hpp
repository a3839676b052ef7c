// Arrays of pointers from malloc() that end with a null pointer: string lists and value
// lists. NULL is an empty one. Arrays have exactly the size needed.
#ifndef NODETREE_SHARED_NULL_ENDED_HPP
#define NODETREE_SHARED_NULL_ENDED_HPP

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace nodetree::null_ended {

// The number of arguments before the null pointer, all of the type Pointer.
template <class Pointer>
std::size_t count_arguments(Pointer first, va_list args) {
  if (!first)
    return 0;
  va_list rest;
  va_copy(rest, args);
  std::size_t count = 1;
  while (va_arg(rest, Pointer))
    ++count;
  va_end(rest);
  return count;
}

template <class T>
std::size_t length(T *const *list) {
  std::size_t count = 0;
  while (list && list[count])
    ++count;
  return count;
}

template <class T, class Same>
bool equal(T *const *a, T *const *b, Same same) {
  if (!a || !b)
    return a == b;
  while (*a && *b && same(*a, *b))
    ++a, ++b;
  return *a == *b; // both NULL
}

// Resizes `list`, or makes a new array for NULL, for `count` pointers and the end. NULL,
// with `list` unchanged, when memory runs out.
template <class T>
T **resize(T **list, std::size_t length) {
  if (length >= PTRDIFF_MAX / sizeof *list)
    return nullptr;
  return static_cast<T **>(std::realloc(list, (length + 1) * sizeof *list));
}

// Appends `count` pointers, which do not lie in `list`, and returns the array to use from
// then on. NULL, with `list` unchanged, when memory runs out.
template <class T>
T **append(T **list, T *const *added, std::size_t count) {
  const std::size_t old_length = length(list);
  T **grown = resize(list, old_length + count);
  if (!grown)
    return nullptr;
  if (count > 0)
    std::memcpy(grown + old_length, added, count * sizeof *added);
  grown[old_length + count] = nullptr;
  return grown;
}

// Consumes two arrays and returns `a` with the pointers of `b` appended. NULL, with both
// unchanged, when memory runs out.
template <class T>
T **concat(T **a, T **b) {
  const std::size_t count = length(b);
  T **joined = count > 0 ? append(a, b, count) : a;
  if (joined || count == 0)
    std::free(b);
  return joined;
}

} // namespace nodetree::null_ended

#endif
