/*
 * Conversion between the typed fields of a caller's record and nodes: TYPE_into_node,
 * TYPE_from_node, and for some types TYPE_equals, TYPE_fprint and TYPE_deinit.
 *
 *   type           the field                          absent     kind of node
 *   str            char *, an owned text              -          string
 *   strn           char *, an owned text or NULL      null       string
 *   int_ptr        int *, an owned cell or NULL       null       integer
 *   bool_ptr       bool *, an owned cell or NULL      null       boolean
 *   node_int_ptr   int64_t *, an owned cell or NULL   null       integer
 *   sl             char **, a string list             empty      array of strings
 *
 * The first argument of every operation is the address of the field. The field owns its
 * cell or text, which is from malloc() and freed with free().
 *
 * TYPE_into_node returns a new node with the field's value, owned by the caller. NULL when
 * memory runs out, and unless `target` is NULL; only sl_into_node() fills a target.
 *
 * TYPE_from_node stores the value of a node in the field and returns whether it did. A node
 * of another kind, and NULL, are reported at LOG_DEBUG with the node's path. What the field
 * held before is not released, so release it first.
 *
 * TYPE_equals tells whether both fields are absent or hold equal values. Either address may
 * be NULL, which equals only NULL.
 *
 * TYPE_fprint writes "NULL", or "&" and the value, and returns the result of the last write
 * to the stream. TYPE_deinit releases the cell and sets the field to NULL.
 */
#ifndef NODETREE_CONVERT_H
#define NODETREE_CONVERT_H

#include <nodetree/export.h>
#include <nodetree/node.h>
#include <stdbool.h>
#include <stdint.h>
#include <stdio.h>

NODETREE_BEGIN

/* A text that must be present. From a NULL text no node is made (NULL). A node that is not
   a string, null included, sets the field to NULL and gives false. O(n). */
NODETREE_API node *str_into_node(char *const *field, node *target);
NODETREE_API bool str_from_node(char **field, const node *n);

/* A text that may be absent. A null node sets the field to NULL and gives true; a node that
   is neither a string nor null sets it to NULL and gives false. O(n). */
NODETREE_API node *strn_into_node(char *const *field, node *target);
NODETREE_API bool strn_from_node(char **field, const node *n);

/* Integers. int_new() makes a cell for the caller, freed with free(); NULL when memory runs
   out.

   int_ptr_from_node() sets the field to NULL for a null node, without releasing a cell. For
   any other node a field without a cell gets a new one that holds 0; when memory runs out
   for it the result is false. A node of the wrong kind does not change the value of the
   cell. Only the low 32 bits of an integer are stored. */
NODETREE_API int *int_new(int value);
NODETREE_API node *int_ptr_into_node(int *const *field, node *target);
NODETREE_API bool int_ptr_from_node(int **field, const node *n);
NODETREE_API bool int_ptr_equals(int *const *a, int *const *b);
NODETREE_API int int_ptr_fprint(int *const *field, FILE *stream);
NODETREE_API void int_ptr_deinit(int **field);

/* The same for booleans. A new cell holds false. Any byte other than 0 is true;
   bool_ptr_equals() compares the bytes. */
NODETREE_API bool *bool_new(bool value);
NODETREE_API node *bool_ptr_into_node(bool *const *field, node *target);
NODETREE_API bool bool_ptr_from_node(bool **field, const node *n);
NODETREE_API bool bool_ptr_equals(bool *const *a, bool *const *b);
NODETREE_API int bool_ptr_fprint(bool *const *field, FILE *stream);
NODETREE_API void bool_ptr_deinit(bool **field);

/* The same for 64-bit integers, which are stored whole. */
NODETREE_API int64_t *node_int_new(int64_t value);
NODETREE_API node *node_int_ptr_into_node(int64_t *const *field, node *target);
NODETREE_API bool node_int_ptr_from_node(int64_t **field, const node *n);
NODETREE_API bool node_int_ptr_equals(int64_t *const *a, int64_t *const *b);
NODETREE_API int node_int_ptr_fprint(int64_t *const *field, FILE *stream);
NODETREE_API void node_int_ptr_deinit(int64_t **field);

/* String lists. sl_into_node() appends the strings to the array `target`, or to a new array
   for NULL, and returns it. A string that cannot be appended is reported at LOG_DEBUG and
   left out.

   sl_from_node() stores a new list, NULL for an empty array. A node that is not an array
   leaves the field unchanged. An element that is not a string, or a lack of memory, sets it
   to NULL. Both give false.

   sl_fprint() writes "[ a, b ]", and "[  ]" for an empty list. The equality of this type is
   __sl_equals(). O(n). */
NODETREE_API node *sl_into_node(char **const *field, node *target);
NODETREE_API bool sl_from_node(char ***field, const node *n);
NODETREE_API int sl_fprint(char **const *field, FILE *stream);

NODETREE_END

#endif
