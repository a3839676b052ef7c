#include "tree.hpp"

using namespace test;

namespace {

struct kind {
  const char *name;
  node_type type;
  bool (*is)(const node *);
  node *(*make)();
};

const kind kinds[] = {
    {"null", NODE_NULL, node_is_null, [] { return node_new_null(); }},
    {"object", NODE_OBJECT, node_is_object, [] { return node_new_object(); }},
    {"array", NODE_ARRAY, node_is_array, [] { return node_new_array(); }},
    {"integer", NODE_INTEGER, node_is_integer, [] { return node_new_integer(-7); }},
    {"real", NODE_REAL, node_is_real, [] { return node_new_real(2.5); }},
    {"string", NODE_STRING, node_is_string, [] { return node_new_string("text"); }},
    {"boolean", NODE_BOOLEAN, node_is_boolean, [] { return node_new_boolean(true); }},
    {"link", NODE_LINK, node_is_link, [] { return new_link("/a/b"); }},
};

TEST(NodeKinds, NewNodesAreFreeRootsWhoseValuesAreNeverConverted) {
  const node zero{};
  for (const kind &k : kinds) {
    SCOPED_TRACE(k.name);
    tree n(k.make());
    EXPECT_TRUE(n->type == k.type && n->refcount == 1 && n->diff_hash == 0);
    EXPECT_STREQ(node_type_to_string(n.get()), k.name);
    for (const kind &other : kinds)
      EXPECT_EQ(other.is(n.get()), &other == &k) << other.name;
    EXPECT_EQ(node_is_container(n.get()), k.type == NODE_OBJECT || k.type == NODE_ARRAY);
    EXPECT_EQ(std::memcmp(&n->index, &zero.index, sizeof zero.index) == 0,
              k.type != NODE_OBJECT);
    check_free(n.get());
    check_tree(n.get());
    EXPECT_EQ(node_get_integer(n.get()), k.type == NODE_INTEGER ? -7 : 0);
    EXPECT_EQ(node_get_real(n.get()), k.type == NODE_REAL ? 2.5 : 0.0);
    EXPECT_EQ(node_get_boolean(n.get()), k.type == NODE_BOOLEAN);
    EXPECT_STREQ(node_get_string(n.get()), k.type == NODE_STRING ? "text" : nullptr);
    EXPECT_EQ(node_get_link_path(n.get()) != nullptr, k.type == NODE_LINK);
  }
}

TEST(NodeKinds, UnknownKindIsNamedAndReleased) {
  tree n(node_new_null());
  n->type = static_cast<node_type>(8);
  EXPECT_STREQ(node_type_to_string(n.get()), "unknown");
  EXPECT_FALSE(node_is_null(n.get()) || node_is_container(n.get()));
}

TEST(NodeValues, TextsAreCopiedUpToTheirLengthOrNul) {
  std::vector<char> unended{'a', 'b', 'c'};
  auto cut = [](const char *text, size_t length) {
    return std::string(node_get_string(tree(node_new_stringn(text, length)).get()));
  };
  EXPECT_EQ(cut("abcdef", 3) + cut("ab", SIZE_MAX) + cut("ab", 0), "abcab");
  EXPECT_EQ(cut(unended.data(), 3) + cut("a\0b", 3), "abca");
  EXPECT_EQ(node_new_string(nullptr), nullptr);
  EXPECT_EQ(node_new_stringn(nullptr, 3), nullptr);

  std::string big(100000, 'x');
  tree formatted(node_new_string_printf("%d-%s", 7, big.c_str()));
  EXPECT_EQ(node_get_string(formatted.get()), "7-" + big);
  wchar_t invalid[] = {0x7fffffff, 0}; // no byte form in any locale
  EXPECT_EQ(node_new_string_printf("%ls", invalid), nullptr);
}

TEST(NodeValues, LinksCopyTheirPath) {
  char **path = nullptr;
  EXPECT_EQ(node_get_link_path(tree(node_new_link(path)).get()), nullptr);
  segment_list none({});
  tree empty(node_new_link(none));
  ASSERT_NE(node_get_link_path(empty.get()), nullptr);
  EXPECT_EQ(node_get_link_path(empty.get())[0], nullptr);
  std::vector<std::string> segments{"a", "b"};
  tree n(node_new_link(segment_list(segments)));
  segments[0][0] = 'X';
  EXPECT_STREQ(node_get_link_path(n.get())[0], "a");
}

TEST(NodeReferences, FreeLeavesTheContainerButUnrefStaysInIt) {
  EXPECT_FALSE(node_unref(nullptr));
  node_ref(nullptr);
  node_free(nullptr);
  tree root = make(R"({"a":1,"b":[2],"c":3})");
  node *a = node_object_get(root.get(), "a"), *b = node_object_get(root.get(), "b");
  node_ref(a);
  EXPECT_TRUE(node_unref(a));
  EXPECT_EQ(a->parent, root.get());
  node_ref(a);
  node_free(a);
  check_free(a);
  EXPECT_EQ(a->refcount, 1u);
  EXPECT_EQ(node_object_get(root.get(), "a"), nullptr);
  EXPECT_FALSE(node_unref(b)); // the container's own reference: destroyed and taken out
  EXPECT_EQ(compact(root.get()), R"({"c":3})");
  check_tree(root.get());
  EXPECT_FALSE(node_unref(a));
}

// Every set of nodes that may be kept, under every way of releasing the tree above them: a
// node lives on when it or something above it was kept, and keeps its place below that.
TEST(NodeReferences, KeptNodesSurviveAnyRelease) {
  using release = void (*)(node * holder);
  const release ways[] = {
      [](node *holder) { node_free(holder); },
      [](node *holder) {
        node_clear(holder);
        node_free(holder);
      },
      [](node *holder) {
        node_object_del(holder, "top");
        node_free(holder);
      },
      [](node *holder) {
        node_object_clear(holder);
        node_free(holder);
      },
      [](node *holder) { EXPECT_FALSE(node_unref(holder)); },
      [](node *holder) {
        node_free(node_object_get(holder, "top"));
        node_free(holder);
      },
      [](node *holder) {
        node_clear(node_object_get(holder, "top"));
        node_free(holder);
      },
  };
  for (size_t way = 0; way < std::size(ways); way++)
    for (unsigned kept = 0; kept < 128; kept++) {
      bool clears = way + 1 == std::size(ways);
      SCOPED_TRACE(testing::Message() << "way " << way << " kept " << kept);
      node *holder = make(R"({"top":{"a":[{"c":1},"s"],"b":{"d":null}}})").release();
      node *top = node_object_get(holder, "top");
      std::vector<node *> all{top};
      std::vector<size_t> parent_of{0};
      for (size_t i = 0; i < all.size(); i++)
        for (node *child : children(all[i])) {
          all.push_back(child);
          parent_of.push_back(i);
        }
      ASSERT_EQ(all.size(), 7u);
      for (size_t i = 0; i < all.size(); i++)
        if (kept >> i & 1)
          node_ref(all[i]);
      ways[way](holder);
      std::vector<bool> alive(all.size());
      std::vector<node *> roots;
      for (size_t i = 0; i < all.size(); i++) {
        bool has_parent = i != 0 && alive[parent_of[i]] && !(clears && parent_of[i] == 0);
        alive[i] = (kept >> i & 1) || has_parent;
        if (!alive[i])
          continue;
        EXPECT_EQ(all[i]->parent, has_parent ? all[parent_of[i]] : nullptr);
        EXPECT_EQ(all[i]->refcount, (has_parent ? 1u : 0u) + (kept >> i & 1));
        if (has_parent)
          continue;
        check_free(all[i]);
        roots.push_back(all[i]);
      }
      tree refuge(node_new_object());
      for (size_t i = 0; i < roots.size(); i++)
        EXPECT_TRUE(node_object_add(refuge.get(), std::to_string(i).c_str(), roots[i]));
      for (size_t i = 0; i < all.size(); i++)
        if ((kept >> i & 1) && all[i]->refcount > 1) {
          EXPECT_TRUE(node_unref(all[i]));
        }
      check_tree(refuge.get());
    }
}

TEST(NodeDetach, HandsTheReferenceBack) {
  tree root = make(R"({"a":1,"b":{"x":[]},"c":[5,6]})");
  node_detach(root.get());
  tree b(node_object_get(root.get(), "b"));
  node_detach(b.get());
  check_free(b.get());
  EXPECT_EQ(b->refcount, 1u);
  EXPECT_EQ(node_object_get(root.get(), "b"), nullptr);
  node *c = node_object_get(root.get(), "c");
  tree five(node_array_get(c, 0));
  node_detach(five.get());
  check_free(five.get());
  check_tree(root.get());
  EXPECT_TRUE(node_array_append(c, b.release()));
  EXPECT_TRUE(node_object_add(root.get(), "b", five.release()));
  EXPECT_EQ(compact(root.get()), R"({"a":1,"c":[6,{"x":[]}],"b":5})");
  check_tree(root.get());
}

TEST(NodeClear, MakesANullInPlace) {
  tree root = make(R"({"a":"s","b":{"x":1},"c":[1,[2]],"d":"->/a","e":4})");
  for (node *child : children(root.get())) {
    std::string key = child->key;
    node_ref(child);
    node_clear(child);
    EXPECT_TRUE(node_is_null(child) && child->child_count == 0 && child->refcount == 2);
    EXPECT_EQ(child->key, key);
    EXPECT_EQ(node_object_get(root.get(), key.c_str()), child);
    EXPECT_EQ(node_get_string(child), nullptr);
    node_clear(child); // again: nothing is released twice
    node_unref(child);
  }
  EXPECT_EQ(compact(root.get()), R"({"a":null,"b":null,"c":null,"d":null,"e":null})");
  check_tree(root.get());
}

TEST(NodeDepth, ReleaseNeedsNoStack) {
  on_small_stack([] {
    node *kept = deep_tree(deep_levels / 2, node_new_integer(7));
    node_ref(kept);
    node *root = deep_tree(deep_levels / 2, kept);
    node_free(root);
    check_free(kept);
    EXPECT_EQ(node_object_count(kept), 1u);
    node_clear(kept);
    EXPECT_TRUE(node_is_null(kept) && kept->refcount == 1);
    EXPECT_FALSE(node_unref(kept));
    EXPECT_FALSE(node_unref(deep_tree(deep_levels, node_new_null())));
  });
}

} // namespace
