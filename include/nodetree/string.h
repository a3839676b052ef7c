/*
 * string_: helpers over NUL-terminated strings.
 *
 * Strings are compared by bytes, without collation or a character set. Unless a function
 * says otherwise its arguments must not be NULL, and its cost is linear in the strings that
 * it is given.
 */
#ifndef NODETREE_STRING_H
#define NODETREE_STRING_H

#include <nodetree/export.h>
#include <stdbool.h>

NODETREE_BEGIN

/* Whether `a` and `b` hold the same bytes. NULL equals NULL and nothing else. */
NODETREE_API bool _string_equals(const char *a, const char *b);

/* _string_equals() of two string fields, given by their addresses. The fields may be NULL,
   the addresses must not. */
NODETREE_API bool __string_equals(const char **a, const char **b);

/* Whether `string` begins with `prefix` or ends with `suffix`. Every string begins and ends
   with itself and with the empty string. False if either is NULL. */
NODETREE_API bool string_prefixed(const char *string, const char *prefix);
NODETREE_API bool string_suffixed(const char *string, const char *suffix);

/* Whether the whole `name` matches the glob `pattern`, by fnmatch() without flags: "*" and
   "?" also match a slash and a leading dot, and a backslash escapes. The cost can be the
   product of the two lengths. */
NODETREE_API bool string_match(const char *name, const char *pattern);

/* Whether `piece` occurs in `text`. The empty string occurs in every text. */
NODETREE_API bool string_contains(const char *text, const char *piece);

/* True for NULL and for "". O(1). */
NODETREE_API bool string_empty(const char *string);

/* A new text, formatted as by printf(). NULL when memory runs out or formatting fails. */
NODETREE_API char *string_printf(const char *format, ...) NODETREE_PRINTF(1, 2);

/* Replaces the first occurrence of `find` in the heap string `string` by `replacement`.
 * Consumes `string` and returns the string to use from then on. That is `string` unchanged
 * if an argument is NULL, or if `find` is empty or does not occur.
 *
 * Otherwise NULL means that memory ran out; `string` is then unchanged and still owned by
 * the caller. A result that is no longer than `string` needs no memory, unless
 * `replacement` points into `string`, which is allowed. */
NODETREE_API char *string_replace(char *string, const char *find, const char *replacement);

/* Converts every byte to upper case in place, by the locale of the calling thread, and
   returns `string`. NULL gives NULL. */
NODETREE_API char *string_to_upper(char *string);

/* Whether the whole `text` is an integer: optional white space and sign, then hexadecimal
 * digits after 0x or 0X, octal digits after 0, or decimal digits. The number at the
 * beginning of the text, or 0 if there is none, is stored in `*value` even if the result is
 * false. A number out of range is stored as the nearest value of the type and does not make
 * the result false. NULL gives false and stores nothing. errno may change. */
NODETREE_API bool string_to_int(const char *text, int *value);
NODETREE_API bool string_to_long_long(const char *text, long long *value);

/* True for exactly "true" and "false", whose value is stored in `*value`. For every other
   text and for NULL false, with `*value` unchanged. O(1). */
NODETREE_API bool string_to_bool(const char *text, bool *value);

/* _string_equals() under a plain name. */
static inline bool string_equals(const char *a, const char *b) {
  return _string_equals(a, b);
}

/* __string_equals() for fields that may be const. */
static inline bool string_fields_equal(const char *const *a, const char *const *b) {
  return _string_equals(*a, *b);
}

#ifndef __cplusplus
/* In C a `char **` does not convert to `const char *const *`. */
#define string_fields_equal(a, b) _string_equals(*(a), *(b))
#endif

NODETREE_END

#endif
