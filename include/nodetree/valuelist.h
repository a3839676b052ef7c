/*
 * vl_: value lists.
 *
 * A value list is a heap array of untyped pointers that ends with a null pointer:
 *
 *     void **list = vl_new(first, second);
 *     list = vl_append(list, third);
 *     for (void **element = list; *element; ++element) ...
 *     vl_free(list, NULL);
 *
 * The list owns the array but not the elements: only vl_free() with a release function
 * accesses what they point to. No element is NULL. No length is stored: finding it takes
 * O(n), and so does every append. To add many elements, pass them in one call.
 *
 * NULL is an empty list for every function. A list that is not NULL can be empty too; only
 * vl_equals(), vl_copy() and the functions that return a list unchanged tell the two
 * apart. Unless a function says otherwise, its cost is linear in the number of elements,
 * and new lists and texts are NULL when memory runs out.
 */
#ifndef NODETREE_VALUELIST_H
#define NODETREE_VALUELIST_H

#include <nodetree/export.h>
#include <stdbool.h>
#include <stddef.h>

NODETREE_BEGIN

/* A new list of the arguments, which end with a null pointer. Without elements it is an
   empty list that is not NULL. */
NODETREE_API void **_vl_new(void *first, ...);

/* Appends the arguments, which end with a null pointer, and returns the list. Without
   elements the array is cut to the length of the list, and NULL becomes an empty list that
   is not NULL. NULL on failure, with `list` unchanged. */
NODETREE_API void **_vl_append(void **list, ...) NODETREE_SENTINEL;

/* Appends the `count` elements of an array and returns the list. Null pointers in the array
   are skipped; it need not end with one, and it may be a part of `list`. For a count of 0
   returns `list` unchanged, which may be NULL. NULL on failure, with `list` unchanged.
   O(n + count). */
NODETREE_API void **vl_appendn(void **list, void *const *elements, size_t count);

/* The number of elements. */
NODETREE_API size_t vl_len(void *const *list);

/* Whether there are none. O(1). */
NODETREE_API bool vl_empty(void *const *list);

/* Whether two lists hold the same pointers in the same order, whatever they point to. NULL
   equals NULL and nothing else, in particular no empty list. */
NODETREE_API bool vl_equals(void *const *a, void *const *b);

/* A new list of the first `count` elements. `list` must have that many; this is not
   checked. For a count of 0 a new empty list. O(count). */
NODETREE_API void **vl_copyn(void *const *list, size_t count);

/* A new list of all elements. NULL for NULL; for an empty list a new empty list. */
NODETREE_API void **vl_copy(void *const *list);

/* Consumes two different lists and returns one with the elements of `a`, then those of `b`.
   If `b` is empty that is `a`, which may be NULL. Otherwise NULL is failure; both lists are
   then unchanged and still owned by the caller. */
NODETREE_API void **vl_concat(void **a, void **b);

/* The addresses of the elements, as printf() writes them with %p, as a new text:
   "[ 0x10, 0x20 ]", and "[ ]" for an empty list. */
NODETREE_API char *vl_stringify(void *const *list);

/* Sorts the list in place with qsort(). `compare` gets pointers to two slots of the list,
   not the elements. O(n log n) comparisons. */
NODETREE_API void vl_sort(void **list, int (*compare)(const void *, const void *));

/* A comparison for vl_sort() that orders elements by ascending address. */
NODETREE_API int vl_sort_natural_cmp(const void *slot_a, const void *slot_b);

/* Calls `release`, unless it is NULL, for every element from first to last, then releases
   the array. A NULL list is ignored. */
NODETREE_API void vl_free(void **list, void (*release)(void *element));

/* The null pointer that ends variable arguments. */
#ifdef __cplusplus
#define VL_END nullptr
#else
#define VL_END ((void *)0)
#endif

/* _vl_new() and _vl_append() with at least one element and without the null pointer at the
   end: vl_new(a, b), vl_append(list, c). */
#define vl_new(...) _vl_new(__VA_ARGS__, VL_END)
#define vl_append(list, ...) _vl_append(list, __VA_ARGS__, VL_END)

#ifndef __cplusplus
/* In C an array of pointers to records does not convert to one of `void *`. The sizeof
   makes anything that is not an array of pointers an error. */
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
