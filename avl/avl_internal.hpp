// What an index of our own needs to search with a comparison that the compiler can see.
#ifndef NODETREE_AVL_AVL_INTERNAL_HPP
#define NODETREE_AVL_AVL_INTERNAL_HPP

#include <nodetree/avl.h>

namespace nodetree {

// Where a search stopped: the element that is equal or would be the parent of the new one,
// NULL in an empty tree, and how the key compared with it.
struct Descent {
  avl_node *at;
  int result;
};

// `compare` takes a held key and says how the searched key compares with it.
template <class Compare>
[[gnu::always_inline]] inline Descent avl_descend(const avl_tree *tree,
                                                  const Compare &compare) {
  Descent found{nullptr, 0};
  for (avl_node *next = tree->root; next;) {
    found.at = next;
    found.result = compare(next->key);
    if (found.result == 0)
      break;
    // Without a branch, which nothing could predict.
    avl_node *const *side = found.result < 0 ? &next->left : &next->right;
    next = *side;
  }
  return found;
}

// Puts `element` beside the element where the descent for its key stopped without meeting
// an equal key.
void avl_link(avl_tree *tree, avl_node *element, Descent place);

} // namespace nodetree

#endif
