/*
 * node_: the tree of typed values.
 *
 * A node is null, an object (named members), an array, a 64-bit integer, a double, a text,
 * a boolean or a link (a stored path to another node of the same tree). It knows its parent
 * and its key there, so a tree can be walked in both directions and every node has a path.
 *
 * References. A constructor returns a node with one reference, owned by the caller. Putting
 * the node into a container hands that reference over; node_detach() hands it back. To keep
 * a node longer than its container, add a reference with node_ref().
 *
 * Keys. A member's key is its name, unique in the object. An array element's key is a
 * label: the number of elements the array had when the element was put in. Labels equal
 * positions as long as elements are only appended; nothing is ever renumbered. Paths made
 * by node_path() show keys; lookups in arrays count positions.
 *
 * Callers may read all fields, but only the library writes them.
 */
#ifndef NODETREE_NODE_H
#define NODETREE_NODE_H

#include <nodetree/avl.h>
#include <nodetree/export.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

NODETREE_BEGIN

/* The kind of a node, which determines the member of `value` that is in use. */
typedef enum node_type
#ifdef __cplusplus
    : uint32_t
#endif
{ NODE_NULL = 0,    /* no value */
  NODE_OBJECT = 1,  /* value.children, also indexed by key */
  NODE_ARRAY = 2,   /* value.children */
  NODE_INTEGER = 3, /* value.integer */
  NODE_REAL = 4,    /* value.real */
  NODE_STRING = 5,  /* value.string */
  NODE_BOOLEAN = 6, /* value.boolean */
  NODE_LINK = 7 /* value.link_path */ } node_type;

/* The head of a circular list of children, and a child's place in it. */
typedef struct node_list {
  struct node_list *next; /* of a head: the first child, or the head itself */
  struct node_list *prev; /* of a head: the last child, or the head itself */
} node_list;

/* A value and its place in a tree. Made only by the constructors below. */
typedef struct node {
  node_type type; /* the kind */
  union {
    int64_t integer;    /* integers */
    double real;        /* reals */
    char *string;       /* strings; never NULL */
    bool boolean;       /* booleans */
    char **link_path;   /* links: a string list with one segment per entry */
    node_list children; /* objects and arrays; linked through list_entry, in order */
  } value;              /* the value, by kind */
  avl_tree index;       /* objects: the children by key; all zero for other kinds */
  size_t child_count;   /* 0 for kinds other than objects and arrays */
  char *key;            /* NULL without a parent */
  avl_node index_entry; /* the place in the parent object's index */
  node_list list_entry; /* the place among the parent's children; NULL without a parent */
  struct node *parent;  /* NULL for a root */
  uint32_t refcount;    /* see node_ref() */
  uint32_t diff_hash;   /* 0 until computed; see node_prepare_diff_hash() */
} node;

/* Receives each value that a stream has completed, and owns it from then on. It is called
   inside the call that fed the stream, under the caller's locale. It must not free that
   stream, and cannot feed it: such calls return false. */
typedef void (*node_value_callback)(node *value, void *user_data);

/* ---- Making nodes ---- */

/* A new root with one reference, owned by the caller; NULL when memory runs out. Objects
   and arrays are empty. */
NODETREE_API node *node_new_null(void);
NODETREE_API node *node_new_object(void);
NODETREE_API node *node_new_array(void);
NODETREE_API node *node_new_integer(int64_t value);
NODETREE_API node *node_new_real(double value);
NODETREE_API node *node_new_boolean(bool value);

/* A string node with a copy of the text. NULL when `text` is NULL or memory runs out. */
NODETREE_API node *node_new_string(const char *text);

/* A string node with a copy of at most the first `length` bytes of the text; a NUL ends it
   earlier. NULL when `text` is NULL or memory runs out. */
NODETREE_API node *node_new_stringn(const char *text, size_t length);

/* A string node with a text formatted as by printf(). NULL when formatting fails or memory
   runs out. */
