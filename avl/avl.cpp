#include "avl/avl_internal.hpp"

#include <algorithm>
#include <cstring>

namespace nodetree {
namespace {

// Sides are numbers of opposite sign, so that a case and its mirror image are the same
// code.
constexpr int left_side = -1;
constexpr int right_side = 1;

avl_node *&child(avl_node *n, int side) {
  return side < 0 ? n->left : n->right;
}

int side_of(const avl_node *n) {
  return n->parent->left == n ? left_side : right_side;
}

avl_node *anchor(const avl_tree *tree) {
  return reinterpret_cast<avl_node *>(const_cast<avl_tree *>(tree));
}

void list_insert_after(avl_node *place, avl_node *element) {
  element->prev = place;
  element->next = place->next;
  place->next->prev = element;
  place->next = element;
}

// Makes the pointer down to `old` point to `replacement`, which may be NULL.
void replace_below_parent(avl_tree *tree, avl_node *old, avl_node *replacement) {
  if (!old->parent)
    tree->root = replacement;
  else
    child(old->parent, side_of(old)) = replacement;
}

// The child on `side` takes the place of `top`, which becomes its child on the other side.
// The new balances depend only on the old ones.
void rotate(avl_tree *tree, avl_node *top, int side) {
  avl_node *riser = child(top, side);
  replace_below_parent(tree, top, riser);
  riser->parent = top->parent;

  avl_node *inner = child(riser, -side);
  child(top, side) = inner;
  if (inner)
    inner->parent = top;
  child(riser, -side) = top;
  top->parent = riser;

  int top_lean = top->balance * side;
  int riser_lean = riser->balance * side;
  top_lean = top_lean - 1 - std::max(riser_lean, 0);
  riser_lean = riser_lean - 1 + std::min(top_lean, 0);
  top->balance = static_cast<int8_t>(top_lean * side);
  riser->balance = static_cast<int8_t>(riser_lean * side);
}

// Repairs `top`, which leans to `side` by two. The child there must not lean inwards when
// it rises.
void rotate_heavy(avl_tree *tree, avl_node *top, int side) {
  avl_node *heavy = child(top, side);
  if (heavy->balance == -side)
    rotate(tree, heavy, -side);
  rotate(tree, top, side);
}

void lean(avl_node *n, int by) {
  n->balance = static_cast<int8_t>(n->balance + by);
}

// The subtree of `n` has grown by one level.
void rebalance_after_insert(avl_tree *tree, avl_node *n) {
  for (; n->parent; n = n->parent) {
    avl_node *parent = n->parent;
    int side = side_of(n);
    lean(parent, side);
    if (parent->balance == 0)
      return;
    if (parent->balance == 2 * side) {
      rotate_heavy(tree, parent, side);
      return;
    }
  }
}

// The subtree below `parent` on `side` has lost one level.
void rebalance_after_delete(avl_tree *tree, avl_node *parent, int side) {
  while (parent) {
    avl_node *top = parent;
    lean(parent, -side);
    if (parent->balance == -side)
      return;
    if (parent->balance != 0) {
      bool keeps_height = child(parent, -side)->balance == 0;
      rotate_heavy(tree, parent, -side);
      if (keeps_height)
        return;
      top = parent->parent;
    }
    parent = top->parent;
    if (parent)
      side = side_of(top);
  }
}

// `heir` takes the place of `n` in the tree; the list is not touched.
void take_place(avl_tree *tree, avl_node *n, avl_node *heir) {
  replace_below_parent(tree, n, heir);
  heir->leader = true;
  heir->balance = n->balance;
  heir->parent = n->parent;
  heir->left = n->left;
  heir->right = n->right;
  if (heir->left)
    heir->left->parent = heir;
  if (heir->right)
    heir->right->parent = heir;
}

void remove_with_one_child_at_most(avl_tree *tree, avl_node *n) {
  avl_node *only = n->left ? n->left : n->right;
  avl_node *parent = n->parent;
  int side = parent ? side_of(n) : 0;
  replace_below_parent(tree, n, only);
  if (only)
    only->parent = parent;
  rebalance_after_delete(tree, parent, side);
}

void remove_from_tree(avl_tree *tree, avl_node *n) {
  if (!n->left || !n->right) {
    remove_with_one_child_at_most(tree, n);
    return;
  }
  avl_node *successor = n->right;
  while (successor->left)
    successor = successor->left;
  remove_with_one_child_at_most(tree, successor);
  take_place(tree, n, successor);
}

// Skips the followers: the group ends before the next leader in the tree.
avl_node *last_of_group(const avl_tree *tree, avl_node *leader) {
  if (leader->next == anchor(tree) || leader->next->leader)
    return leader;
  avl_node *next = leader->right;
  if (next) {
    while (next->left)
      next = next->left;
  } else {
    avl_node *below = leader;
    for (next = leader->parent; next && next->right == below; next = next->parent)
      below = next;
  }
  return next ? next->prev : tree->prev;
}

Descent descend(const avl_tree *tree, const void *key) {
  return avl_descend(tree->root, [&](const void *held) {
    return tree->compare(key, held, tree->compare_arg);
  });
}

} // namespace

void avl_link(avl_tree *tree, avl_node *element, Descent place) {
  element->balance = 0;
  element->leader = true;
  element->parent = place.at;
  element->left = element->right = nullptr;
  tree->count++;
  if (!place.at) {
    list_insert_after(anchor(tree), element);
    tree->root = element;
    return;
  }
  if (place.result < 0) {
    list_insert_after(place.at->prev, element);
    place.at->left = element;
  } else {
    list_insert_after(last_of_group(tree, place.at), element);
    place.at->right = element;
  }
  lean(place.at, place.result < 0 ? left_side : right_side);
  if (place.at->balance != 0)
    rebalance_after_insert(tree, place.at);
}

} // namespace nodetree

