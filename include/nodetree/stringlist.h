/*
 * sl_: string lists.
 *
 * A string list is a heap array of heap strings that ends with a null pointer. It can be
 * walked with a plain loop and used as an argument vector:
 *
 *     char **list = sl_new("cp", "-r", source);
 *     list = sl_append(list, target);
 *     for (char **string = list; *string; ++string) ...
 *     sl_free(list);
 *
 * The list owns the array and the strings. Strings that are added are copied, so they may
 * belong to the list itself. No length is stored: finding it takes O(n), and so does every
 * append. To add many strings, pass them in one call.
 *
 * NULL is an empty list for every function. A list that is not NULL can be empty too; only
 * _sl_equals(), sl_copy(), sl_split() and sl_slice() tell the two apart. Unless a function
 * says otherwise, its cost is linear in the number of strings and in the bytes it copies,
 * and new lists and texts are NULL when memory runs out.
 */
#ifndef NODETREE_STRINGLIST_H
#define NODETREE_STRINGLIST_H

#include <nodetree/export.h>
#include <stdarg.h>
#include <stdbool.h>
#include <stddef.h>

NODETREE_BEGIN

/* A new list of the arguments, which end with a null pointer. Without strings it is an
   empty list that is not NULL. */
NODETREE_API char **_sl_new(const char *first, ...);

/* Appends the arguments, which end with a null pointer, and returns the list. Without
   strings the array is cut to the length of the list, and NULL becomes an empty list that
   is not NULL. NULL on failure, with `list` unchanged. */
NODETREE_API char **_sl_append(char **list, ...) NODETREE_SENTINEL;

/* Appends the `count` strings of an array and returns the list. Null pointers in the array
   are skipped; it need not end with one. For a count of 0 returns `list` unchanged, which
   may be NULL. NULL on failure, with no string appended. */
NODETREE_API char **sl_appendn(char **list, const char *const *strings, size_t count);

/* Appends one string, formatted as by printf(), and returns the list. If formatting fails
   returns `list` unchanged. NULL, with `list` unchanged, if the array cannot grow. */
NODETREE_API char **sl_append_vprintf(char **list, const char *format, va_list args)
    NODETREE_PRINTF(2, 0);
NODETREE_API char **sl_append_printf(char **list, const char *format, ...)
    NODETREE_PRINTF(2, 3);

/* A new list of the first `count` strings, or of all if there are fewer. */
NODETREE_API char **sl_copyn(char *const *list, size_t count);

/* A new list of all strings. NULL for NULL; for an empty list a new empty list. */
NODETREE_API char **sl_copy(char *const *list);

/* The number of strings. */
NODETREE_API size_t sl_len(char *const *list);

/* Whether there are none. O(1). */
NODETREE_API bool sl_empty(char *const *list);

/* Whether two lists hold equal strings in the same order. NULL equals NULL and nothing
   else, in particular no empty list. */
NODETREE_API bool _sl_equals(char *const *a, char *const *b);

/* _sl_equals() of two list fields, given by their addresses, which must not be NULL. */
NODETREE_API bool __sl_equals(char ***a, char ***b);

/* Consumes two different lists and returns one with the strings of `a`, then those of `b`.
   If `b` is empty that is `a`, which may be NULL. Otherwise NULL is failure; both lists are
   then unchanged and still owned by the caller. */
NODETREE_API char **sl_concat(char **a, char **b);

/* A new list of the fields of `text` between the `separator` bytes. Two separators in a
   row, or one at the beginning, make an empty field; one at the end does not. NULL for ""
   and NULL, which have no field, and on failure. The separator '\0' gives the whole
   text. */
NODETREE_API char **sl_split(const char *text, int separator);

/* A new text of all strings with `separator` between every two; NULL counts as "". "" for
   an empty list. Restores a text that sl_split() has split, except for a separator at its
   end.
 */
NODETREE_API char *sl_join(char *const *list, const char *separator);

/* Sorts the list in place by byte values, in O(n log n). */
NODETREE_API void sl_sort(char **list);

/* Reverses the order of the strings in place. Needs no memory. */
NODETREE_API void sl_reverse(char **list);

/* Whether a string of the list equals `string`. False for a NULL string. */
NODETREE_API bool sl_contains(char *const *list, const char *string);

/* Releases the strings and the array. NULL is ignored. */
NODETREE_API void sl_free(char **list);

/* Consumes `list` and returns a list of its strings from position `start` up to, but not
 * including, `end`. A negative position counts from the end. A position outside the list
 * stands for the nearer end.
 *
 * An empty list is returned unchanged. NULL for an empty slice of a list that is not empty;
 * the list is then released. A slice that begins with the first string stays in the same
 * array. Cannot fail: the strings are moved, not copied. */
NODETREE_API char **sl_slice(char **list, int start, int end);

/* The null pointer that ends variable arguments. */
#ifdef __cplusplus
#define SL_END nullptr
#else
#define SL_END ((const char *)0)
#endif

/* _sl_new() and _sl_append() with at least one string and without the null pointer at the
   end: sl_new("a", "b"), sl_append(list, "c"). */
#define sl_new(...) _sl_new(__VA_ARGS__, SL_END)
#define sl_append(list, ...) _sl_append(list, __VA_ARGS__, SL_END)

#ifndef __cplusplus
/* In C a `char **` does not convert to `const char *const *`. */
#define sl_appendn(list, strings, count)                                                   \
  sl_appendn(list,                                                                         \
             _Generic((strings),                                                           \
                 char **: (const char *const *)(strings),                                  \
                 char *const *: (const char *const *)(strings),                            \
                 default: (strings)),                                                      \
             count)
#endif

/* _sl_equals() under a plain name. */
static inline bool sl_equals(char *const *a, char *const *b) {
  return _sl_equals(a, b);
}

/* __sl_equals() for fields that may be const. */
static inline bool sl_fields_equal(char **const *a, char **const *b) {
  return _sl_equals(*a, *b);
}

NODETREE_END

#endif
