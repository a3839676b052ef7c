#include "tree.hpp"

#include <random>

using namespace test;

namespace {

std::string keys(const node *container) {
  std::string text;
  for (const node *child : children(container))
    text += std::string(child->key) + " ";
  return text;
}

TEST(ObjectMembers, AreFoundByKeyAndWalkedInInsertionOrder) {
  tree o = make(R"({"b":1,"a":2,"":3,"B":4})");
  std::string walked;
  for (node *n = node_object_first(o.get()); n != nullptr; n = node_object_next(o.get(), n))
    walked += std::string(n->key) + " ";
  EXPECT_EQ(walked, "b a  B ");
  EXPECT_EQ(node_object_get(o.get(), "A"), nullptr);
  EXPECT_EQ(node_object_next(o.get(), nullptr), nullptr);
  check_tree(o.get());
}

TEST(ObjectMembers, RefusalsChangeNothing) {
  tree o = make(R"({"a":1,"l":[]})"), array(node_new_array()), child(node_new_integer(2));
  node *held = node_object_get(o.get(), "a"), *l = node_object_get(o.get(), "l");
  EXPECT_FALSE(node_object_add(o.get(), "a", child.get()));
  EXPECT_FALSE(node_object_add(nullptr, "b", child.get()));
  EXPECT_FALSE(node_object_add(o.get(), nullptr, child.get()));
  EXPECT_FALSE(node_object_add(array.get(), "b", child.get()));
  check_free(child.get());
  EXPECT_FALSE(node_object_add(o.get(), "b", nullptr));
  EXPECT_FALSE(node_object_add(o.get(), "b", held)) << "has a parent";
  EXPECT_FALSE(node_object_add(o.get(), "b", o.get())) << "is the object itself";
  EXPECT_FALSE(node_array_append(l, held) || node_array_prepend(l, held));
  EXPECT_FALSE(node_array_append(array.get(), array.get()));
  EXPECT_FALSE(node_array_prepend(array.get(), array.get()));
  for (auto put : {node_array_append, node_array_prepend})
    EXPECT_FALSE(put(nullptr, child.get()) || put(array.get(), nullptr) ||
                 put(o.get(), child.get()));
  EXPECT_EQ(node_object_get(o.get(), "a"), held);
  EXPECT_EQ(compact(o.get()), R"({"a":1,"l":[]})");
  check_tree(o.get());
  check_tree(array.get());
}

TEST(ArrayElements, KeysAreLabelsAndAccessIsByPosition) {
  tree a(node_new_array());
  for (int64_t i = 0; i < 3; i++)
    EXPECT_TRUE(node_array_append(a.get(), node_new_integer(i)));
  EXPECT_TRUE(node_array_prepend(a.get(), node_new_integer(9)));
  EXPECT_EQ(keys(a.get()), "3 0 1 2 ");
  EXPECT_EQ(node_get_integer(node_array_get(a.get(), 0)), 9);
  EXPECT_EQ(node_get_integer(node_array_get(a.get(), 3)), 2);
  for (size_t beyond : {size_t{4}, SIZE_MAX}) {
    EXPECT_EQ(node_array_get(a.get(), beyond), nullptr);
    node_array_del(a.get(), beyond);
  }
  EXPECT_EQ(node_array_count(a.get()), 4u);
  node_array_del(a.get(), 0);
  node_array_del(a.get(), 0);
  EXPECT_EQ(keys(a.get()), "1 2 ");
  EXPECT_TRUE(node_array_append(a.get(), node_new_null()));
  EXPECT_EQ(keys(a.get()), "1 2 2 ");
  check_tree(a.get());
}

TEST(Containers, WrongKindsHaveNothingAndDoNothing) {
  for (const char *text :
       {"null", "1", "2.5", "\"s\"", "true", "\"->/a\"", "[1]", "{\"0\":1}"}) {
    SCOPED_TRACE(text);
    tree n = make(text), same = make(text), object = make(R"({"z":1})");
    if (!node_is_object(n.get())) {
      EXPECT_EQ(node_object_count(n.get()), 0u);
      EXPECT_EQ(node_object_first(n.get()), nullptr);
      EXPECT_EQ(node_object_next(n.get(), node_object_first(object.get())), nullptr);
      EXPECT_EQ(node_object_get(n.get(), "0"), nullptr);
      node_object_del(n.get(), "0");
      node_object_clear(n.get());
      node_object_move_children(n.get(), object.get());
      node_object_move_children(object.get(), n.get());
      EXPECT_EQ(compact(object.get()), R"({"z":1})");
    }
    if (!node_is_array(n.get())) {
      EXPECT_EQ(node_array_count(n.get()), 0u);
      EXPECT_EQ(node_array_first(n.get()), nullptr);
      EXPECT_EQ(node_array_next(n.get(), node_object_first(object.get())), nullptr);
      EXPECT_EQ(node_array_get(n.get(), 0), nullptr);
      node_array_del(n.get(), 0);
      node_array_clear(n.get());
    }
    EXPECT_TRUE(node_equals(n.get(), same.get()));
    check_tree(n.get());
  }
}

TEST(MoveChildren, FollowTheOwnOnesWhichWin) {
  tree target = make(R"({"own":0,"y":1})");
  tree holder = make(R"({"source":{"x":{"deep":[1]},"y":2,"z":3},"after":4})");
  node *source = node_object_get(holder.get(), "source");
  node *y = node_object_get(source, "y"), *x = node_object_get(source, "x");
  node_ref(y);
  node_object_move_children(target.get(), source);
  EXPECT_EQ(compact(target.get()), R"({"own":0,"y":1,"x":{"deep":[1]},"z":3})");
  EXPECT_EQ(node_object_get(target.get(), "x"), x);
  EXPECT_EQ(compact(holder.get()), R"({"source":null,"after":4})");
  EXPECT_EQ(node_object_get(holder.get(), "source"), source);
  EXPECT_EQ(source->child_count, 0u);
  check_free(y);
  EXPECT_FALSE(node_unref(y));
  tree empty(node_new_object());
  node_object_move_children(target.get(), empty.get());
  EXPECT_TRUE(node_is_null(empty.get()));
  check_tree(target.get());
  check_tree(holder.get());
}

TEST(MoveChildren, RefusesToTieATreeToItself) {
  tree o = make(R"({"in":{"side":{}},"x":[]})");
  node *in = node_object_get(o.get(), "in");
  node_object_move_children(o.get(), o.get());
  node_object_move_children(in, o.get());
  node_object_move_children(node_object_get(in, "side"), o.get());
  EXPECT_EQ(compact(o.get()), R"({"in":{"side":{}},"x":[]})");
  node_object_move_children(o.get(), in); // upwards is fine
  EXPECT_EQ(compact(o.get()), R"({"in":null,"x":[],"side":{}})");
  check_tree(o.get());
}

// Random operations on two objects and an array against plain vectors.
TEST(Containers, AgreeWithVectorsUnderRandomUse) {
  using list = std::vector<std::pair<std::string, int64_t>>;
  std::mt19937 random(99);
  tree objects[2] = {tree(node_new_object()), tree(node_new_object())};
  tree array(node_new_array());
  list members[2], elements;
  auto erase_key = [](list &l, const std::string &key) {
    std::erase_if(l, [&](const auto &e) { return e.first == key; });
  };
  auto has = [](const list &l, const std::string &key) {
    return std::any_of(l.begin(), l.end(), [&](const auto &e) { return e.first == key; });
  };
  const int64_t steps = under_valgrind() ? 400 : 4000;
  for (int64_t step = 0; step < steps; step++) {
    size_t side = random() % 2;
    node *o = objects[side].get(), *a = array.get();
    list &m = members[side];
    std::string key = std::to_string(random() % 40);
    size_t at = random() % (elements.size() + 1);
    const size_t choice = random() % 100;
    if (choice < 40) {
      tree fresh(node_new_integer(step));
      bool added = node_object_add(o, key.c_str(), fresh.get());
      ASSERT_EQ(added, !has(m, key));
      if (added) {
        fresh.release();
        m.emplace_back(key, step);
      }
    } else if (choice < 50) {
      node_object_del(o, key.c_str());
      erase_key(m, key);
    } else if (node *taken = node_object_get(o, key.c_str());
               choice < 60 && taken != nullptr) {
      node_detach(taken); // a member becomes an element
      elements.insert(elements.begin(),
                      {std::to_string(elements.size()), node_get_integer(taken)});
      ASSERT_TRUE(node_array_prepend(a, taken));
      erase_key(m, key);
    } else if (choice < 75) {
      elements.emplace_back(std::to_string(elements.size()), step);
      ASSERT_TRUE(node_array_append(a, node_new_integer(step)));
    } else if (choice < 97) {
      node_array_del(a, at);
      if (at < elements.size())
        elements.erase(elements.begin() + static_cast<std::ptrdiff_t>(at));
    } else if (choice < 99) {
      node_object_move_children(o, objects[1 - side].get());
      for (const auto &e : members[1 - side])
        if (!has(m, e.first))
          m.push_back(e);
      objects[1 - side].reset(node_new_object());
      members[1 - side].clear();
    } else {
      node_array_clear(a);
      node_object_clear(o);
      elements.clear();
      m.clear();
    }
    const std::pair<const node *, const list *> checks[] = {
        {objects[0].get(), &members[0]}, {objects[1].get(), &members[1]}, {a, &elements}};
    for (auto [container, expected] : checks) {
      list found;
      for (const node *child : children(container))
        found.emplace_back(child->key, node_get_integer(child));
      ASSERT_EQ(found, *expected);
      ASSERT_NO_FATAL_FAILURE(check_tree(container));
    }
    if (at < elements.size()) {
      ASSERT_EQ(node_get_integer(node_array_get(a, at)), elements[at].second);
    }
  }
}

TEST(Iterate, VisitsTheRootAndThenTheLeavesInDocumentOrder) {
  const struct {
    const char *tree, *root, *visited;
  } rows[] = {
      {R"({"a":[1,2],"b":{}})", "/", "/ /a/0 /a/1 /b "},
      {R"({"a":[1,2],"b":{}})", "/a", "/a /a/0 /a/1 "},
      {R"([[[]],[[{"x":[null,"->/0"]}]],3])", "/", "/ /0/0 /1/0/0/x/0 /1/0/0/x/1 /2 "},
      {R"([[[]],[[{"x":[null,"->/0"]}]],3])", "/1/0", "/1/0 /1/0/0/x/0 /1/0/0/x/1 "},
      {"7", "/", "/ "}};
  for (const auto &row : rows) {
    tree t = make(row.tree);
    node *root = node_lookup(t.get(), row.root);
    std::string visited;
    for (node *n = root; !node_iterate_end(root, n); n = node_iterate(n))
      visited += where(n) + " ";
    EXPECT_EQ(visited, row.visited) << row.tree;
  }
  EXPECT_EQ(node_iterate(nullptr), nullptr);
  EXPECT_TRUE(node_iterate_end(tree(node_new_null()).get(), nullptr));
}

TEST(ContainerDepth, WalkAndClearNeedNoStackAndLinearTime) {
  on_small_stack([] {
    node *comb = node_new_array(); // two children a level: the next level and a leaf behind
    for (size_t level = 1; level < deep_levels; level++) {
      node *outer = node_new_array();
      node_array_append(outer, comb);
      node_array_append(outer, node_new_integer(static_cast<int64_t>(level)));
      comb = outer;
    }
    int64_t leaves = 0;
    for (node *n = node_iterate(comb); n != nullptr; n = node_iterate(n), leaves++)
      ASSERT_EQ(node_get_integer(n), leaves);
    EXPECT_EQ(leaves, static_cast<int64_t>(deep_levels));
    node *target = node_new_object(), *source = deep_tree(deep_levels, node_new_null());
    node_object_move_children(target, source);
    EXPECT_EQ(node_object_count(target), 1u);
    for (node *deep : {comb, source, target}) {
      node_array_clear(deep);
      node_object_clear(deep);
      EXPECT_EQ(deep->child_count, 0u);
      node_free(deep);
    }
  });
}

TEST(ContainerBreadth, ManyChildrenCostNoMoreEach) {
  on_small_stack([] {
    tree o(node_new_object()), moved(node_new_object()), a(node_new_array());
    for (size_t i = 0; i < wide_count; i++) {
      ASSERT_TRUE(node_object_add(o.get(), std::to_string(i).c_str(), node_new_null()));
      ASSERT_TRUE(
          (i % 2 != 0 ? node_array_append : node_array_prepend)(a.get(), node_new_null()));
    }
    check_tree(o.get());
    node_object_move_children(moved.get(), o.get());
    check_tree(moved.get());
    for (size_t i = wide_count; i-- > wide_count / 2;) {
      node_object_del(moved.get(), std::to_string(i).c_str());
      ASSERT_NE(node_array_get(a.get(), i), nullptr);
      node_array_del(a.get(), i); // at the end of what is left
      node_array_del(a.get(), 0);
      i--;
    }
    check_tree(a.get());
    node_clear(moved.get());
    EXPECT_TRUE(node_is_null(moved.get()));
  });
}

} // namespace
