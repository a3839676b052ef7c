#include "tree.hpp"

#include <random>

using namespace test;

namespace {

TEST(Containers, RefusalsChangeNothing) {
  tree o = make(R"({"a key that is long":1,"l":[]})"), array(node_new_array());
  tree child(node_new_integer(2));
  node *held = node_object_first(o.get()), *l = node_object_get(o.get(), "l");
  for (const char *key : {"a key that is long", "l", static_cast<const char *>(nullptr)})
    EXPECT_FALSE(node_object_add(o.get(), key, child.get()));
  EXPECT_FALSE(node_object_add(nullptr, "b", child.get()));
  EXPECT_FALSE(node_object_add(array.get(), "b", child.get()));
  EXPECT_FALSE(node_object_add(o.get(), "b", nullptr));
  EXPECT_FALSE(node_object_add(o.get(), "b", held)) << "has a parent";
  EXPECT_FALSE(node_object_add(o.get(), "b", o.get())) << "is the object itself";
  for (auto put : {node_array_append, node_array_prepend})
    EXPECT_FALSE(put(nullptr, child.get()) || put(array.get(), nullptr) ||
                 put(o.get(), child.get()) || put(l, held) ||
                 put(array.get(), array.get()));
  check_free(child.get());
  EXPECT_EQ(compact(o.get()), R"({"a key that is long":1,"l":[]})");
  check_tree(o.get());
  check_tree(array.get());
}

TEST(Containers, WrongKindsHaveNothingAndDoNothing) {
  for (const char *text :
       {"null", "1", "2.5", "\"s\"", "true", "\"->/a\"", "[1]", "{\"0\":1}"}) {
    SCOPED_TRACE(text);
    tree owner = make(text), same = make(text), object = make(R"({"z":1})");
    node *n = owner.get(), *o = object.get(), *child = node_object_first(o);
    if (!node_is_object(n)) {
      EXPECT_TRUE(node_object_count(n) == 0 && node_object_first(n) == nullptr);
      EXPECT_TRUE(!node_object_next(n, child) && !node_object_get(n, "0"));
      node_object_del(n, "0");
      node_object_clear(n);
      node_object_move_children(n, o);
      node_object_move_children(o, n);
      EXPECT_EQ(compact(o), R"({"z":1})");
    }
    if (!node_is_array(n)) {
      EXPECT_TRUE(node_array_count(n) == 0 && node_array_first(n) == nullptr);
      EXPECT_TRUE(!node_array_next(n, child) && !node_array_get(n, 0));
      node_array_del(n, 0);
      node_array_clear(n);
    }
    EXPECT_EQ(node_array_get(n, SIZE_MAX), nullptr);
    EXPECT_TRUE(node_equals(n, same.get()));
    check_tree(n);
  }
}

TEST(MoveChildren, LeaveANullAndDropWhatTheDestinationHas) {
  tree target = make(R"({"own":0,"y":1})");
  tree holder = make(R"({"source":{"x":{"deep":[1]},"y":2,"z":3},"after":4})");
  node *source = node_object_get(holder.get(), "source");
  node *y = node_object_get(source, "y");
  node_ref(y);
  node_object_move_children(target.get(), source);
  EXPECT_EQ(compact(target.get()), R"({"own":0,"y":1,"x":{"deep":[1]},"z":3})");
  EXPECT_EQ(compact(holder.get()), R"({"source":null,"after":4})");
  EXPECT_EQ(node_object_get(holder.get(), "source"), source);
  check_free(y);
  EXPECT_FALSE(node_unref(y));
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
  auto find = [](list &l, const std::string &key) {
    return std::find_if(l.begin(), l.end(), [&](const auto &e) { return e.first == key; });
  };
  const auto steps = static_cast<int64_t>(scaled(5000));
  for (int64_t step = 0; step < steps; step++) {
    size_t side = random() % 2;
    node *o = objects[side].get(), *a = array.get();
    list &m = members[side];
    // Short keys are kept elsewhere than long ones.
    std::string number = std::to_string(random() % 40),
                key = random() % 2 == 0 ? number : number + "-abcdef";
    auto found = find(m, key);
    size_t at = random() % (elements.size() + 1);
    const size_t choice = random() % 100;
    if (choice < 40) {
      tree fresh(node_new_integer(step));
      bool added = node_object_add(o, key.c_str(), fresh.get());
      ASSERT_EQ(added, found == m.end());
      if (added) {
        fresh.release();
        m.emplace_back(key, step);
      }
    } else if (choice < 50) {
      node_object_del(o, key.c_str());
      if (found != m.end())
        m.erase(found);
    } else if (choice < 60 && found != m.end()) {
      node *taken = node_object_get(o, key.c_str());
      node_detach(taken); // a member becomes an element
      check_free(taken);
      elements.insert(elements.begin(), {std::to_string(elements.size()), found->second});
      ASSERT_TRUE(node_array_prepend(a, taken));
      m.erase(found);
    } else if (choice < 75) {
      elements.emplace_back(std::to_string(elements.size()), step);
      ASSERT_TRUE(node_array_append(a, node_new_integer(step)));
    } else if (choice < 97) {
      if (tree taken; choice % 2 != 0)
        node_array_del(a, at);
      else if (taken.reset(node_array_get(a, at)); taken != nullptr)
        node_detach(taken.get());
      if (at < elements.size())
        elements.erase(elements.begin() + static_cast<std::ptrdiff_t>(at));
    } else if (choice < 99) {
      node_object_move_children(o, objects[1 - side].get());
      for (const auto &e : members[1 - side])
        if (find(m, e.first) == m.end())
          m.push_back(e);
      objects[1 - side].reset(node_new_object());
      members[1 - side].clear();
    } else {
      node_array_clear(a);
      node_object_clear(o);
      elements.clear();
      m.clear();
    }
    const struct {
      const node *container;
      decltype(&node_object_first) first;
      decltype(&node_object_next) next;
      const list &expected;
    } checks[] = {{objects[0].get(), node_object_first, node_object_next, members[0]},
                  {objects[1].get(), node_object_first, node_object_next, members[1]},
                  {a, node_array_first, node_array_next, elements}};
    for (const auto &c : checks) {
      list walked;
      for (node *n = c.first(c.container); n != nullptr; n = c.next(c.container, n))
        walked.emplace_back(node_key(n), node_get_integer(n));
      ASSERT_EQ(walked, c.expected);
      ASSERT_NO_FATAL_FAILURE(check_tree(c.container));
    }
    ASSERT_EQ(node_object_count(o), m.size());
    node *element = node_array_get(a, at);
    ASSERT_EQ(element != nullptr, at < node_array_count(a));
    ASSERT_TRUE(element == nullptr || node_get_integer(element) == elements[at].second);
  }
}

TEST(Iterate, VisitsTheRootAndThenTheLeavesInDocumentOrder) {
  const struct {
    const char *tree, *root, *visited;
  } rows[] = {
      {R"({"a":[1,2],"b":{}})", "/", "/ /a/0 /a/1 /b "},
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
    node_array_clear(comb);
    EXPECT_EQ(comb->child_count, 0u);
    node_free(comb);
    tree target(node_new_object()), source(deep_tree(deep_levels, node_new_null()));
    node_object_move_children(target.get(), source.get());
    EXPECT_EQ(node_object_count(target.get()), 1u);
    node_object_clear(target.get());
    EXPECT_EQ(target->child_count, 0u);
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
