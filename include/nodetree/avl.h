/*
 * avl_: an intrusive ordered index.
 *
 * The caller embeds an avl_node in its own record, points the node's `key` at the record's
 * key and inserts the node; the index orders the nodes with the caller's comparator in a
 * height-balanced tree and threads all of them on one circular list in key order. It never
 * allocates, copies or releases anything, so nothing here can run out of memory.
 *
 * A walk in key order, with the record that holds each element:
 *
 *     for (avl_node *e = avl_first(&tree); e; e = avl_next(&tree, e))
 *       record *r = AVL_RECORD(e, record, by_name); ...
 *
 * Equal keys form a group where the tree allows duplicates: the first one inserted leads
 * the group and stands in the tree, the others follow it in the list in insertion order.
 *
 * No operation checks its arguments: trees are initialised, pointers are not NULL, a key
 * keeps its order while its element is held, and an element is in one tree at a time. A
 * tree must not be moved or copied, an empty one either: it points at itself. To discard a
 * tree, forget it.
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
  const void *key;         /* set by the caller before insertion */
  int8_t balance;          /* height of the right subtree minus height of the left one */
  bool leader;             /* false for a follower, which stands in the list only */
} avl_node;

/* Negative, zero or positive as `key` sorts before, with or after `held_key`. The key that
   is searched for or inserted always comes first. `arg` is the tree's `compare_arg`. */
typedef int (*avl_comparator)(const void *key, const void *held_key, void *arg);

/* The first two fields are laid out as those of an avl_node: the tree is the anchor of its
   own list. */
typedef struct avl_tree {
  avl_node *next;         /* first element; the tree itself when empty */
  avl_node *prev;         /* last element; the tree itself when empty */
  avl_node *root;         /* NULL when empty */
  uint32_t count;         /* elements held, followers included */
  bool allow_duplicates;  /* whether an element whose key is held already is accepted */
  avl_comparator compare; /* orders the keys */
  void *compare_arg;      /* handed to every call of `compare` */
} avl_tree;

/* Makes `tree` empty and stores the three settings. */
NODETREE_API void avl_init(avl_tree *tree, avl_comparator compare, bool allow_duplicates,
                           void *compare_arg);

/* The element whose key equals `key` (the leader of its group), or NULL. O(log n). */
NODETREE_API avl_node *avl_find(const avl_tree *tree, const void *key);

/* The last element in list order whose key is less than or equal to `key`, or NULL.
   O(log n) and the elements of the group that it ends. */
NODETREE_API avl_node *avl_find_lessequal(const avl_tree *tree, const void *key);

/* The first element in list order whose key is greater than or equal to `key`, or NULL.
   O(log n) and the elements of the group that it leads. */
NODETREE_API avl_node *avl_find_greaterequal(const avl_tree *tree, const void *key);

/* Puts `element`, its `key` set, into the tree: 0, or -1 when the key is held already and
   duplicates are not allowed; nothing but the element's own tree fields has changed then.
   O(log n). */
NODETREE_API int avl_insert(avl_tree *tree, avl_node *element);

/* Takes `element` out of the tree that holds it and sets its `next` and `prev` to NULL. The
   first follower of a leader takes over the lead. O(log n). */
NODETREE_API void avl_delete(avl_tree *tree, avl_node *element);

/* The first element in list order, and the one after `element`, which the tree holds; NULL
   where there is none. A walk that deletes fetches the next one first. */
static inline avl_node *avl_first(const avl_tree *tree) {
  return tree->count != 0 ? tree->next : NODETREE_NULL;
}
static inline avl_node *avl_next(const avl_tree *tree, const avl_node *element) {
  return element != tree->prev ? element->next : NODETREE_NULL;
}

/* The record of type `type` that holds `element`, an `avl_node *`, as its field `field`. */
#define AVL_RECORD(element, type, field)                                                   \
  NODETREE_CAST(                                                                           \
      type *,                                                                              \
      NODETREE_CAST(void *, NODETREE_CAST(char *, NODETREE_CAST(void *, (element))) -      \
                                offsetof(type, field)))

/* The comparator of trees keyed by texts: strcmp of the two keys. `arg` is ignored. */
NODETREE_API int avl_strcmp(const void *key, const void *held_key, void *arg);

NODETREE_END

#endif