NODETREE_API node *node_new_string_printf(const char *format, ...) NODETREE_PRINTF(1, 2);

/* A link with a copy of the target path, a string list that may be NULL. node_follow_link()
   says which paths resolve. NULL when memory runs out. */
NODETREE_API node *node_new_link(char **path);

/* ---- Kinds and values ---- */

/* Whether the node is of this kind; a container is an object or an array. False for
   NULL. */
NODETREE_API bool node_is_null(const node *n);
NODETREE_API bool node_is_object(const node *n);
NODETREE_API bool node_is_array(const node *n);
NODETREE_API bool node_is_integer(const node *n);
NODETREE_API bool node_is_real(const node *n);
NODETREE_API bool node_is_string(const node *n);
NODETREE_API bool node_is_boolean(const node *n);
NODETREE_API bool node_is_link(const node *n);
NODETREE_API bool node_is_container(const node *n);

/* The name of the kind, a constant: "null", "object", "array", "integer", "real", "string",
   "boolean" or "link"; "unknown" for NULL and for any other number. */
NODETREE_API const char *node_type_to_string(const node *n);

/* The value of a node of this kind. For other kinds and for NULL: 0, 0.0, false, or NULL
   for a text or path. Kinds are not converted: the integer of a real is 0. Texts and lists
   are borrowed from the node. */
NODETREE_API int64_t node_get_integer(const node *n);
NODETREE_API double node_get_real(const node *n);
NODETREE_API const char *node_get_string(const node *n);
NODETREE_API bool node_get_boolean(const node *n);
NODETREE_API char **node_get_link_path(const node *n);

/* The node's key, borrowed; NULL for a root and for NULL. */
NODETREE_API const char *node_key(const node *n);

/* ---- References and release ---- */

/* Adds a reference, which is dropped by node_unref() or node_free(). NULL is ignored. */
NODETREE_API void node_ref(node *n);

/* Drops a reference. True when the node still exists; it then stays in its container, if it
   has one. False for NULL and when the last reference is gone: the node is destroyed as by
   node_free(). O(n) in the subtree when it is destroyed. */
NODETREE_API bool node_unref(node *n);

/* Takes the node out of its container, even if other references remain, and drops one
   reference. With the last reference the node is destroyed and drops its container's
   reference to each child; a child that has other references becomes a root. NULL is
   ignored. O(n) in the subtree. */
NODETREE_API void node_free(node *n);

/* Takes the node out of its container and hands the container's reference to the caller.
   Does nothing for a root and for NULL. O(log n) in an object's members. */
NODETREE_API void node_detach(node *n);

/* Releases value and children and makes the node null. It keeps its parent, key, place and
   references. NULL is ignored. O(n) in the subtree. */
NODETREE_API void node_clear(node *n);

/* ---- Containers: the children of objects and arrays, in order ---- */

/* The first child; NULL when there is none and for a node that is no container. */
NODETREE_API node *node_container_first(const node *container);

/* The child after `child`; NULL after the last one and for a NULL child. A walk that
   removes or moves children, by this function or by those below, fetches the next child
   first. */
NODETREE_API node *node_container_next(const node *container, const node *child);

/* Appends `child` as the member `key`, which is copied, and takes over the caller's
   reference: true. False, with nothing changed and the child still owned by the caller, for
   a NULL argument, a non-object, a key that the object has, a child that has a parent or is
   the object itself, and when memory runs out. The child must not be an ancestor of the
   object; this is not checked. O(log n). */
NODETREE_API bool node_object_add(node *object, const char *key, node *child);

/* The number of members, the first one, and the one after `child`. 0 or NULL for other
   kinds; NULL where there is no such member. */
NODETREE_API size_t node_object_count(const node *object);
NODETREE_API node *node_object_first(const node *object);
NODETREE_API node *node_object_next(const node *object, const node *child);

/* The member with exactly this key, or NULL. O(log n). */
NODETREE_API node *node_object_get(const node *object, const char *key);

