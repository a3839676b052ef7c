/*
 * node_: the tree of typed values.
 *
 * A node is null, an object (named members), an array, a 64-bit integer, a double, a text,
 * a boolean or a link (a stored path to another node of the same tree). It knows its parent
 * and its key there, so that a tree is walked both ways and every node can name its own
 * path.
 *
 * References. A constructor returns a node with one reference, the caller's. Putting the
 * node into a container hands that reference over; node_detach() hands it back. A caller
 * that keeps a node beyond the life of its container adds a reference of its own.
 *
 * Keys. A member's key is its name, unique in the object. An array element's key is a
 * label: the number of elements the array had when it was put in. Labels equal positions
 * while elements are only appended; nothing is ever renumbered. Paths made by node_path()
 * print keys; lookups in arrays count positions.
 *
 * Fields may be read by anyone; they are written by this library alone.
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

/* The kind of a node, and which part of its record holds the value. */
typedef enum node_type
#ifdef __cplusplus
    : uint32_t
#endif
{ NODE_NULL = 0,    /* no value */
  NODE_OBJECT = 1,  /* value.children, by key too */
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

/* A value and its place in a tree. Made by the constructors below only. */
typedef struct node {
  node_type type; /* which part of `value` holds */
  union {
    int64_t integer;    /* integers */
    double real;        /* reals */
    char *string;       /* strings; never NULL */
    bool boolean;       /* booleans */
    char **link_path;   /* string list, one segment an entry */
    node_list children; /* objects and arrays; linked through list_entry, in order */
  } value;              /* the value, by kind */
  avl_tree index;       /* objects: the children by key; all zero for other kinds */
  size_t child_count;   /* 0 for other kinds than containers */
  char *key;            /* NULL without a parent */
  avl_node index_entry; /* the place in the parent object's index */
  node_list list_entry; /* the place among the parent's children; NULL without a parent */
  struct node *parent;  /* NULL for a root */
  uint32_t refcount;    /* see node_ref() */
  uint32_t diff_hash;   /* 0 until computed */
} node;

/* What a stream does with each value that it has completed: it takes the value over
   (consumes it). It runs inside the call that fed the stream, under the caller's own locale,
   and must not free that stream; feeding it is refused (false). */
typedef void (*node_value_callback)(node *value, void *user_data);

/* ---- Making nodes ---- */

/* A new root with one reference, the caller's; NULL when memory runs out. Objects and arrays
   are empty. */
NODETREE_API node *node_new_null(void);
NODETREE_API node *node_new_object(void);
NODETREE_API node *node_new_array(void);
NODETREE_API node *node_new_integer(int64_t value);
NODETREE_API node *node_new_real(double value);
NODETREE_API node *node_new_boolean(bool value);

/* A string node holds a copy of the text, never a NULL text: a NULL `text`, like a failed
   copy, gives NULL. */
NODETREE_API node *node_new_string(const char *text);

/* The same with at most the first `length` bytes of the text; a NUL ends it earlier. */
NODETREE_API node *node_new_stringn(const char *text, size_t length);

/* The same with the formatted text; NULL also when formatting fails. */
NODETREE_API node *node_new_string_printf(const char *format, ...) NODETREE_PRINTF(1, 2);

/* A link holds a copy of the target path, a string list that may be NULL; see
   node_follow_link() for what resolves. */
NODETREE_API node *node_new_link(char **path);

/* ---- Kinds and values ---- */

/* Whether the node is of this kind; a container is an object or an array. NULL is of none,
   not of kind null either. */
NODETREE_API bool node_is_null(const node *n);
NODETREE_API bool node_is_object(const node *n);
NODETREE_API bool node_is_array(const node *n);
NODETREE_API bool node_is_integer(const node *n);
NODETREE_API bool node_is_real(const node *n);
NODETREE_API bool node_is_string(const node *n);
NODETREE_API bool node_is_boolean(const node *n);
NODETREE_API bool node_is_link(const node *n);
NODETREE_API bool node_is_container(const node *n);

/* "null", "object", "array", "integer", "real", "string", "boolean", "link", or "unknown"
   for a record whose kind has another number and for NULL. A constant. */
NODETREE_API const char *node_type_to_string(const node *n);

/* The value of a node of this kind; for another kind and for a NULL node 0, 0.0, false, or
   NULL for a text and a path. Kinds are never converted: the integer of a real is 0. The
   node owns the texts and lists. */
NODETREE_API int64_t node_get_integer(const node *n);
NODETREE_API double node_get_real(const node *n);
NODETREE_API const char *node_get_string(const node *n);
NODETREE_API bool node_get_boolean(const node *n);
NODETREE_API char **node_get_link_path(const node *n);

/* The node's own key; NULL for a root and for NULL. */
NODETREE_API const char *node_key(const node *n);

/* ---- References and release ---- */

/* Adds a reference, to be dropped with node_unref() or node_free(). NULL is ignored. */
NODETREE_API void node_ref(node *n);

/* Drops a reference: true when the node lives on (where it is, in its container if it has
   one), false when it was NULL or has been destroyed. Destroying is O(n) in the subtree. */
NODETREE_API bool node_unref(node *n);

/* Takes the node out of its container, also when other references remain, and drops one
   reference. The last one destroys the node and drops its children's container references;
   a child that somebody else refers to lives on as a root. NULL is ignored. O(n) in the
   subtree. */
NODETREE_API void node_free(node *n);

/* Takes the node out of its container; the container's reference passes to the caller. A
   root is left alone, and so is NULL. O(log n) in an object's members. */
NODETREE_API void node_detach(node *n);

/* Releases value and children and makes the node null where it stands: its parent, key,
   place and references remain. NULL is ignored. O(n) in the subtree. */
NODETREE_API void node_clear(node *n);

/* ---- Containers: the children of objects and arrays, in order; NULL is no container ---- */

/* The first child, NULL when there is none and for a node that is no container. */
NODETREE_API node *node_container_first(const node *container);

/* The child after `child`; NULL after the last one and for a NULL child. A walk that removes
   or moves children fetches the next one first; so do those below. */
NODETREE_API node *node_container_next(const node *container, const node *child);

/* Appends `child` as member `key` (copied), handing over the caller's reference: true.
   False, with the child still the caller's and nothing changed, for a NULL argument, a
   non-object, a key that the object has, a child that has a parent or is the object itself,
   or no memory. The child must not be an ancestor of the object; this is not checked. O(log
   n). */
NODETREE_API bool node_object_add(node *object, const char *key, node *child);

/* The number of members, the first one, and the one after `child`: 0 and NULL for another
   kind. */
NODETREE_API size_t node_object_count(const node *object);
NODETREE_API node *node_object_first(const node *object);
NODETREE_API node *node_object_next(const node *object, const node *child);

/* The member with exactly this key, or NULL. O(log n). */
NODETREE_API node *node_object_get(const node *object, const char *key);

/* Releases the member with this key, if there is one, as node_free() does. O(log n) and the
   member's subtree. */
NODETREE_API void node_object_del(node *object, const char *key);

/* Releases every member, in order, as node_free() does. O(n) in the subtree. */
NODETREE_API void node_object_clear(node *object);

/* Moves all members of the object `source` behind those of the object `destination` and
   makes `source` a null node. A member whose key the destination has is dropped as
   node_unref() does; the destination keeps its own. Nothing happens unless both are
   objects, they differ, and the destination does not lie inside the source. An array is
   refused too: its labels would collide with members. O(n log n) and the depth of the
   destination. */
NODETREE_API void node_object_move_children(node *destination, node *source);

/* Adds an element at the end or at the front, handing over the caller's reference: true.
   False, with the child still the caller's, for a NULL argument, a non-array, or a child
   that has a parent or is the array itself; that it is no ancestor is not checked. An
   element whose label cannot be allocated is held without a key. */
NODETREE_API bool node_array_append(node *array, node *child);
NODETREE_API bool node_array_prepend(node *array, node *child);

/* The number of elements, the first one, and the one after `child`: 0 and NULL for another
   kind. */
NODETREE_API size_t node_array_count(const node *array);
NODETREE_API node *node_array_first(const node *array);
NODETREE_API node *node_array_next(const node *array, const node *child);

/* The element at a position counted from 0, or NULL. O(n), from the nearer end. */
NODETREE_API node *node_array_get(const node *array, size_t index);

/* Releases the element at a position, if there is one, as node_free() does. O(n) and the
   element's subtree. */
NODETREE_API void node_array_del(node *array, size_t index);

/* Releases every element, in order, as node_free() does. O(n) in the subtree. */
NODETREE_API void node_array_clear(node *array);

/* One step of a walk over the leaves (nodes without children) of a tree in document order.
   NULL gives NULL. A step costs the levels that it passes, O(1) averaged over a walk. */
NODETREE_API node *node_iterate(node *n);

/* True when `cursor` is NULL or lies outside the subtree of `root`. O(depth): as the end of
   a walk through a deep tree it takes quadratic time, node_iterate_within() does not. */
NODETREE_API bool node_iterate_end(const node *root, const node *cursor);

/* The same step that ends with the subtree of `root`, which holds `n`: NULL behind its last
   leaf. The walk over a subtree, which visits its root first, reads
       for (node *n = root; n; n = node_iterate_within(root, n)) ...
   O(1) averaged over the walk. */
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
 * A path is a run of segments, as a text separated by "/" or as a string list. An empty
 * first segment (a leading "/") starts at the root of the given node's tree, any other at
 * the node itself. ".." is the parent, "." the node itself, "*" in glob lookups every child;
 * any other segment is a member's key or an element's position in the forms of strtol with
 * base 0 ("010" is 8). A trailing "/" in a text is ignored; nothing is escaped. An empty or
 * NULL path finds nothing, as does any path from NULL. A lookup that passes through a link
 * goes on in the link's target. Found nodes are borrowed. A lookup costs one search a
 * segment: O(log n) in an object, O(n) in an array.
 */

/* The container that holds the node; NULL for a root and for NULL. */
NODETREE_API node *node_parent(const node *n);

/* The top of the node's tree; NULL for NULL. O(depth). */
NODETREE_API node *node_root(const node *n);

/* The node's absolute path as a new text, "/" for a root; NULL for NULL and when memory runs
   out. Starts below the nearest ancestor-or-self that has no key, if there is one.
   O(depth). */
NODETREE_API char *node_path(const node *n);

/* The same as a new string list: "" and the keys from the top down. */
NODETREE_API char **node_path_sl(const node *n);

/* The child that one segment names, other than "..", "." and "*": a member by key, an
   element by position; NULL where there is none. */
NODETREE_API node *node_get_child(const node *container, const char *segment);

/* The node that a path names, or NULL. A link in the last place is returned as the link. */
NODETREE_API node *node_lookup(const node *start, const char *path);
NODETREE_API node *node_lookup_sl(const node *start, char **path);

/* The target of a link: its path looked up from the root when it begins with "", from the
   link when it begins with ".." (which leads to the link's own container). NULL for any
   other path, a non-link, a target that does not exist, a path that passes through the link
   itself, and when memory runs out, of which only paths through other links and long ones
   need some. A target that is a link, even the same one, is returned as the link. Costs a
   lookup of its path and of those of the links that it passes through, and the depth of the
   tree for a path from the root. */
NODETREE_API node *node_follow_link(const node *n);

/* The lenient lookup: where a step fails, the last node reached before it; NULL only for an
   empty path. Here ".." and "." too apply to a link's target, and a chain of two links is
   stepped through. */
NODETREE_API node *node_try_lookup_sl(const node *start, char **path);

/* node_follow_link() by the lenient lookup. For a path that begins with ".." this is exact
   only where the link dangles: once it resolves, ".." applies to its target. */
NODETREE_API node *node_try_follow_link(const node *n);

/* All nodes that a glob path matches, as a new value list in document order; NULL for none,
   when memory runs out, and when more nodes than convention 12 allows would have to be
   entered. A node is listed as often as it is matched. A null child that "*" meets before
   the path ends matches itself. Empty segments other than the first name the member with the
   empty key. Costs a search for each child that a "*" meets. */
NODETREE_API void **node_lookup_glob(const node *start, const char *path);
NODETREE_API void **node_lookup_glob_sl(const node *start, char **path);

/* The node that a path names; members missing on the way are made, as empty objects. NULL
   where something other than an object would have to hold a new member, or memory runs out;
   members made before that stay. ".." above the root makes a member of that name, which no
   path finds again: a second call gives NULL. */
NODETREE_API node *node_lookup_create(node *start, const char *path);
NODETREE_API node *node_lookup_create_sl(node *start, char **path);

/* ---- Whole trees ----
 *
 * These are O(n) in the tree, and a search a member where objects differ in order;
 * node_fprint() also in the length of what it writes. */

/* A deep copy as a new root. NULL for NULL and for an unknown kind. With `links` 0 links
   stay links, with 1 each is replaced by a copy of what it leads to in the end; links that
   lead nowhere, back to themselves or to a container that holds them (directly or through
   the links they were reached by) are left out, and so are all links with any other number.
   NULL, with nothing left behind, when memory runs out or more nodes behind links than
   convention 12 allows would have to be copied. */
NODETREE_API node *node_copy(const node *n, int links);

/* node_copy() that keeps links. */
NODETREE_API node *node_clone(const node *n);

/* Whether two trees have the same structure and values: members in any order, elements in
   order, links by their paths, reals as == has it, an integer never equal to a real. NULL
   equals NULL only. */
NODETREE_API bool node_equals(const node *a, const node *b);

/* Writes one line a leaf child, "PATH=VALUE", depth first; for a node that is no container
   its value alone, for NULL "NULL". Strings are written as they are, a link's path in
   parentheses. A line whose path cannot be allocated begins with "=". */
NODETREE_API void node_fprint(const node *n, FILE *stream);

/*
 * ---- Merge and filter: edits of whole trees that move nodes instead of copying them ----
 */

/* Folds `source` into `target` and releases it as node_free() does. Members of two objects
   are combined by key, recursively, new ones placed behind those of the target; elements of
   two arrays are appended with new labels; any other value, null included, replaces the
   target's. The target stays the same node in the same place. A source that somebody else
   refers to is left null when it was a container or a string. Nothing happens, and the
   source stays the caller's, when one is NULL or lies inside the other or they are the
   same. A link whose path cannot be copied, as memory ran out, and a value of an unknown
   kind leave what they were to replace. O(n log n) in the source and the depths. */
NODETREE_API void node_merge(node *target, node *source);

/* Cuts `tree` down in place. First, unless `include` is empty, all that its glob paths do
   not match is dropped; kept subtrees stand where they stood, where a container above them
   that was not itself matched is a new object, also where it was an array. Then what the
   glob paths of `exclude` match is released; `tree` itself becomes null in its place.
   Unless `removed` is NULL, the absolute paths of all leaves so dropped that are no empty
   containers are appended to the list *removed, which may be NULL.

   Patterns may overlap or match a node many times. A match that holds `tree` itself inside
   it cannot be taken and is passed over. What `include` keeps is merged in the order of the
   matches and stands under its absolute path, below `tree`. Where two do not go together
   the later one replaces the earlier, which is dropped without being listed: so is an
   element when the rest of its array follows it. A tree that is no object becomes one when
   something is included, or what "." kept of it, and the rest of it is dropped without being
   listed.

   What cannot be told apart does not stay: where memory runs out, `include` keeps nothing
   for the pattern and `exclude` makes the whole tree null, and *removed may lack paths. A
   pattern visits each container once for each of its "*", by however many links and ".." it
   can be come to. O(n log n) in the tree, times the "*" of a pattern, and the matches with
   their depths. */
NODETREE_API void node_filter(node *tree, char **include, char **exclude, char ***removed);

/*
 * ---- Difference ----
 */

/* The sdbm hash of the bytes, continued from `seed`. O(length). */
NODETREE_API uint32_t hash_sdbm(const void *data, size_t length, uint32_t seed);

/* Computes and caches in diff_hash the hashes of the node and of all below it that have
   none yet, and returns the node's: 0, which is never cached, for null, empty values and
   links that lead nowhere or to a container that holds them. Nothing resets a hash when a
   tree is changed: prepare trees that no longer change. Nothing below a node that has a hash
   is visited, no link's target either; a link gets the hash of the next node on its way that
   has one, and so do the links between them. When memory runs out, or more nodes behind
   links than convention 12 allows would have to be visited, 0 is returned; containers whose
   hash is not finished have none then. NULL gives 0. O(n), O(1) for a node that has its
   hash. */
NODETREE_API uint32_t node_prepare_diff_hash(node *n);

/* What differs in `to` from `from`, as a new tree; NULL for no difference. For two objects
   or two arrays it is an object of the children that differ, by key or position; children
   that only `from` has stand there as null, others as copies of those of `to` with links
   resolved. Links are compared by what they lead to in the end, where they lead there over
   equally many links (otherwise they differ); a pair of links met again inside its own
   comparison counts as equal. Nodes with the same cached hash count as equal.

   Where memory runs out, or more nodes behind links than convention 12 allows would have to
   be compared, what could not be compared is shown as a copy of what `to` has, or as null
   where that cannot be made either, and is left out only when there is no memory for a null
   node; the whole is then at least a null node. NULL is given for two trees that differ only
   when memory runs out before the first node is made.

   NULL with NULL gives NULL, NULL with a node a copy of the node or a null node. O(n log n);
   pairs that several links lead to are compared once, unless they differ and hold links that
   lead back to them. */
NODETREE_API node *node_diff(const node *from, const node *to);

NODETREE_END

#endif
