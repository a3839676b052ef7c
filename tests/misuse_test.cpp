// Functions called with nodes of every wrong kind, and with NULL where the headers allow
// it: they find nothing and change nothing.
#include "tree.hpp"

using namespace test;

namespace {

// A call, true if it finds something, and the first letters of the kinds that it accepts.
#define CALL(right_kinds, call)                                                            \
  row {                                                                                    \
    right_kinds, #call, []([[maybe_unused]] node *n) -> bool { return call; }              \
  }
struct row {
  const char *right_kinds, *call;
  bool (*finds)(node *n);
};

char zero[] = "0", fresh[] = "new", *to_zero[] = {zero, nullptr},
     *to_fresh[] = {fresh, nullptr};

tree other() {
  return make("{'z':1}");
}

const row rows[] = {
    CALL("oa", node_get_child(n, "0") || node_lookup(n, "0") || node_lookup_sl(n, to_zero)),
    CALL("oa", node_try_lookup_sl(n, to_zero) != n),
    CALL("oa", node_lookup_glob(n, "0") || node_lookup_glob_sl(n, to_zero)),
    CALL("oa", node_lookup_glob(n, "*/0")),
    CALL("o", node_lookup_create(n, "new") || node_lookup_create_sl(n, to_fresh)),
    CALL("", node_follow_link(n)),
    CALL("l", node_try_follow_link(n)),
    CALL("o", node_object_count(n) || node_object_first(n) || node_object_next(n, n)),
    CALL("o", node_object_get(n, "0") || node_object_add(n, "new", other().get())),
    CALL("o", (node_object_del(n, "0"), node_object_clear(n), false)),
    CALL("o", (node_object_move_children(n, other().get()), false)),
    CALL("o", (node_object_move_children(other().get(), n), false)),
    CALL("", (node_object_move_children(n, n), false)),
    CALL("a", node_array_count(n) || node_array_first(n) || node_array_next(n, n)),
    CALL("a", node_array_get(n, 0) || node_array_append(n, other().get())),
    CALL("a", node_array_prepend(n, other().get())),
    CALL("a", (node_array_del(n, 0), node_array_clear(n), false)),
    CALL("oa", node_container_first(n)),
    CALL("", node_array_get(n, 1) || node_array_get(n, SIZE_MAX)),
    CALL("", (node_detach(n->parent), node_array_del(n, 1), false)),
    CALL("", (node_merge(n, n), node_merge(n, n->parent), node_merge(n->parent, n), false)),
    CALL("", node_lookup(n, nullptr) || node_lookup_sl(n, nullptr)),
    CALL("", node_try_lookup_sl(n, nullptr)),
    CALL("", node_lookup_glob(n, nullptr) || node_lookup_glob_sl(n, nullptr)),
    CALL("", node_lookup_create(n, nullptr) || node_lookup_create_sl(n, nullptr)),
    CALL("",
         node_object_add(n, nullptr, other().get()) || node_object_add(n, "x", nullptr)),
    CALL("", node_array_append(n, nullptr) || node_array_prepend(n, nullptr)),
    CALL("", node_container_next(n, nullptr) || !node_iterate_end(n, nullptr)),
    CALL("", node_object_next(n, nullptr) || node_array_next(n, nullptr)),
    CALL("", node_equals(n, nullptr) || node_equals(nullptr, n)),
    CALL("", node_equals_json(n, "") || expr_eval(nullptr, n, nullptr)),
    CALL("", (node_merge(n, nullptr), node_merge(nullptr, n), false)),
    CALL("", (node_filter(n, nullptr, nullptr, nullptr), false)),
    CALL("", !node_is_null(tree(node_diff(n, nullptr)).get())),
    CALL("l", !node_equals(tree(node_diff(nullptr, n)).get(), n))};

const row nulls[] = {
    CALL("", node_new_string(nullptr) || node_new_stringn(nullptr, 1)),
    CALL("", node_get_link_path(tree(node_new_link(nullptr)).get())),
    CALL("", (node_ref(nullptr), node_free(nullptr), node_unref(nullptr))),
    CALL("", node_is_null(nullptr) || node_is_object(nullptr) || node_is_array(nullptr)),
    CALL("", node_is_integer(nullptr) || node_is_real(nullptr) || node_is_string(nullptr)),
    CALL("", node_is_boolean(nullptr) || node_is_link(nullptr)),
    CALL("", node_is_container(nullptr) ||
                 strcmp(node_type_to_string(nullptr), "unknown") != 0),
    CALL("", node_get_integer(nullptr) || node_get_real(nullptr) != 0),
    CALL("", node_get_string(nullptr) || node_get_boolean(nullptr)),
    CALL("", node_get_link_path(nullptr) || node_key(nullptr) || node_parent(nullptr)),
    CALL("", node_path(nullptr) || node_path_sl(nullptr) || node_get_child(nullptr, "0")),
    CALL("", node_lookup(nullptr, "/0") || node_lookup_sl(nullptr, to_zero)),
    CALL("", node_try_lookup_sl(nullptr, to_zero) || node_lookup_glob(nullptr, "/*")),
    CALL("", node_lookup_glob_sl(nullptr, to_zero) || node_lookup_create(nullptr, "0")),
    CALL("", node_follow_link(nullptr) || node_try_follow_link(nullptr)),
    CALL("", node_container_first(nullptr) || node_container_next(nullptr, nullptr)),
    CALL("", node_object_count(nullptr) || node_object_get(nullptr, "0")),
    CALL("", node_object_first(nullptr) || node_object_next(nullptr, nullptr)),
    CALL("", node_array_count(nullptr) || node_array_get(nullptr, 0)),
    CALL("", node_array_first(nullptr) || node_array_next(nullptr, nullptr)),
    CALL("", (node_object_del(nullptr, "0"), node_object_clear(nullptr), false)),
    CALL("", (node_array_del(nullptr, 0), node_array_clear(nullptr), false)),
    CALL("", (node_detach(nullptr), node_clear(nullptr), false)),
    CALL("", (node_object_move_children(nullptr, n), false)),
    CALL("", (node_object_move_children(n, nullptr), false)),
    CALL("", node_object_add(nullptr, "new", other().get())),
    CALL("", node_array_append(nullptr, other().get())),
    CALL("", node_array_prepend(nullptr, other().get())),
    CALL("", node_iterate(nullptr) || node_root(nullptr) || !node_iterate_end(n, nullptr)),
    CALL("", node_copy(nullptr, 1) || node_clone(nullptr) || node_diff(nullptr, nullptr)),
    CALL("", json_stringify(nullptr, true) || node_equals_json(nullptr, "1")),
    CALL("", !node_equals(nullptr, nullptr) || node_prepare_diff_hash(nullptr)),
    CALL("", (msgpack_stream_free(nullptr), expr_coerce_bool(nullptr))),
    CALL("", (sl_free(nullptr), vl_free(nullptr, free), false))};

TEST(Misuse, FindsNothingAndChangesNothing) {
  const tree t = make("{'n':null,'o':{'0':[1]},'a':[[1]],'i':1,'r':2.5,'s':'0','b':true,"
                      "'l':'->/none'}"),
             before(node_clone(t.get()));
  for (node *n : children(t.get()))
    for (const row &r : rows) {
      EXPECT_TRUE(strchr(r.right_kinds, *n->key) != nullptr || !r.finds(n))
          << r.call << " of " << n->key;
      ASSERT_TRUE(node_equals(t.get(), before.get())) << r.call << " of " << n->key;
      check_tree(t.get());
    }
  for (const row &r : nulls)
    EXPECT_FALSE(r.finds(t.get())) << r.call;
  log_reader log;
  log_debug_hex(nullptr, 0);
  EXPECT_EQ(log.fresh(), "DEBUG: log_debug_hex: \n\n");
}

} // namespace
