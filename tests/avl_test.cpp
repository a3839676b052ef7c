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
  avl_node entry; // before an insertion only the key in it is valid
};

// If `searched` points to a key, that must be the first argument.
int compare_ints(const void *a, const void *b, void *searched) {
  const void *first = searched ? *static_cast<const void **>(searched) : nullptr;
  EXPECT_TRUE(first == nullptr || a == first);
  int x = *static_cast<const int *>(a), y = *static_cast<const int *>(b);
  return (x > y) - (x < y);
}

int key_of(const avl_node *e) {
  return *static_cast<const int *>(e->key);
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

// Random insertions and deletions against a sorted array of the same elements.
TEST_F(Avl, AgreesWithASortedArray) {
  std::mt19937 random(4711);
  auto below = [&](size_t limit) { return static_cast<int>(random() % limit); };
  for (const bool duplicates : {false, true}) {
    const void *searched = nullptr;
    avl_init(&tree, compare_ints, duplicates, &searched);
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
      ASSERT_STREQ(record::broken(&tree), nullptr);
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
        searched = &key;
        ASSERT_EQ(avl_find(&tree, &key), first != last ? *first : nullptr);
        ASSERT_EQ(avl_find_greaterequal(&tree, &key),
                  first != model.end() ? *first : nullptr);
        ASSERT_EQ(avl_find_lessequal(&tree, &key),
                  last != model.begin() ? last[-1] : nullptr);
        searched = nullptr;
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

TEST(AvlComparison, InsertComparesTheNeighbourAgain) {
  int calls = 0;
  avl_tree tree;
  avl_init(
      &tree,
      [](const void *a, const void *b, void *count) {
        ++*static_cast<int *>(count);
        return compare_ints(a, b, nullptr);
      },
      false, &calls);
  item a(1), b(2);
  avl_insert(&tree, &a.entry);
  avl_insert(&tree, &b.entry);
  EXPECT_EQ(calls, 2);
}

} // namespace
