#include <nodetree/avl.h>

#include "tree.hpp"

#include <deque>
#include <random>

using test::check_avl;

namespace {

struct item {
  explicit item(int value) : key(value) { entry.key = &key; }
  item(const item &) = delete;
  int key;
  avl_node entry{};
};

// Counts its calls and remembers whether the searched key always came first.
struct probe {
  const void *searched = nullptr;
  int calls = 0;
  bool in_order = true;
};

int compare_ints(const void *a, const void *b, void *arg) {
  if (arg != nullptr) {
    auto *p = static_cast<probe *>(arg);
    p->calls++;
    p->in_order = p->in_order && a == p->searched;
  }
  int x = *static_cast<const int *>(a), y = *static_cast<const int *>(b);
  return (x > y) - (x < y);
}

int key_of(const avl_node *e) {
  return *static_cast<const int *>(e->key);
}

// "root(left,right)" of the tree part.
std::string shape(const avl_node *e) {
  if (e == nullptr)
    return "";
  std::string text = std::to_string(key_of(e));
  if (e->left != nullptr || e->right != nullptr)
    text += "(" + shape(e->left) + "," + shape(e->right) + ")";
  return text;
}

class Avl : public testing::TestWithParam<bool> {
protected:
  avl_node *add(int key) {
    avl_node *e = &items.emplace_back(key).entry;
    EXPECT_EQ(avl_insert(&tree, e), 0);
    return e;
  }
  std::vector<const avl_node *> list() const {
    std::vector<const avl_node *> all;
    for (const avl_node *e = tree.next; e != reinterpret_cast<const avl_node *>(&tree);
         e = e->next)
      all.push_back(e);
    return all;
  }
  std::deque<item> items;
  avl_tree tree{};
};

// Where several shapes would be balanced, it is this one.
TEST_F(Avl, DeletionsGiveTheDescribedShapes) {
  const struct {
    std::vector<int> inserted, deleted;
    const char *shape;
  } rows[] = {
      {{4, 2, 6, 1, 3, 5, 7}, {4, 5}, "6(2(1,3),7)"},
      // The successor takes the place that its own removal has rotated downwards.
      {{4, 2, 6, 1, 3, 5, 7}, {4, 5, 6}, "2(1,7(3,))"},
      {{2, 1, 4, 3, 5}, {1}, "4(2(,3),5)"},
      {{4, 2, 5, 1, 3}, {5}, "2(1,4(3,))"},
      {{5, 2, 8, 1, 3, 7, 10, 4, 6, 9, 11, 12}, {1}, "8(5(3(2,4),7(6,)),10(9,11(,12)))"}};
  for (const auto &row : rows) {
    avl_init(&tree, compare_ints, false, nullptr);
    for (int key : row.inserted)
      add(key);
    for (int key : row.deleted)
      avl_delete(&tree, avl_find(&tree, &key));
    EXPECT_EQ(shape(tree.root), row.shape);
    check_avl(&tree);
  }
}

TEST_F(Avl, InsertComparesOnceMoreThanTheDescent) {
  probe p;
  avl_init(&tree, compare_ints, true, &p);
  add(8);
  EXPECT_EQ(p.calls, 0) << "there was nothing to compare with";
  for (int key : {4, 12, 2, 6, 10, 14})
    add(key);
  const std::pair<int, int> rows[] = {{8, 1}, {4, 2}, {14, 3}, {6, 3}, {15, 3}, {1, 3}};
  for (auto [key, descent] : rows) {
    item fresh(key);
    p = probe{&fresh.key};
    avl_find(&tree, &fresh.key);
    EXPECT_EQ(p.calls, descent);
    ASSERT_EQ(avl_insert(&tree, &fresh.entry), 0);
    EXPECT_EQ(p.calls, 2 * descent + 1);
    avl_find_lessequal(&tree, &fresh.key);
    avl_find_greaterequal(&tree, &fresh.key);
    EXPECT_TRUE(p.in_order) << "the searched key was not the first argument";
    avl_delete(&tree, &fresh.entry);
    EXPECT_EQ(shape(tree.root), "8(4(2,6),12(10,14))");
  }
}

TEST_F(Avl, RefusedInsertionTouchesOnlyTheElementsTreeFields) {
  avl_init(&tree, compare_ints, false, nullptr);
  for (int key : {2, 1, 3})
    add(key);
  auto before = list();
  item fresh(3);
  avl_node junk{};
  fresh.entry = avl_node{&junk, &junk, &junk, &junk, &junk, &fresh.key, 7, false};
  EXPECT_EQ(avl_insert(&tree, &fresh.entry), -1);
  EXPECT_TRUE(fresh.entry.next == &junk && fresh.entry.prev == &junk);
  EXPECT_TRUE(!fresh.entry.parent && !fresh.entry.left && !fresh.entry.right);
  EXPECT_TRUE(fresh.entry.balance == 0 && fresh.entry.leader);
  EXPECT_EQ(list(), before);
  check_avl(&tree);
}

// Random insertions and deletions against a sorted array of the same elements.
TEST_P(Avl, AgreesWithASortedArray) {
  bool duplicates = GetParam();
  avl_init(&tree, compare_ints, duplicates, nullptr);
  std::mt19937 random(4711);
  auto below = [&](int limit) { return static_cast<int>(random() % unsigned(limit)); };
  std::vector<const avl_node *> model;
  auto range = [&](int key) {
    auto first = std::find_if(model.begin(), model.end(),
                              [=](const avl_node *e) { return key_of(e) >= key; });
    auto last = std::find_if(first, model.end(),
                             [=](const avl_node *e) { return key_of(e) > key; });
    return std::pair(first, last);
  };
  const size_t steps = test::scaled(6000);
  for (size_t step = 0; step < steps; step++) {
    bool growing = step / 500 % 2 == 0;
    if (model.empty() || below(10) < (growing ? 7 : 3)) {
      item &fresh = items.emplace_back(below(150));
      auto [first, last] = range(fresh.key);
      bool accepted = duplicates || first == last;
      ASSERT_EQ(avl_insert(&tree, &fresh.entry), accepted ? 0 : -1);
      if (accepted)
        model.insert(last, &fresh.entry);
    } else {
      auto victim = model.begin() + below(static_cast<int>(model.size()));
      auto *e = const_cast<avl_node *>(*victim);
      model.erase(victim);
      avl_delete(&tree, e);
      ASSERT_TRUE(e->next == nullptr && e->prev == nullptr);
    }
    ASSERT_EQ(list(), model);
    ASSERT_NO_FATAL_FAILURE(check_avl(&tree));
    for (int key : {below(154) - 2, below(154) - 2, -1, 150}) {
      auto [first, last] = range(key);
      ASSERT_EQ(avl_find(&tree, &key), first != last ? *first : nullptr);
      ASSERT_EQ(avl_find_greaterequal(&tree, &key),
                first != model.end() ? *first : nullptr);
      ASSERT_EQ(avl_find_lessequal(&tree, &key),
                last != model.begin() ? last[-1] : nullptr);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Duplicates, Avl, testing::Bool());

TEST(AvlStrcmp, OrdersTextsByUnsignedBytes) {
  const char *sorted[] = {"", "A", "a", "ab", "\x7f", "\xff"};
  for (size_t i = 0; i + 1 < std::size(sorted); i++) {
    EXPECT_LT(avl_strcmp(sorted[i], sorted[i + 1], nullptr), 0);
    EXPECT_GT(avl_strcmp(sorted[i + 1], sorted[i], nullptr), 0);
  }
}

} // namespace
