// The field types that hold a number or a boolean in a cell of its own, so that it may be
// absent.
#include "convert/mismatch.hpp"

#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <nodetree/convert.h>

using namespace nodetree;

namespace nodetree {
namespace {

// What tells the cell types apart.
template <class T>
struct Cell;

template <>
struct Cell<int> {
  static constexpr node_type kind = NODE_INTEGER;
  static constexpr const char *kind_name = "integer";
  static node *make(int value) { return node_new_integer(value); }
  // Modulo 2^32, which is what C++20 makes of the conversion.
  static int get(const node *n) { return static_cast<int>(n->value.integer); }
  static int print(int value, FILE *stream) { return std::fprintf(stream, "&%d", value); }
};

template <>
struct Cell<int64_t> {
  static constexpr node_type kind = NODE_INTEGER;
  static constexpr const char *kind_name = "integer";
  static node *make(int64_t value) { return node_new_integer(value); }
  static int64_t get(const node *n) { return n->value.integer; }
  static int print(int64_t value, FILE *stream) {
    return std::fprintf(stream, "&%" PRId64, value);
  }
};

template <>
struct Cell<bool> {
  static constexpr node_type kind = NODE_BOOLEAN;
  static constexpr const char *kind_name = "boolean";
  static node *make(bool value) { return node_new_boolean(value); }
  static bool get(const node *n) { return n->value.boolean; }
  static int print(bool value, FILE *stream) {
    return std::fprintf(stream, "&%s", value ? "true" : "false");
  }
};

// A cell that another language fills may hold any byte for true.
bool load(const bool *cell) {
  return *reinterpret_cast<const unsigned char *>(cell) != 0;
}

template <class T>
T load(const T *cell) {
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
  return *field ? Cell<T>::make(load(*field)) : node_new_null();
}

template <class T>
bool cell_from_node(T **field, const node *n, const char *function) {
  if (node_is_null(n)) {
    *field = nullptr;
    return true;
  }
  if (!*field && !(*field = cell_new<T>(0)))
    return false;
  if (n->type != Cell<T>::kind)
    return mismatch(function, __LINE__, n, Cell<T>::kind_name, n);
  **field = Cell<T>::get(n);
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
  return *field ? Cell<T>::print(load(*field), stream) : std::fputs("NULL", stream);
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
  return cell_from_node(field, n, __func__);
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
  return cell_from_node(field, n, __func__);
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
  return cell_from_node(field, n, __func__);
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
