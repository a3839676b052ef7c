// What functions of the tree make of every kind that they are not for, and of NULL.
#include "tree.hpp"

using namespace test;

namespace {

char zero[] = "0", fresh[] = "new", *to_zero[] = {zero, nullptr},
     *to_fresh[] = {fresh, nullptr};

node *first(void **list) {
  const values_owner owner(list);
  return list != nullptr ? static_cast<node *>(*list) : nullptr;
}

TEST(Misuse, FindsNothingAndChangesNothing) {
  const struct {
    const char *right_kinds; // as in the keys of the tree below
    std::function<node *(node *)> find;
    bool itself = false; // what other kinds give, otherwise NULL
  } rows[] = {
      {"oa", [](node *n) { return node_get_child(n, "0"); }},
      {"oa", [](node *n) { return node_lookup(n, "0"); }},
      {"oa", [](node *n) { return node_lookup_sl(n, to_zero); }},
      {"oa", [](node *n) { return node_try_lookup_sl(n, to_zero); }, true},
      {"oa", [](node *n) { return first(node_lookup_glob(n, "0")); }},
      {"oa", [](node *n) { return first(node_lookup_glob(n, "*/0")); }},
      {"o", [](node *n) { return node_lookup_create(n, "new"); }},
      {"o", [](node *n) { return node_lookup_create_sl(n, to_fresh); }},
      {"", [](node *n) { return node_follow_link(n); }},
      {"l", [](node *n) { return node_try_follow_link(n); }},
      {"", [](node *n) { return node_lookup_sl(n, nullptr); }},
      {"", [](node *n) { return first(node_lookup_glob_sl(n, nullptr)); }},
      {"", [](node *n) { return node_lookup_create(n, nullptr); }},
      {"", [](node *n) { return node_lookup_create_sl(n, nullptr); }},
      {"", [](node *n) { return node_container_next(n, nullptr); }},
  };
  const tree t = make(R"({"n":null,"o":{"0":[1]},"a":[[1]],"i":1,"r":2.5,"s":"0","b":true,)"
                      R"("l":"->/none"})"),
             before(node_clone(t.get()));
  for (node *n : children(t.get())) {
    for (const auto &row : rows)
      EXPECT_TRUE(strchr(row.right_kinds, *n->key) != nullptr ||
                  row.find(n) == (row.itself ? n : nullptr))
          << "row " << &row - rows << " of " << n->key;
    node_filter(n, nullptr, nullptr, nullptr);
    node_merge(n, n);
    node_merge(n, t.get());
    node_object_move_children(n, n);
    EXPECT_TRUE(node_iterate_end(n, nullptr));
    EXPECT_TRUE(node_equals(t.get(), before.get())) << n->key;
    check_tree(t.get());
  }
  msgpack_stream_free(nullptr);
  EXPECT_FALSE(expr_coerce_bool(nullptr));
  log_reader log;
  log_debug_hex(nullptr, 0);
  EXPECT_EQ(log.fresh(), "DEBUG: log_debug_hex: \n\n");
}

} // namespace
