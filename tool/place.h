/* Places in trees: where a value is, or is to be put. */
#ifndef NODETREE_TOOL_PLACE_H
#define NODETREE_TOOL_PLACE_H

#include <nodetree/node.h>
#include <stdbool.h>

/* The two ways in which a place is named: a PATH as for "get", or a JSON Pointer, in which
   the position in an array has neither sign nor leading zeros and "-" is the one behind the
   last element. */
typedef enum path_form { PATH_SLASHES, PATH_POINTER } path_form;

/* The tokens of a PATH from the top down, as a new string list, which is empty for the whole
   value: "." and ".." are gone, escapes too. NULL, with errno EINVAL or ENOMEM. */
char **path_tokens(const char *path, path_form form);

typedef struct place {
  node *parent;    /* NULL where the place is that of the whole value */
  const char *key; /* in the parent when that is an object: one of the tokens */
  size_t index;    /* in the parent when that is an array, up to its count */
  node *present;   /* what is there, NULL for nothing */
} place;

/* Finds the place that the tokens name; with `make`, members and the element behind the last
   one that are missing above it become empty objects. Returns NULL, or why there is no such
   place, which is a constant. */
const char *place_find(place *p, node *root, char **tokens, path_form form, bool make);

/* Consumes the value and puts it there: in place of what is present, or with `insert` before
   an element that is. The whole value is `*root`. False when memory runs out. O(1) beside
   the lookup for a member; inserting costs the distance to the nearer end of the array. */
bool place_put(const place *p, node **root, node *value, bool insert);

/* Consumes the value and gives it to a node, which stays where it is. */
void replace_value(node *target, node *value);

/* Whether a key or token is a position as JSON has it, without sign and leading zeros. */
bool read_position(const char *token, size_t *position);

/* Whether an object has members, and their keys are the labels of an array: all from 0 on.
   O(n). */
bool has_labels(const node *object);

extern const char no_memory[];

#endif
