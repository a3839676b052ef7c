// Random trees, for tests that compare the library with slow models.
#ifndef NODETREE_TESTS_RANDOM_TREE_HPP
#define NODETREE_TESTS_RANDOM_TREE_HPP

#include "tree.hpp"

#include <random>

namespace test {

class dice {
public:
  explicit dice(unsigned seed) : engine(seed) {}
  unsigned operator()(size_t sides) { return static_cast<unsigned>(engine() % sides); }

private:
  std::mt19937 engine;
};

// Containers of one to three children above some of the given leaves.
inline node *random_tree(dice &roll, int depth, const std::vector<const char *> &leaves) {
  static const char *const keys[] = {"a", "b", "0"};
  unsigned kind = depth > 0 ? roll(4) : 0;
  if (kind == 0)
    return make(leaves[roll(leaves.size())]).release();
  node *made = kind < 3 ? node_new_object() : node_new_array();
  for (unsigned first = roll(3), i = 0, count = 1 + roll(3); i < count; i++) {
    node *child = random_tree(roll, depth - 1, leaves);
    EXPECT_TRUE(kind < 3 ? node_object_add(made, keys[(first + i) % 3], child)
                         : node_array_append(made, child));
  }
  return made;
}

} // namespace test

#endif
