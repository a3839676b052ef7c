/*
 * Typed fields of a caller's record into nodes and back: TYPE_into_node, TYPE_from_node,
 * and for the types that need them TYPE_equals, TYPE_fprint and TYPE_deinit.
 *
 *   type           the field                          absent     kind of node
 *   str            char *, an owned text              -          string
 *   strn           char *, an owned text or NULL      null       string
 *   int_ptr        int *, an owned cell or NULL       null       integer
 *   bool_ptr       bool *, an owned cell or NULL      null       boolean
 *   node_int_ptr   int64_t *, an owned cell or NULL   null       integer
 *   sl             char **, a string list             empty      array of strings
 *
 * Every operation takes the address of the field first. Cells and texts are the field's
 * own, made with malloc() and released with free().
 *
 * TYPE_into_node makes a node of the field's value: NULL when memory runs out, or when a
 * `target` is given, which is for types that fill one (sl alone does).
 *
 * TYPE_from_node stores the value of a node: whether the field now holds it. A node of
 * another kind, as is NULL, is reported at LOG_DEBUG with its path. What the field held
 * before is not released: for a field that is used again, that comes first.
 *
 * TYPE_equals: whether both fields are absent or both hold equal values; either address may
 * be NULL and equals only NULL. TYPE_fprint writes "NULL" or "&" and the value, and returns
 * what the last write to the stream returned. TYPE_deinit releases the cell and leaves
 * NULL.
 */
#ifndef NODETREE_CONVERT_H
#define NODETREE_CONVERT_H

#include <nodetree/export.h>
#include <nodetree/node.h>
#include <stdbool.h>
#include <stdint.h>
#include <stdio.h>

NODETREE_BEGIN

/* A text that is always there. A NULL text goes nowhere (NULL), and a node that is not a
   string, null included, leaves NULL in the field. */
NODETREE_API node *str_into_node(char *const *field, node *target);
NODETREE_API bool str_from_node(char **field, const node *n);

/* A text that may be absent. A node that is neither a string nor null leaves NULL in the
   field. */
NODETREE_API node *strn_into_node(char *const *field, node *target);
NODETREE_API bool strn_from_node(char **field, const node *n);

/* Cells. int_new() makes one, for free(); NULL when memory runs out. From a null node the
   field becomes NULL. A field without a cell is given one, also when the node then proves to
   be of the wrong kind (it holds 0 or false); a field that has one keeps it and, from a wrong
   kind, what it holds. int_ptr_from_node() keeps the low 32 bits of the integer. Any byte but
   0 is true; bool_ptr_equals() compares the bytes. */
NODETREE_API int *int_new(int value);
NODETREE_API node *int_ptr_into_node(int *const *field, node *target);
NODETREE_API bool int_ptr_from_node(int **field, const node *n);
NODETREE_API bool int_ptr_equals(int *const *a, int *const *b);
NODETREE_API int int_ptr_fprint(int *const *field, FILE *stream);
NODETREE_API void int_ptr_deinit(int **field);

/* The same for booleans. */
NODETREE_API bool *bool_new(bool value);
NODETREE_API node *bool_ptr_into_node(bool *const *field, node *target);
NODETREE_API bool bool_ptr_from_node(bool **field, const node *n);
NODETREE_API bool bool_ptr_equals(bool *const *a, bool *const *b);
NODETREE_API int bool_ptr_fprint(bool *const *field, FILE *stream);
NODETREE_API void bool_ptr_deinit(bool **field);

/* The same for 64-bit integers. */
NODETREE_API int64_t *node_int_new(int64_t value);
NODETREE_API node *node_int_ptr_into_node(int64_t *const *field, node *target);
NODETREE_API bool node_int_ptr_from_node(int64_t **field, const node *n);
NODETREE_API bool node_int_ptr_equals(int64_t *const *a, int64_t *const *b);
NODETREE_API int node_int_ptr_fprint(int64_t *const *field, FILE *stream);
NODETREE_API void node_int_ptr_deinit(int64_t **field);

/* A string list. sl_into_node() appends to `target`, an array, or makes one, and returns
   it; a string that cannot be appended is reported at LOG_DEBUG and left out.
   sl_from_node() stores a new list, NULL for an empty array; where an element is not a
   string, or memory runs out, it leaves NULL, and for a node that is not an array the field
   as it was. sl_fprint() writes "[ a, b ]" (between the brackets two blanks for an empty
   list). The equality of this type is __sl_equals(). O(n). */
NODETREE_API node *sl_into_node(char **const *field, node *target);
NODETREE_API bool sl_from_node(char ***field, const node *n);
NODETREE_API int sl_fprint(char **const *field, FILE *stream);

NODETREE_END

#endif
