// Searching an index with a comparison that the compiler can inline.
#ifndef NODETREE_AVL_AVL_INTERNAL_HPP
#define NODETREE_AVL_AVL_INTERNAL_HPP

#include <nodetree/avl.h>

namespace nodetree {

// Where a search stopped: the element that is equal or would be the parent of a new one,
// NULL in an empty tree, and the result of comparing the key with it.
struct Descent {
  avl_node *at;
  int result;
};

// Searches the tree below and at `next`, which may be NULL. `compare` takes a held key and
// returns the result of comparing the searched key with it.
template <class Compare>
[[gnu::always_inline]] inline Descent avl_descend(avl_node *next, const Compare &compare) {
  Descent found{nullptr, 0};
  while (next) {
    found.at = next;
    found.result = compare(next->key);
    if (found.result == 0)
      break;
    // Without a branch, which could not be predicted.
    avl_node *const *side = found.result < 0 ? &next->left : &next->right;
    next = *side;
  }
  return found;
}

// Inserts `element` at the element where the descent for its key stopped without finding an
// equal key.
void avl_link(avl_tree *tree, avl_node *element, Descent place);

} // namespace nodetree

#endif
