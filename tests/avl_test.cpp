#include <nodetree/avl.h>

#include "tree.hpp"

#include <algorithm>
#include <deque>
#include <random>

namespace {

struct item {
  explicit item(int value)
      : key(value), entry{&entry, &entry, &entry, &entry, &entry, &key, 7, false} {}
  item(const item &) = delete;
  int key;
  avl_node entry; // an insertion finds nothing useful in it but the key
};

// Counts its calls, and those in which the searched key came first.
struct probe {
  const void *searched = nullptr;
  int calls = 0, in_order = 0;
};

int compare_ints(const void *a, const void *b, void *arg) {
  if (auto *p = static_cast<probe *>(arg)) {
    p->calls++;
    p->in_order += a == p->searched;
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
  const std::string below = shape(e->left) + "," + shape(e->right);
  return std::to_string(key_of(e)) + (below != "," ? "(" + below + ")" : "");
}

class Avl : public testing::Test {
protected:
  void add(std::initializer_list<int> keys) {
    for (int key : keys)
      EXPECT_EQ(avl_insert(&tree, &items.emplace_back(key).entry), 0);
  }
  std::deque<item> items;
  avl_tree tree{};
};

// Where several shapes would be balanced, it is this one.
TEST_F(Avl, DeletionsGiveTheDescribedShapes) {
  const struct {
    std::initializer_list<int> inserted, deleted;
    const char *shape;
  } rows[] = {
      // The successor takes the place that its own removal has rotated downwards.
      {{4, 2, 6, 1, 3, 5, 7}, {4, 5, 6}, "2(1,7(3,))"},
      {{2, 1, 4, 3, 5}, {1}, "4(2(,3),5)"},
      {{5, 2, 8, 1, 3, 7, 10, 4, 6, 9, 11, 12}, {1}, "8(5(3(2,4),7(6,)),10(9,11(,12)))"}};
  for (const auto &row : rows) {
    avl_init(&tree, compare_ints, false, nullptr);
    add(row.inserted);
    for (int key : row.deleted)
      avl_delete(&tree, avl_find(&tree, &key));
    EXPECT_EQ(shape(tree.root), row.shape);
  }
}

TEST_F(Avl, InsertComparesOnceMoreThanTheDescent) {
  probe p;
  avl_init(&tree, compare_ints, true, &p);
  add({8});
  EXPECT_EQ(p.calls, 0) << "there was nothing to compare with";
  add({4, 12, 2, 6, 10, 14});
  const std::pair<int, int> descents[] = {{8, 1}, {4, 2}, {14, 3}, {15, 3}, {1, 3}};
  for (auto [key, calls] : descents) {
    item fresh(key);
    p = probe{&fresh.key};
    avl_find(&tree, &fresh.key);
    EXPECT_EQ(p.calls, calls);
    EXPECT_EQ(avl_insert(&tree, &fresh.entry), 0);
    EXPECT_EQ(p.calls, 2 * calls + 1);
    avl_find_lessequal(&tree, &fresh.key);
    avl_find_greaterequal(&tree, &fresh.key);
    EXPECT_EQ(p.in_order, p.calls) << "the searched key was not the first argument";
    avl_delete(&tree, &fresh.entry);
  }
}

// Random insertions and deletions against a sorted array of the same elements.
TEST_F(Avl, AgreesWithASortedArray) {
  std::mt19937 random(4711);
  auto below = [&](size_t limit) { return static_cast<int>(random() % limit); };
  for (const bool duplicates : {false, true}) {
    avl_init(&tree, compare_ints, duplicates, nullptr);
    std::vector<avl_node *> model;
    for (size_t step = 0; step < test::scaled(6000); step++) {
      const bool growing = step / 500 % 2 == 0;
      if (model.empty() || below(10) < (growing ? 7 : 3)) {
        item &fresh = items.emplace_back(below(150));
        const auto first = std::ranges::lower_bound(model, fresh.key, {}, key_of),
                   last = std::ranges::upper_bound(model, fresh.key, {}, key_of);
        const bool accepted = duplicates || first == last;
        ASSERT_EQ(avl_insert(&tree, &fresh.entry), accepted ? 0 : -1);
        if (accepted)
          model.insert(last, &fresh.entry);
      } else {
        const auto victim = model.begin() + below(model.size());
        avl_delete(&tree, *victim);
        ASSERT_TRUE((*victim)->next == nullptr && (*victim)->prev == nullptr);
        model.erase(victim);
      }
      ASSERT_NO_FATAL_FAILURE(test::check_avl(&tree));
      avl_node *held = avl_first(&tree);
      for (const avl_node *e : model) {
        ASSERT_EQ(held, e);
        ASSERT_EQ(AVL_RECORD(held, item, entry)->key, key_of(e));
        held = avl_next(&tree, held);
      }
      ASSERT_EQ(held, nullptr);
      ASSERT_EQ(tree.count, model.size());
      for (int key : {below(154) - 2, below(154) - 2, -1, 150}) {
        const auto first = std::ranges::lower_bound(model, key, {}, key_of),
                   last = std::ranges::upper_bound(model, key, {}, key_of);
        ASSERT_EQ(avl_find(&tree, &key), first != last ? *first : nullptr);
        ASSERT_EQ(avl_find_greaterequal(&tree, &key),
                  first != model.end() ? *first : nullptr);
        ASSERT_EQ(avl_find_lessequal(&tree, &key),
                  last != model.begin() ? last[-1] : nullptr);
      }
    }
  }
}

TEST_F(Avl, InsertionPassesOverAGroup) {
  avl_init(&tree, compare_ints, true, nullptr);
  test::on_small_stack([this] {
    for (size_t i = 0; i < 2 * test::wide_count; i++)
      add({i == 1 ? 2 : 1});
  });
}

TEST(AvlStrcmp, OrdersTextsByUnsignedBytes) {
  EXPECT_LT(avl_strcmp("\x7f", "\xff", nullptr), 0);
  EXPECT_GT(avl_strcmp("ab", "a", nullptr), 0);
  EXPECT_EQ(avl_strcmp("a", std::string("a").c_str(), nullptr), 0);
}

} // namespace