/* Releases the member with this key, if there is one, by node_free(). O(log n) and the
   member's subtree. */
NODETREE_API void node_object_del(node *object, const char *key);

/* Releases every member, in order, by node_free(). O(n) in the subtree. */
NODETREE_API void node_object_clear(node *object);

/* Moves all members of the object `source` behind those of the object `destination` and
   makes `source` a null node. A member whose key the destination has is dropped by
   node_unref(). Does nothing unless both are objects, they differ, and the destination lies
   outside the source. Arrays are not moved from: their labels could collide with members.
   O(n log n) and the depth of the destination. */
NODETREE_API void node_object_move_children(node *destination, node *source);

/* Adds an element at the end or at the front and takes over the caller's reference: true.
   False, with the child still owned by the caller, for a NULL argument, a non-array, and a
   child that has a parent or is the array itself. The child must not be an ancestor of the
   array; this is not checked. When memory runs out for the label, the element is added
   without a key. */
NODETREE_API bool node_array_append(node *array, node *child);
NODETREE_API bool node_array_prepend(node *array, node *child);

/* The number of elements, the first one, and the one after `child`. 0 or NULL for other
   kinds; NULL where there is no such element. */
NODETREE_API size_t node_array_count(const node *array);
NODETREE_API node *node_array_first(const node *array);
NODETREE_API node *node_array_next(const node *array, const node *child);

/* The element at a position counted from 0, or NULL. O(n): walks from the nearer end. */
NODETREE_API node *node_array_get(const node *array, size_t index);

/* Releases the element at a position, if there is one, by node_free(). O(n) and the
   element's subtree. */
NODETREE_API void node_array_del(node *array, size_t index);

/* Releases every element, in order, by node_free(). O(n) in the subtree. */
NODETREE_API void node_array_clear(node *array);

/* One step of a depth-first walk over the leaves (nodes without children) of a tree: the
   first leaf below `n`, or the next leaf after it if it is one. NULL after the last leaf
   and for NULL. A step costs the levels that it passes, O(1) on average over a walk. */
NODETREE_API node *node_iterate(node *n);

/* True when `cursor` is NULL or lies outside the subtree of `root`. O(depth), so as the end
   of a walk through a deep tree it takes quadratic time; use node_iterate_within()
   there. */
NODETREE_API bool node_iterate_end(const node *root, const node *cursor);

/* The step of node_iterate() confined to the subtree of `root`, which contains `n`: NULL
   after its last leaf. The walk over a subtree visits its root first:
       for (node *n = root; n; n = node_iterate_within(root, n)) ...
   O(1) on average over the walk. */
static inline node *node_iterate_within(const node *root, node *n) {
  if (n->child_count != 0)
    return node_iterate(n);
  for (; n != root; n = n->parent) {
    node *next = node_container_next(n->parent, n);
    if (next)
      return next->child_count != 0 ? node_iterate(next) : next;
  }
  return NODETREE_NULL;
}

/*
 * ---- Paths, lookup and links ----
 *
 * A path is a sequence of segments: a text in which "/" separates them, or a string list.
 * If the first segment is empty (a leading "/"), the path starts at the root of the tree,
 * otherwise at the given node. ".." is the parent, "." the node itself, "*" in glob lookups
 * every child. Any other segment is a member's key, or an element's position as strtol()
 * reads it with base 0 ("010" is 8). A "/" at the end of a text is ignored; there is no
 * escaping. An empty or NULL path finds nothing, and nothing is found from NULL. A lookup
 * that passes through a link continues in the link's target. Found nodes are borrowed. Each
 * segment costs one search: O(log n) in an object, O(n) in an array.
 */

/* The container that holds the node; NULL for a root and for NULL. */
NODETREE_API node *node_parent(const node *n);

/* The top of the node's tree; NULL for NULL. O(depth). */
NODETREE_API node *node_root(const node *n);

