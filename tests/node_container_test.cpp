#include "tree.hpp"

#include <random>

using namespace test;

namespace {

TEST(Containers, RefusalsChangeNothing) {
  const tree o = make("{'a key that is long':1,'l':[]}"), child = make("3");
  node *held = node_object_first(o.get()), *l = node_object_get(o.get(), "l");
  for (const char *key : {"a key that is long", "l"})
    EXPECT_FALSE(node_object_add(o.get(), key, child.get()));
  for (node *unfree : {held, o.get()})
    EXPECT_FALSE(node_object_add(o.get(), "b", unfree));
  for (auto put : {node_array_append, node_array_prepend})
    EXPECT_FALSE(put(l, held) || put(l, l));
  check_free(child.get());
  EXPECT_EQ(show(o), "{'a key that is long':1,'l':[]}");
  check_tree(o.get());
}

TEST(MoveChildren, LeavesANullAndMakesNoCircle) {
  const struct {
    const char *tree, *destination, *source, *after;
  } rows[] = {
      {"{'to':{'own':0,'y':1},'o':{'x':{'deep':[1]},'y':2,'z':3},'after':4}", "to", "o",
       "{'to':{'own':0,'y':1,'x':{'deep':[1]},'z':3},'o':null,'after':4}"},
      {"{'in':{'side':{},'x':1},'x':[]}", "/", "in", "{'in':null,'x':[],'side':{}}"},
      {"{'in':{'side':{}},'x':[]}", "/", "/", "{'in':{'side':{}},'x':[]}"},
      {"{'in':{'side':{}},'x':[]}", "in/side", "/", "{'in':{'side':{}},'x':[]}"},
      {"{'a':{'x':1},'b':[2]}", "a", "b", "{'a':{'x':1},'b':[2]}"},
      {"{'a':{'x':1},'b':[2]}", "b", "a", "{'a':{'x':1},'b':[2]}"}};
  for (const auto &row : rows) {
    const tree t = make(row.tree);
    node *source = node_lookup(t.get(), row.source), *y = node_get_child(source, "y");
    node_ref(y); // what is dropped
    node_object_move_children(node_lookup(t.get(), row.destination), source);
    EXPECT_EQ(show(t), row.after);
    check_tree(t.get());
    if (y != nullptr) {
      check_free(y);
      EXPECT_FALSE(node_unref(y));
    }
  }
}

// Random operations on an object and an array against plain vectors of keys and values.
TEST(Containers, AgreeWithVectorsUnderRandomUse) {
  std::mt19937 random(99);
  const tree object(node_new_object()), array(node_new_array());
  using list = std::vector<std::pair<std::string, int64_t>>;
  list members, elements;
  const auto steps = static_cast<int64_t>(scaled(5000));
  for (int64_t step = 0; step < steps && !testing::Test::HasFailure(); step++) {
    // Short keys are stored differently from long ones.
    const std::string key =
        std::to_string(random() % 40) + (random() % 2 == 0 ? "" : "-abcdef");
    const auto found = std::find_if(members.begin(), members.end(),
                                    [&](const auto &e) { return e.first == key; });
    node *const member = node_object_get(object.get(), key.c_str());
    ASSERT_EQ(member != nullptr, found != members.end());
    const std::string label = std::to_string(elements.size());
    const size_t at = random() % (elements.size() + 1), choice = random() % 100;
    if (choice < 40 && member == nullptr) {
      ASSERT_TRUE(node_object_add(object.get(), key.c_str(), node_new_integer(step)));
      members.emplace_back(key, step);
    } else if (choice < 50 && member != nullptr) {
      node_object_del(object.get(), key.c_str());
      members.erase(found);
    } else if (choice < 60 && member != nullptr) { // a member becomes an element
      node_detach(member);
      check_free(member);
      ASSERT_TRUE(node_array_prepend(array.get(), member));
      elements.insert(elements.begin(), {label, found->second});
      members.erase(found);
    } else if (choice < 75) {
      ASSERT_TRUE(node_array_append(array.get(), node_new_integer(step)));
      elements.emplace_back(label, step);
    } else if (choice < 99) {
      node_array_del(array.get(), at);
      if (at < elements.size())
        elements.erase(elements.begin() + static_cast<std::ptrdiff_t>(at));
    } else {
      node_array_clear(array.get());
      node_object_clear(object.get());
      elements.clear();
      members.clear();
    }
    for (const auto &[t, expected] :
         {std::pair(object.get(), &members), {array.get(), &elements}}) {
      list held;
      for (const node *n : children(t))
        held.emplace_back(node_key(n), node_get_integer(n));
      ASSERT_EQ(held, *expected);
      check_tree(t);
    }
    ASSERT_EQ(node_object_count(object.get()), members.size());
    ASSERT_EQ(node_array_count(array.get()), elements.size());
    const node *element = node_array_get(array.get(), at);
    ASSERT_EQ(element != nullptr, at < elements.size());
    ASSERT_TRUE(element == nullptr || node_get_integer(element) == elements[at].second);
  }
}

TEST(Iterate, VisitsTheRootAndThenTheLeavesInDocumentOrder) {
  const char *const rows[][3] = {
      {"{'a':[1,2],'b':{}}", "/", "/ /a/0 /a/1 /b "},
      {"[[[]],[[{'x':[null,'->/0']}]],3]", "/", "/ /0/0 /1/0/0/x/0 /1/0/0/x/1 /2 "},
      {"[[[]],[[{'x':[null,'->/0']}]],3]", "/1/0", "/1/0 /1/0/0/x/0 /1/0/0/x/1 "},
      {"7", "/", "/ "}};
  for (const auto &[text, start, expected] : rows) {
    const tree t = make(text);
    node *root = node_lookup(t.get(), start);
    std::string visited, within;
    for (node *n = root; !node_iterate_end(root, n); n = node_iterate(n))
      visited += where(n) + " ";
    for (node *n = root; n != nullptr; n = node_iterate_within(root, n))
      within += where(n) + " ";
    EXPECT_EQ(visited, expected) << text;
    EXPECT_EQ(within, expected) << text;
  }
}

TEST(Iterate, NeedsNoStackAndLinearTime) {
  on_small_stack([] {
    tree comb(node_new_array()); // two children at each level: the next level and a leaf
    for (size_t level = 1; level < deep_levels; level++) {
      tree outer(node_new_array());
      node_array_append(outer.get(), comb.release());
      node_array_append(outer.get(), node_new_integer(static_cast<int64_t>(level)));
      comb = std::move(outer);
    }
    int64_t leaves = 0;
    for (node *n = comb.get(); (n = node_iterate_within(comb.get(), n)); leaves++)
      ASSERT_EQ(node_get_integer(n), leaves);
    EXPECT_EQ(leaves, static_cast<int64_t>(deep_levels));
  });
}

} // namespace
