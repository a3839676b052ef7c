/* Places in trees: where a value is, or will be put. */
#ifndef NODETREE_TOOL_PLACE_H
#define NODETREE_TOOL_PLACE_H

#include <nodetree/node.h>
#include <stdbool.h>

/* The two ways to name a place: a PATH as for "get", or a JSON Pointer, in which a
   position in an array has neither sign nor leading zeros, and "-" stands for the
   position after the last element. */
typedef enum path_form { PATH_SLASHES, PATH_POINTER } path_form;

/* The tokens of a PATH from the top down, as a new string list, which is empty for the
   whole value. "." and ".." are resolved, escapes replaced. On failure NULL, with errno
   EINVAL or ENOMEM. */
char **path_tokens(const char *path, path_form form);

typedef struct place {
  node *parent;    /* NULL for the whole value */
  const char *key; /* in a parent that is an object: one of the tokens */
  size_t index;    /* in a parent that is an array, at most its count */
  node *present;   /* the node that is there, NULL for none */
} place;

/* Finds the place that the tokens name. With `make`, missing members on the way, and an
   element after the last one, are made as empty objects. Returns NULL, or a constant
   text that says why there is no such place. */
const char *place_find(place *p, node *root, char **tokens, path_form form, bool make);

/* Takes over the value and puts it there: replaces what is present, or with `insert`
   goes before a present element. The whole value is `*root`. False when memory runs out.
   O(log n) for a member; an insertion costs the distance to the nearer end of the array. */
bool place_put(const place *p, node **root, node *value, bool insert);

/* Takes over the node `value` and gives its value to `target`, which stays in its place. */
void replace_value(node *target, node *value);

/* Whether a key or token is a position without sign and leading zeros. */
bool read_position(const char *token, size_t *position);

/* Whether an object has members and their keys are those of an array: 0, 1, 2 and so on.
   O(n). */
bool has_labels(const node *object);

extern const char no_memory[];

#endif
