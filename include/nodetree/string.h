/*
 * string_: helpers over NUL-terminated strings.
 *
 * Comparisons are of bytes; no collation and no character set is assumed. Functions that
 * accept NULL do so in order that a missing key or an unset field can be passed through
 * untested. Every function takes time linear in the texts it is given.
 */
#ifndef NODETREE_STRING_H
#define NODETREE_STRING_H

#include <nodetree/export.h>
#include <stdbool.h>

NODETREE_BEGIN

/* Whether `a` and `b` hold the same bytes. NULL equals NULL and nothing else. */
NODETREE_API bool _string_equals(const char *a, const char *b);

/* _string_equals() of two string fields, given by their addresses, which may not be NULL.
 */
NODETREE_API bool __string_equals(const char **a, const char **b);

/* Whether `string` begins (ends) with `prefix` (`suffix`). Every string begins and ends
   with itself and with the empty string; a NULL on either side is false. */
NODETREE_API bool string_prefixed(const char *string, const char *prefix);
NODETREE_API bool string_suffixed(const char *string, const char *suffix);

/* Whether the whole `name` matches the glob `pattern`: fnmatch() without flags, so "*" and
   "?" also match a slash and a leading dot, and a backslash escapes. The cost can grow with
   the product of the two lengths. */
NODETREE_API bool string_match(const char *name, const char *pattern);

/* Whether `piece` occurs in `text`; the empty piece occurs everywhere. */
NODETREE_API bool string_contains(const char *text, const char *piece);

/* True for NULL and for "". */
NODETREE_API bool string_empty(const char *string);

/* A new text, formatted as by printf(). NULL when memory runs out or a conversion fails. */
NODETREE_API char *string_printf(const char *format, ...) NODETREE_PRINTF(1, 2);

/* Replaces the first occurrence of `find` in the heap string `string` by `replacement` and
 * returns the string to use from then on; `string` itself is not to be used again.
 *
 * Where there is nothing to do (any argument NULL, `find` empty or absent) that is `string`
 * unchanged. NULL with three arguments given means that memory ran out: `string` is then
 * unchanged and the caller still owns it. A result that is not longer than `string` never
 * fails, except where `replacement` points into `string`, which is allowed but takes a
 * copy. */
NODETREE_API char *string_replace(char *string, const char *find, const char *replacement);

/* Turns every byte to upper case in place, by the rules of the calling thread's locale, and
   returns `string`. NULL gives NULL. */
NODETREE_API char *string_to_upper(char *string);

/* Whether the whole `text` is an integer: optional white space and sign, then hexadecimal
 * digits after 0x or 0X, octal digits after 0, decimal digits otherwise. What stands at the
 * beginning of the text as far as it is a number (0 if nothing is) is stored in `*value`
 * even when the result is false; a number out of range is stored as the nearest value of
 * the type and is no failure. NULL gives false and stores nothing. errno may change. */
NODETREE_API bool string_to_int(const char *text, int *value);
NODETREE_API bool string_to_long_long(const char *text, long long *value);

/* True for exactly "true" and "false", which are stored in `*value`. For every other text,
   and for NULL, false; `*value` is then untouched. */
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
/* In C the address of a `char *` does not pass for that of a `const char *`. */
#define string_fields_equal(a, b) _string_equals(*(a), *(b))
#endif

NODETREE_END

#endif
