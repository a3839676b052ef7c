/*
 * sl_: string lists.
 *
 * A string list is a heap array of heap strings that a null pointer ends, so that it can be
 * walked with a plain loop and handed to whatever takes an argument vector:
 *
 *     char **list = sl_new("cp", "-r", source);
 *     list = sl_append(list, target);
 *     for (char **string = list; *string; ++string) ...
 *     sl_free(list);
 *
 * The list owns the array and the strings; whatever is put in is copied, so an argument may
 * also be a string of the list itself. No length is stored: finding it takes O(n), and so
 * does every append. To add many strings at once, pass them in one call.
 *
 * NULL is the empty list for every function. A list that is not NULL can be empty too; only
 * _sl_equals(), sl_copy(), sl_split() and sl_slice() tell the two apart. Unless a function
 * says otherwise its cost is linear in the number of strings and in the bytes it copies.
 */
#ifndef NODETREE_STRINGLIST_H
#define NODETREE_STRINGLIST_H

#include <nodetree/export.h>
#include <stdarg.h>
#include <stdbool.h>
#include <stddef.h>

NODETREE_BEGIN

/* A new list of the strings up to the null pointer that must end the arguments; with that
   alone, a new empty list. */
NODETREE_API char **_sl_new(const char *first, ...);

/* Appends the strings up to the null pointer that must end the arguments and returns the
   list. With that alone the array is cut down to the list's length, and a NULL list becomes
   a new empty one. NULL on failure: `list` is then untouched. */
NODETREE_API char **_sl_append(char **list, ...) NODETREE_SENTINEL;

/* The same for the `count` strings of an array, which needs no null pointer at its end and
   in which null pointers are skipped. With a count of 0 returns `list`, which may be NULL.
   All strings are appended or none. */
NODETREE_API char **sl_appendn(char **list, const char *const *strings, size_t count);

/* Appends one string, formatted as by printf(), and returns the list. If the formatting
   fails that is `list` as it was; if the array cannot be grown it is NULL and `list` is
   untouched. */
NODETREE_API char **sl_append_vprintf(char **list, const char *format, va_list args)
    NODETREE_PRINTF(2, 0);
NODETREE_API char **sl_append_printf(char **list, const char *format, ...)
    NODETREE_PRINTF(2, 3);

/* A new list of the first `count` strings; of all of them if there are fewer. */
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

/* _sl_equals() of two list fields, given by their addresses, which may not be NULL. */
NODETREE_API bool __sl_equals(char ***a, char ***b);

/* Consumes two distinct lists and returns one that holds the strings of `a`, then those of
   `b`. Where `b` is empty that is `a`, which may be NULL. Otherwise NULL is failure: both
   lists are then untouched and the caller still owns them. */
NODETREE_API char **sl_concat(char **a, char **b);

/* A new list of the fields of `text` between the `separator` bytes. Two separators in a
   row, or one at the beginning, make an empty field; one at the end makes none. NULL where
   there is no field ("" and NULL), and on failure. The separator '\0' separates nothing. */
NODETREE_API char **sl_split(const char *text, int separator);

/* A new text of all strings with `separator` (NULL counts as "") between every two of them;
   "" for an empty list. Restores what sl_split() split, apart from a separator at the end.
 */
NODETREE_API char *sl_join(char *const *list, const char *separator);

/* Sorts the list in place by byte values, in O(n log n). */
NODETREE_API void sl_sort(char **list);

/* Reverses the order of the strings in place. */
NODETREE_API void sl_reverse(char **list);

/* Whether some string of the list equals `string`; false for NULL. */
NODETREE_API bool sl_contains(char *const *list, const char *string);

/* Releases the strings and the array. */
NODETREE_API void sl_free(char **list);

/* Consumes `list` and returns a list of its strings from position `start` up to but not
 * including `end`. A negative position counts from the end, and positions outside the list
 * stand for its nearest end.
 *
 * An empty list is returned as it is. NULL means an empty slice of a list with strings in
 * it; the list is then released. A slice that begins with the first string stays in the
 * same array. Never fails: what remains is moved, not copied. */
NODETREE_API char **sl_slice(char **list, int start, int end);

/* A null pointer of the size that the end of a variable argument list must have. */
#ifdef __cplusplus
#define SL_END nullptr
#else
#define SL_END ((const char *)0)
#endif

/* _sl_new() and _sl_append() of at least one string, with the end supplied:
   sl_new("a", "b"), sl_append(list, "c"). */
#define sl_new(...) _sl_new(__VA_ARGS__, SL_END)
#define sl_append(list, ...) _sl_append(list, __VA_ARGS__, SL_END)

#ifndef __cplusplus
/* In C a `char **` does not pass for a `const char *const *`. */
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
