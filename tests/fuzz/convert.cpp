// A tree: every node is converted to every type of its kind and back.
#include "trees.hpp"

using namespace fuzz;

namespace {

bool is_text(const node *n) {
  return node_is_string(n);
}
bool is_null_or_text(const node *n) {
  return node_is_null(n) || node_is_string(n);
}
bool is_null_or_integer(const node *n) {
  return node_is_null(n) || node_is_integer(n);
}
bool is_null_or_boolean(const node *n) {
  return node_is_null(n) || node_is_boolean(n);
}
bool is_list(const node *n) {
  auto fails = [=](const node *at) { return at != n && !node_is_string(at); };
  return node_is_array(n) && !any(n, fails);
}

template <class Field>
struct type {
  bool (*fits)(const node *);
  bool (*from_node)(Field *, const node *);
  node *(*into_node)(const Field *, node *);
  void (*release)(Field *);

  void check(const node *n) const {
    Field field{}, again{};
    const bool taken = from_node(&field, n);
    require(taken == fits(n), "the kind decides");
    if (taken) {
      const tree back(into_node(&field, nullptr));
      require(from_node(&again, back.get()), "what was written is read");
      const tree last(into_node(&again, nullptr));
      require(same(back, last), "and stays what it is");
      if (node_is_integer(n))
        require(static_cast<int>(node_get_integer(n)) ==
                    static_cast<int>(node_get_integer(back.get())),
                "an integer keeps its low bits");
      else
        require(node_equals(n, back.get()), "a value is kept");
    }
    release(&field);
    release(&again);
  }
};

template <class Field>
void release_cell(Field *field) {
  std::free(*field);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  const tree top = grow(lines(data, size).next());
  for (const node *n : all(top)) {
    type<char *>{is_text, str_from_node, str_into_node, release_cell}.check(n);
    type<char *>{is_null_or_text, strn_from_node, strn_into_node, release_cell}.check(n);
    type<int *>{is_null_or_integer, int_ptr_from_node, int_ptr_into_node, int_ptr_deinit}
        .check(n);
    type<int64_t *>{is_null_or_integer, node_int_ptr_from_node, node_int_ptr_into_node,
                    node_int_ptr_deinit}
        .check(n);
    type<bool *>{is_null_or_boolean, bool_ptr_from_node, bool_ptr_into_node,
                 bool_ptr_deinit}
        .check(n);
    type<char **>{is_list, sl_from_node, sl_into_node,
                  [](char ***field) { sl_free(*field); }}
        .check(n);
  }
  require_unshared(top);
  return 0;
}
