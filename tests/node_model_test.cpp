#include "tree.hpp"

using namespace test;

namespace {

TEST(NodeKinds, AreNamedAndTheirValuesNeverConverted) {
  const tree all = make("[null,{},[],-7,2.5,'text',true,'->/a/b',null]");
  const std::pair<const char *, bool (*)(const node *)> kinds[] = {
      {"null", node_is_null},       {"object", node_is_object}, {"array", node_is_array},
      {"integer", node_is_integer}, {"real", node_is_real},     {"string", node_is_string},
      {"boolean", node_is_boolean}, {"link", node_is_link},     {"unknown", nullptr}};
  node_array_get(all.get(), 8)->type = static_cast<node_type>(8);
  for (const node *n : children(all.get())) {
    const size_t kind = n->type;
    SCOPED_TRACE(kinds[kind].first);
    EXPECT_STREQ(node_type_to_string(n), kinds[kind].first);
    for (size_t other = 0; other < 8; other++)
      EXPECT_EQ(kinds[other].second(n), other == kind) << kinds[other].first;
    EXPECT_EQ(node_is_container(n), kind == NODE_OBJECT || kind == NODE_ARRAY);
    EXPECT_EQ(node_get_integer(n), kind == NODE_INTEGER ? -7 : 0);
    EXPECT_EQ(node_get_real(n), kind == NODE_REAL ? 2.5 : 0.0);
    EXPECT_EQ(node_get_boolean(n), kind == NODE_BOOLEAN);
    EXPECT_STREQ(node_get_string(n), kind == NODE_STRING ? "text" : nullptr);
    EXPECT_EQ(shown(node_get_link_path(n)), kind == NODE_LINK ? ";a;b;" : "NULL");
  }
}

TEST(NodeValues, TextsAndPathsAreCopiedUpToTheirLengthOrNul) {
  const std::vector<char> unended{'a', 'b', 'c'};
  auto cut = [](const char *text, size_t length) {
    return std::string(node_get_string(tree(node_new_stringn(text, length)).get()));
  };
  EXPECT_EQ(cut("abcdef", 3) + cut("ab", SIZE_MAX) + cut("ab", 0), "abcab");
  EXPECT_EQ(cut(unended.data(), 3) + cut("a\0b", 3), "abca");
  const std::string big(100000, 'x');
  const tree formatted(node_new_string_printf("%d-%s", 7, big.c_str()));
  EXPECT_EQ(node_get_string(formatted.get()), "7-" + big);
  EXPECT_EQ(shown(tree(node_new_string_printf("%s", "")).get()), "\"\"");
  wchar_t invalid[] = {0x7fffffff, 0}; // no byte form in any locale
  EXPECT_EQ(node_new_string_printf("%ls", invalid), nullptr);

  char own[] = "a", *path[] = {own, own, nullptr};
  const tree link(node_new_link(path)), empty(node_new_link(path + 2));
  own[0] = 'X';
  EXPECT_EQ(shown(node_get_link_path(link.get())), "a;a;");
  EXPECT_EQ(shown(node_get_link_path(empty.get())), "");
}

TEST(NodeValues, RecordsAreZeroWhereNothingIsSet) {
  auto *used = static_cast<volatile unsigned char *>(std::malloc(sizeof(node) + 8));
  std::fill_n(used, sizeof(node) + 8, 0xff);
  std::free(const_cast<unsigned char *>(used)); // reused by the next node
  const tree n(node_new_null());
  n->refcount--;
  const auto *byte = reinterpret_cast<const unsigned char *>(n.get());
  EXPECT_EQ(std::count(byte, byte + sizeof(node), 0), static_cast<long>(sizeof(node)));
  n->refcount++;
}

TEST(NodeReferences, FreeTakesTheNodeOutAndUnrefDoesNot) {
  const tree root = make("{'a':1,'b':[2],'c':3}");
  node *a = node_object_get(root.get(), "a"), *b = node_object_get(root.get(), "b");
  node_ref(a);
  EXPECT_TRUE(node_unref(a));
  EXPECT_EQ(a->parent, root.get());
  node_ref(a);
  node_free(a);
  check_free(a);
  EXPECT_EQ(a->refcount, 1u);
  EXPECT_FALSE(
      node_unref(b)); // drops the container's reference: the node is removed and destroyed
  EXPECT_EQ(show(root), "{'c':3}");
  check_tree(root.get());
  EXPECT_FALSE(node_unref(a));
}

// Every set of nodes that may be kept, with every way to release the tree above them: kept
// nodes live on, intact, and below kept ancestors.
TEST(NodeReferences, KeptNodesSurviveAnyRelease) {
  void (*const ways[])(node * holder) = {
      [](node *) {},
      [](node *holder) { node_clear(holder); },
      [](node *holder) { node_object_del(holder, "top"); },
      [](node *holder) { node_object_clear(holder); },
      [](node *holder) { node_free(node_object_first(holder)); },
      [](node *holder) { node_clear(node_object_first(holder)); },
  };
  for (const auto &way : ways)
    for (unsigned set = 0; set < 128; set++) {
      SCOPED_TRACE(testing::Message() << "way " << &way - ways << " kept " << set);
      tree holder = make("{'top':{'a':[{'c':1},'s'],'a long key':{'d':null}}}");
      const std::vector<node *> all = all_nodes(node_object_first(holder.get()));
      ASSERT_EQ(all.size(), 7u);
      std::vector<std::pair<tree, std::string>> kept;
      for (size_t i = 0; i < all.size(); i++)
        if ((set >> i & 1) != 0) {
          node_ref(all[i]);
          kept.emplace_back(all[i], show(all[i]));
        }
      way(holder.get());
      holder.reset();
      for (auto &[n, text] : kept) {
        const bool cleared = n.get() == all[0] && &way == ways + 5;
        EXPECT_EQ(show(n), cleared ? "null" : text);
        check_tree(n.get());
        if (n->parent == nullptr)
          check_free(n.get());
        EXPECT_EQ(n->refcount, n->parent != nullptr ? 2u : 1u);
        EXPECT_TRUE(std::any_of(kept.begin(), kept.end(), [&own = n](const auto &other) {
          return other.first.get() == node_root(own.get());
        }));
      }
      for (auto &[n, text] : kept)
        node_unref(n.release());
    }
}

TEST(NodeClear, MakesANullInPlace) {
  const tree root = make("{'a':'s','b':{'x':1},'c':[1,[2]],'d':'->/a','e':4}");
  for (node *child : children(root.get())) {
    node_ref(child);
    node_clear(child);
    EXPECT_TRUE(child->child_count == 0 && child->refcount == 2);
    node_clear(child); // the second call releases nothing twice
    node_unref(child);
  }
  EXPECT_EQ(show(root), "{'a':null,'b':null,'c':null,'d':null,'e':null}");
  check_tree(root.get());
}

} // namespace
