// The field types that hold a number or a boolean in a cell, so that it can be absent.
#include "convert/mismatch.hpp"

#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <nodetree/convert.h>
#include <type_traits>

using namespace nodetree;

namespace nodetree {
namespace {

// A cell holds a boolean or an integer of some width.
template <class T>
constexpr bool is_boolean = std::is_same_v<T, bool>;

// The value of a cell. Any byte other than 0 is true.
template <class T>
int64_t load(const T *cell) {
  if constexpr (is_boolean<T>)
    return *reinterpret_cast<const unsigned char *>(cell) != 0;
  else
    return *cell;
}

template <class T>
T *cell_new(T value) {
  auto *cell = static_cast<T *>(std::malloc(sizeof(T)));
  if (cell)
    *cell = value;
  return cell;
}

template <class T>
node *cell_into_node(T *const *field, const node *target) {
  if (target)
    return nullptr;
  if (!*field)
    return node_new_null();
  if constexpr (is_boolean<T>)
    return node_new_boolean(load(*field));
  else
    return node_new_integer(load(*field));
}

template <class T>
bool cell_from_node(T **field, const node *n, Caller caller) {
  if (node_is_null(n)) {
    *field = nullptr;
    return true;
  }
  if (!*field && !(*field = cell_new<T>(0)))
    return false;
  if (is_boolean<T> ? !node_is_boolean(n) : !node_is_integer(n))
    return mismatch(caller, n, is_boolean<T> ? "boolean" : "integer", n);
  if constexpr (is_boolean<T>)
    **field = n->value.boolean;
  else
    **field = static_cast<T>(n->value.integer); // keeps the low bits
  return true;
}

template <class T>
bool cell_equals(T *const *a, T *const *b) {
  if (!a || !b)
    return a == b;
  if (!*a || !*b)
    return *a == *b;
  return std::memcmp(*a, *b, sizeof(T)) == 0;
}

template <class T>
int cell_fprint(T *const *field, FILE *stream) {
  if (!*field)
    return std::fputs("NULL", stream);
  const int64_t value = load(*field);
  if constexpr (is_boolean<T>)
    return std::fprintf(stream, "&%s", value ? "true" : "false");
  else
    return std::fprintf(stream, "&%" PRId64, value);
}

template <class T>
void cell_deinit(T **field) {
  std::free(*field);
  *field = nullptr;
}

} // namespace
} // namespace nodetree

int *int_new(int value) {
  return cell_new(value);
}

node *int_ptr_into_node(int *const *field, node *target) {
  return cell_into_node(field, target);
}

bool int_ptr_from_node(int **field, const node *n) {
  return cell_from_node(field, n, NODETREE_CALLER);
}

bool int_ptr_equals(int *const *a, int *const *b) {
  return cell_equals(a, b);
}

int int_ptr_fprint(int *const *field, FILE *stream) {
  return cell_fprint(field, stream);
}

void int_ptr_deinit(int **field) {
  cell_deinit(field);
}

bool *bool_new(bool value) {
  return cell_new(value);
}

node *bool_ptr_into_node(bool *const *field, node *target) {
  return cell_into_node(field, target);
}

bool bool_ptr_from_node(bool **field, const node *n) {
  return cell_from_node(field, n, NODETREE_CALLER);
}

bool bool_ptr_equals(bool *const *a, bool *const *b) {
  return cell_equals(a, b);
}

int bool_ptr_fprint(bool *const *field, FILE *stream) {
  return cell_fprint(field, stream);
}

void bool_ptr_deinit(bool **field) {
  cell_deinit(field);
}

int64_t *node_int_new(int64_t value) {
  return cell_new(value);
}

node *node_int_ptr_into_node(int64_t *const *field, node *target) {
  return cell_into_node(field, target);
}

bool node_int_ptr_from_node(int64_t **field, const node *n) {
  return cell_from_node(field, n, NODETREE_CALLER);
}

bool node_int_ptr_equals(int64_t *const *a, int64_t *const *b) {
  return cell_equals(a, b);
}

int node_int_ptr_fprint(int64_t *const *field, FILE *stream) {
  return cell_fprint(field, stream);
}

void node_int_ptr_deinit(int64_t **field) {
  cell_deinit(field);
}
