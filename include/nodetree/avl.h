/*
 * avl_: an intrusive ordered index.
 *
 * The caller embeds an avl_node in its own record, points the node's `key` at the record's
 * key and inserts the node. The index keeps the nodes in a height-balanced tree, ordered by
 * the caller's comparator, and on a circular list in key order. It never allocates, copies
 * or releases anything.
 *
 * A walk in key order, with the record of each element:
 *
 *     for (avl_node *e = avl_first(&tree); e; e = avl_next(&tree, e))
 *       record *r = AVL_RECORD(e, record, by_name); ...
 *
 * If a tree allows duplicates, equal keys form a group. The first one inserted, the leader,
 * is in the tree; the others, the followers, are only in the list, behind it in the order
 * of insertion.
 *
 * No operation checks its arguments. Trees must be initialised and pointers not NULL. A key
 * must not change its order while its element is held, and an element must be in one tree
 * at a time. A tree must not be moved or copied, not even an empty one: it points at
 * itself. A tree needs no release.
 */
#ifndef NODETREE_AVL_H
#define NODETREE_AVL_H

#include <nodetree/export.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

NODETREE_BEGIN

/* The element that a caller embeds. All fields but `key` belong to the index. */
typedef struct avl_node {
  struct avl_node *next;   /* next element in key order; the tree itself after the last */
  struct avl_node *prev;   /* previous element; the tree itself before the first */
  struct avl_node *parent; /* NULL for the root and for followers */
  struct avl_node *left;   /* smaller keys */
  struct avl_node *right;  /* greater keys */
  const void *key;         /* set by the caller before the insertion; not copied */
  int8_t balance;          /* height of the right subtree minus height of the left one */
  bool leader;             /* false for a follower, which is only in the list */
} avl_node;

/* Returns a negative number, zero or a positive number if `key` sorts before, with or after
   `held_key`. The key that is searched for or inserted is always the first argument. `arg`
   is the tree's `compare_arg`. */
typedef int (*avl_comparator)(const void *key, const void *held_key, void *arg);

/* The tree is the anchor of its own list, so its first two fields are laid out like those
   of an avl_node. */
typedef struct avl_tree {
  avl_node *next;         /* first element; the tree itself when empty */
  avl_node *prev;         /* last element; the tree itself when empty */
  avl_node *root;         /* NULL when empty */
  uint32_t count;         /* elements held, followers included */
  bool allow_duplicates;  /* whether an element with a key that is held is accepted */
  avl_comparator compare; /* orders the keys */
  void *compare_arg;      /* passed to every call of `compare` */
} avl_tree;

/* Makes `tree` an empty tree with these settings. */
NODETREE_API void avl_init(avl_tree *tree, avl_comparator compare, bool allow_duplicates,
                           void *compare_arg);

/* The element whose key equals `key` (the leader of its group), or NULL. O(log n). */
NODETREE_API avl_node *avl_find(const avl_tree *tree, const void *key);

/* The last element in list order with a key less than or equal to `key`, or NULL. O(log n),
   plus the number of elements with the same key. */
NODETREE_API avl_node *avl_find_lessequal(const avl_tree *tree, const void *key);

/* The first element in list order with a key greater than or equal to `key`, or NULL.
   O(log n), plus the number of elements with the same key. */
NODETREE_API avl_node *avl_find_greaterequal(const avl_tree *tree, const void *key);

/* Inserts `element`, which has its `key`: 0. Returns -1 if the key is held and duplicates
   are not allowed; the tree is then unchanged, but not the element's own fields.
   O(log n). */
NODETREE_API int avl_insert(avl_tree *tree, avl_node *element);

/* Removes `element` from the tree that holds it and sets its `next` and `prev` to NULL. The
   first follower of a removed leader becomes the leader. O(log n). */
NODETREE_API void avl_delete(avl_tree *tree, avl_node *element);

/* The first element in list order, and the one after `element`, which the tree holds. NULL
   where there is none. A walk that deletes elements fetches the next one first. */
static inline avl_node *avl_first(const avl_tree *tree) {
  return tree->count != 0 ? tree->next : NODETREE_NULL;
}
static inline avl_node *avl_next(const avl_tree *tree, const avl_node *element) {
  return element != tree->prev ? element->next : NODETREE_NULL;
}

/* The record of type `type` whose field `field` is `element`, an `avl_node *`. */
#define AVL_RECORD(element, type, field)                                                   \
  NODETREE_CAST(                                                                           \
      type *,                                                                              \
      NODETREE_CAST(void *, NODETREE_CAST(char *, NODETREE_CAST(void *, (element))) -      \
                                offsetof(type, field)))

/* The comparator for keys that are C strings: strcmp(). `arg` is ignored. */
NODETREE_API int avl_strcmp(const void *key, const void *held_key, void *arg);

NODETREE_END

#endif
