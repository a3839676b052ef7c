/*
 * vl_: value lists.
 *
 * A value list is a heap array of untyped pointers that a null pointer ends:
 *
 *     void **list = vl_new(first, second);
 *     list = vl_append(list, third);
 *     for (void **element = list; *element; ++element) ...
 *     vl_free(list, NULL);
 *
 * The list owns the array and never the elements: only vl_free() with a release function
 * touches what they point to. No element is NULL. No length is stored: finding it takes
 * O(n), and so does every append. To add many elements at once, pass them in one call.
 *
 * NULL is the empty list for every function. A list that is not NULL can be empty too; only
 * vl_equals(), vl_copy() and the functions that return a list unchanged tell the two
 * apart. Unless a function says otherwise its cost is linear in the number of elements.
 */
#ifndef NODETREE_VALUELIST_H
#define NODETREE_VALUELIST_H

#include <nodetree/export.h>
#include <stdbool.h>
#include <stddef.h>

NODETREE_BEGIN

/* A new list of the elements up to the null pointer that must end the arguments; with that
   alone, a new empty list. */
NODETREE_API void **_vl_new(void *first, ...);

/* Appends the elements up to the null pointer that must end the arguments and returns the
   list. With that alone the array is cut down to the list's length, and a NULL list becomes
   a new empty one. NULL on failure: `list` is then untouched. */
NODETREE_API void **_vl_append(void **list, ...) NODETREE_SENTINEL;

/* The same for the `count` elements of an array, which needs no null pointer at its end, in
   which null pointers are skipped, and which may be part of `list` itself. With a count of
   0 returns `list`, which may be NULL. All elements are appended or none: on failure the
   result is NULL and `list` is untouched. O(n + count). */
NODETREE_API void **vl_appendn(void **list, void *const *elements, size_t count);

/* The number of elements. */
NODETREE_API size_t vl_len(void *const *list);

/* Whether there are none. O(1). */
NODETREE_API bool vl_empty(void *const *list);

/* Whether two lists hold the same pointers in the same order; what they point to is not
   looked at. NULL equals NULL and nothing else, in particular no empty list. */
NODETREE_API bool vl_equals(void *const *a, void *const *b);

/* A new list of the first `count` elements, of which `list` must have that many: its end is
   not looked for. With a count of 0 a new empty list. O(count). */
NODETREE_API void **vl_copyn(void *const *list, size_t count);

/* A new list of all elements. NULL for NULL; for an empty list a new empty list. */
NODETREE_API void **vl_copy(void *const *list);

/* Consumes two distinct lists and returns one that holds the elements of `a`, then those of
   `b`. Where `b` is empty that is `a`, which may be NULL. Otherwise NULL is failure: both
   lists are then untouched and the caller still owns them. */
NODETREE_API void **vl_concat(void **a, void **b);

/* A new text of the elements' addresses, as printf() writes them with %p: "[ 0x10, 0x20 ]",
   and "[ ]" for an empty list. */
NODETREE_API char *vl_stringify(void *const *list);

/* Sorts the list in place with qsort(): `compare` gets pointers to two slots of the list,
   not the elements themselves. O(n log n) comparisons. */
NODETREE_API void vl_sort(void **list, int (*compare)(const void *, const void *));

/* A comparison for vl_sort() that orders elements by ascending address. */
NODETREE_API int vl_sort_natural_cmp(const void *slot_a, const void *slot_b);

/* Calls `release`, unless it is NULL, once on every element from first to last, then
   releases the array. A NULL list is ignored. */
NODETREE_API void vl_free(void **list, void (*release)(void *element));

/* A null pointer of the size that the end of a variable argument list must have. */
#ifdef __cplusplus
#define VL_END nullptr
#else
#define VL_END ((void *)0)
#endif

/* _vl_new() and _vl_append() of at least one element, with the end supplied:
   vl_new(a, b), vl_append(list, c). */
#define vl_new(...) _vl_new(__VA_ARGS__, VL_END)
#define vl_append(list, ...) _vl_append(list, __VA_ARGS__, VL_END)

#ifndef __cplusplus
/* In C an array of pointers to records does not pass for one of `void *`. What is no array
   of pointers is refused all the same, by the sizeof. */
#define vl_appendn(list, elements, count)                                                  \
  vl_appendn(list,                                                                         \
             ((void)sizeof((const void *)*_Generic((elements),                             \
                                                   void *: (void **)0,                     \
                                                   default: (elements))),                  \
              (const void *)(elements)),                                                   \
             count)
#endif

NODETREE_END

#endif
