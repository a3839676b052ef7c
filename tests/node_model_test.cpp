#include "tree.hpp"

using namespace test;

namespace {

TEST(NodeKinds, AreNamedAndTheirValuesNeverConverted) {
  tree all = make(R"([null,{},[],-7,2.5,"text",true,"->/a/b"])");
  const char *names[] = {"null", "object", "array",   "integer",
                         "real", "string", "boolean", "link"};
  decltype(&node_is_null) tests[] = {node_is_null,    node_is_object, node_is_array,
                                     node_is_integer, node_is_real,   node_is_string,
                                     node_is_boolean, node_is_link};
  const node zero{};
  for (node *n : children(all.get())) {
    size_t kind = static_cast<size_t>(*n->key - '0');
    SCOPED_TRACE(names[kind]);
    EXPECT_STREQ(node_type_to_string(n), names[kind]);
    for (size_t other = 0; other < 8; other++)
      EXPECT_EQ(tests[other](n), other == kind) << names[other];
    EXPECT_EQ(node_is_container(n), kind == NODE_OBJECT || kind == NODE_ARRAY);
    EXPECT_EQ(std::memcmp(&n->index, &zero.index, sizeof zero.index) == 0,
              kind != NODE_OBJECT);
    EXPECT_EQ(node_get_integer(n), kind == NODE_INTEGER ? -7 : 0);
    EXPECT_EQ(node_get_real(n), kind == NODE_REAL ? 2.5 : 0.0);
    EXPECT_EQ(node_get_boolean(n), kind == NODE_BOOLEAN);
    EXPECT_STREQ(node_get_string(n), kind == NODE_STRING ? "text" : nullptr);
    EXPECT_EQ(shown(node_get_link_path(n)), kind == NODE_LINK ? ";a;b;" : "NULL");
  }
  all->type = static_cast<node_type>(8);
  EXPECT_STREQ(node_type_to_string(all.get()), "unknown");
  EXPECT_FALSE(node_is_null(all.get()) || node_is_container(all.get()));
  all->type = NODE_ARRAY;
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
  char **none = nullptr;
  EXPECT_EQ(node_get_link_path(tree(node_new_link(none)).get()), nullptr);
  EXPECT_EQ(shown(node_get_link_path(tree(node_new_link(segment_list({}))).get())), "");
  std::vector<std::string> segments{"a", "b"};
  tree n(node_new_link(segment_list(segments)));
  segments[0][0] = 'X';
  EXPECT_EQ(shown(node_get_link_path(n.get())), "a;b;");
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
  void (*const ways[])(node * holder) = {
      [](node *) {},
      [](node *holder) { node_clear(holder); },
      [](node *holder) { node_object_del(holder, "top"); },
      [](node *holder) { node_object_clear(holder); },
      [](node *holder) { node_free(node_object_get(holder, "top")); },
      [](node *holder) { node_clear(node_object_get(holder, "top")); },
  };
  for (size_t way = 0; way < std::size(ways); way++)
    for (unsigned kept = 0; kept < 128; kept++) {
      bool clears = way + 1 == std::size(ways);
      SCOPED_TRACE(testing::Message() << "way " << way << " kept " << kept);
      node *holder =
          make(R"({"top":{"a":[{"c":1},"s"],"a long key":{"d":null}}})").release();
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
      EXPECT_FALSE(node_unref(holder));
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