/* The node's absolute path as a new text, "/" for a root. NULL for NULL and when memory
   runs out. If the node or an ancestor has no key, the path holds only the keys below the
   nearest such node. O(depth). */
NODETREE_API char *node_path(const node *n);

/* The same as a new string list: "" and then the keys from the top down. */
NODETREE_API char **node_path_sl(const node *n);

/* The child that one segment names: a member by key, an element by position. "..", "." and
   "*" are ordinary keys here. NULL where there is none. */
NODETREE_API node *node_get_child(const node *container, const char *segment);

/* The node that a path names, or NULL. A link at the end of the path is returned as the
   link. */
NODETREE_API node *node_lookup(const node *start, const char *path);
NODETREE_API node *node_lookup_sl(const node *start, char **path);

/* The target of a link. A path that begins with "" is looked up from the root, one that
   begins with ".." from the link, whose parent is the link's own container. NULL for any
   other path, a non-link, a target that does not exist, a path that passes through the link
   itself, and when memory runs out. Memory is needed only for long paths and for paths
   through other links. A target that is a link is returned as the link. Costs a lookup of
   the path and of the paths of the links that it passes through, and the depth of the tree
   for a path from the root. */
NODETREE_API node *node_follow_link(const node *n);

/* The lenient lookup: where a step fails, the last node before it. NULL only for an empty
   path. Here ".." and "." apply to a link's target, not to the link, and a step passes
   through up to two links in a row. */
NODETREE_API node *node_try_lookup_sl(const node *start, char **path);

/* node_follow_link() by the lenient lookup: for a dangling link, the last node on its path
   that exists. If a link with a path from ".." does resolve, ".." is taken from its target,
   so use node_follow_link() first. */
NODETREE_API node *node_try_follow_link(const node *n);

/* All nodes that a glob path matches, as a new value list in document order. NULL when
   nothing matches, when memory runs out, and beyond the limit of convention 12. A node is
   listed as often as it is matched. When "*" meets a null child before the end of the path,
   that child is a match. Empty segments after the first name the member with the empty key.
   Costs a search for each child that a "*" meets. */
NODETREE_API void **node_lookup_glob(const node *start, const char *path);
NODETREE_API void **node_lookup_glob_sl(const node *start, char **path);

/* The node that a path names. Missing members on the way, and the last one, are made as
   empty objects. NULL when a new member would have to go into something other than an
   object, and when memory runs out; members made before stay. ".." above the root makes a
   member of that name, which no path finds again: a second call returns NULL. */
NODETREE_API node *node_lookup_create(node *start, const char *path);
NODETREE_API node *node_lookup_create_sl(node *start, char **path);

/* ---- Whole trees ----
 *
 * O(n) in the tree, plus a search for each member whose objects differ in order.
 * node_fprint() also costs the length of what it writes. */

/* A deep copy as a new root, owned by the caller. NULL for NULL and for an unknown kind.
   `links` says what happens to links:
     0 keeps them as links.
     1 replaces each by a copy of its final target. A link is left out when it dangles,
     leads
       back to itself, or leads to a container that holds it, directly or through the links
       that it was reached by.
     Any other number leaves them all out.
   NULL, with nothing left allocated, when memory runs out and beyond the limit of
   convention
   12. */
NODETREE_API node *node_copy(const node *n, int links);

/* node_copy() with 0: links stay links. */
NODETREE_API node *node_clone(const node *n);

/* Whether two trees have the same structure and values. Members may be in any order,
   elements may not; links are compared by their paths, reals by ==; an integer never equals
   a real. NULL equals only NULL. */
NODETREE_API bool node_equals(const node *a, const node *b);

/* Writes one line "PATH=VALUE" for each leaf that is no container, depth first. A node that
   is no container gives its value alone, NULL gives "NULL". Strings are written without
   quotes or escapes, a link's path in parentheses. When memory runs out for a path, its
   line begins with "=". */
NODETREE_API void node_fprint(const node *n, FILE *stream);