using namespace nodetree;

void avl_init(avl_tree *tree, avl_comparator compare, bool allow_duplicates,
              void *compare_arg) {
  tree->next = tree->prev = anchor(tree);
  tree->root = nullptr;
  tree->count = 0;
  tree->allow_duplicates = allow_duplicates;
  tree->compare = compare;
  tree->compare_arg = compare_arg;
}

avl_node *avl_find(const avl_tree *tree, const void *key) {
  Descent found = descend(tree, key);
  return found.result == 0 ? found.at : nullptr;
}

avl_node *avl_find_lessequal(const avl_tree *tree, const void *key) {
  Descent found = descend(tree, key);
  avl_node *held = found.at;
  if (!held)
    return nullptr;
  for (int result = found.result; result < 0;) {
    held = held->prev;
    if (held == anchor(tree))
      return nullptr;
    result = tree->compare(key, held->key, tree->compare_arg);
  }
  while (held->next != anchor(tree) &&
         tree->compare(key, held->next->key, tree->compare_arg) >= 0)
    held = held->next;
  return held;
}

avl_node *avl_find_greaterequal(const avl_tree *tree, const void *key) {
  Descent found = descend(tree, key);
  avl_node *held = found.at;
  if (!held)
    return nullptr;
  for (int result = found.result; result > 0;) {
    held = held->next;
    if (held == anchor(tree))
      return nullptr;
    result = tree->compare(key, held->key, tree->compare_arg);
  }
  while (held->prev != anchor(tree) &&
         tree->compare(key, held->prev->key, tree->compare_arg) <= 0)
    held = held->prev;
  return held;
}

int avl_insert(avl_tree *tree, avl_node *element) {
  element->balance = 0;
  element->leader = true;
  element->parent = element->left = element->right = nullptr;
  Descent place = descend(tree, element->key);
  // The comparator is called once more for the neighbour, as callers may count on.
  if (place.at)
    place.result = tree->compare(element->key, place.at->key, tree->compare_arg);
  if (!place.at || place.result != 0) {
    avl_link(tree, element, place);
    return 0;
  }
  if (!tree->allow_duplicates)
    return -1;
  element->leader = false;
  list_insert_after(last_of_group(tree, place.at), element);
  tree->count++;
  return 0;
}

void avl_delete(avl_tree *tree, avl_node *element) {
  avl_node *next = element->next;
  if (element->leader) {
    if (tree->allow_duplicates && next != anchor(tree) && !next->leader)
      take_place(tree, element, next);
    else
      remove_from_tree(tree, element);
  }
  element->prev->next = next;
  next->prev = element->prev;
  element->next = element->prev = nullptr;
  tree->count--;
}

int avl_strcmp(const void *key, const void *held_key, void *) {
  return std::strcmp(static_cast<const char *>(key), static_cast<const char *>(held_key));
}