/*
 * ---- Merge and filter: edits of whole trees that move nodes instead of copying them ----
 */

/* Folds `source` into `target`, then releases `source` by node_free(). Members of two
   objects are combined by key, at all levels; new members go behind those of the target.
   Elements of two arrays are appended with new labels. Any other value, null included,
   replaces the target's. The target stays the same node in the same place. If `source` has
   other references, it is left null when it was a container or a string.

   Does nothing, and `source` stays with the caller, when one is NULL, they are the same or
   one lies inside the other. A value of an unknown kind, and a link when memory runs out
   for its path, replace nothing. O(n log n) in the source and the depths. */
NODETREE_API void node_merge(node *target, node *source);

/* Cuts `tree` down in place. `include` and `exclude` are lists of glob paths.

   First, unless `include` is empty, everything that it does not match is dropped. Matched
   subtrees keep their absolute paths. A container above them that was not matched itself
   becomes a new object, even if it was an array. If `tree` is no object and something is
   included, it becomes an object, or what "." matched; the rest of it is dropped without
   being listed in *removed.

   Then what `exclude` matches is released; `tree` itself becomes null in its place.

   Unless `removed` is NULL, the absolute paths of all dropped leaves other than empty
   containers are appended to the list *removed, which may be NULL.

   Patterns may overlap or match a node several times. A match that contains `tree` is
   skipped. Included matches are merged in the order in which they are found. Where two
   cannot be combined, the later one replaces the earlier, which is dropped without being
   listed; this happens when an element is matched before the rest of its array.

   When memory runs out for a pattern, nothing is known to match it: `include` keeps nothing
   for the pattern, `exclude` makes the whole tree null, and *removed may lack paths.

   A pattern visits each container once for each "*" in it, in however many ways links and
   ".." lead there. O(n log n) in the tree for each "*", and the depths of the matches. */
NODETREE_API void node_filter(node *tree, char **include, char **exclude, char ***removed);

/*
 * ---- Difference ----
 */

/* The sdbm hash of `length` bytes, continued from `seed`. O(length). */
NODETREE_API uint32_t hash_sdbm(const void *data, size_t length, uint32_t seed);

/* Computes the hashes of the node and of all nodes below it that have none yet, stores them
   in diff_hash, and returns the node's hash. A hash of 0 is not stored. Null, empty
   containers and strings, the integer 0, the real +0.0, arrays of only such values, and
   links that dangle or lead to a container that holds them have the hash 0.

   Nothing resets a hash when a tree is changed, so prepare trees that no longer change.
   Nothing below a node with a hash is visited, and no target of a link with one. A link
   gets the hash of the next node on its chain that has one, as do the links between them.

   When memory runs out, and beyond the limit of convention 12, returns 0; containers that
   are not finished have no hash then. 0 for NULL. O(n); O(1) for a node with a hash. */
NODETREE_API uint32_t node_prepare_diff_hash(node *n);

/* The difference from `from` to `to` as a new tree, owned by the caller; NULL for no
   difference. Of two objects or two arrays it is an object of the children that differ, by
   key or position. Children that only `from` has are null there. Children that only `to`
   has, or that differ in kind or value, are copies of those of `to` with links resolved.

   Links are compared by their final targets. If the two chains differ in length, the links
   differ. A pair of links that is met again inside its own comparison counts as equal.
   Nodes with the same stored hash count as equal.

   NULL and NULL do not differ. From a node to NULL the difference is a null node, from NULL
   to a node a copy of that node.

   When memory runs out, and beyond the limit of convention 12, what could not be compared
   is reported as different: as a copy of what `to` has, or else as null. It is left out
   only when there is no memory for a null node; the result is then at least a null node.
   NULL for trees that differ is possible only if memory runs out before the first node is
   made.

   O(n log n). Pairs that several links lead to are compared once, unless they differ and
   contain links that lead back to them. */
NODETREE_API node *node_diff(const node *from, const node *to);

NODETREE_END

#endif
