/*
 * expr_: expressions written as trees, evaluated against a context tree.
 *
 * An expression that is not an array is a literal and evaluates to itself. An array is an
 * operation: its first element is a string, the name, the others are the operands, which
 * are expressions again:
 *
 *   ["eq", a, b, ...]        all operands equal the first, as node_equals() has it
 *   ["and", a, b, ...]       every operand true; stops at the first false one
 *   ["or", a, b, ...]        some operand true; stops at the first true one
 *   ["not", a]               operand false
 *   ["atom", x]              x itself, not evaluated: how an array is written as data
 *   ["assert", a]            a if it is true, otherwise a failure; ["assert", a, message]
 *                            fails with the string that the message evaluates to
 *   ["get", path...]         the node at a path of the context, each path going on from the
 *                            node that the one before found; the target of a link that
 *                            stands there; "value" is another name
 *   ["path", path...]        the absolute path of that node
 *   ["exists", path...]      whether there is such a node; failures count as no
 *   ["length", path...]      the number of its children; other kinds fail
 *   ["range", low, high, path...]   every number found at the paths, each from the context,
 *                            lies within the bounds, themselves included
 *   ["regex", pattern, flags, text] the PCRE2 pattern matches; flags "" or "i"
 *   ["unique", ...]          true; the operands are not evaluated
 *
 * Numbers in "range" are integers, and strings as atof() reads them in the "C" locale; an
 * empty or "nan" bound excludes nothing. Paths that fail or lead to nothing, null or an
 * empty string are skipped; other kinds are failures, reals too, and null behind a link.
 *
 * Without a context nothing is looked up: "get" and "path" fail without a message, "exists"
 * is false, and "range" skips its paths.
 *
 * A pattern is compiled at every evaluation. Matching takes PCRE2's backtracking: with
 * neighbouring repeats of the same characters the steps grow with a power of the length of
 * the text (its cube for "\w+\s*\w+\s*[=:]" and a text of letters only), up to PCRE2's
 * default limit of 10,000,000 from each place where a match may start. A text that exceeds
 * the limits of steps and memory, or the memory that there is, does not match. Limit the
 * length of texts of strangers; anchor patterns ("^..."), make repeats possessive
 * ("\w++"), or begin a pattern with a lower limit, "(*LIMIT_MATCH=1000)".
 */
#ifndef NODETREE_EXPR_H
#define NODETREE_EXPR_H

#include <nodetree/export.h>
#include <nodetree/node.h>
#include <stdbool.h>

NODETREE_BEGIN

/* An operation nested deeper than this ends the whole evaluation as a failure with a
   message, inside "exists", "length" and "range" too. The operations under way take 16 KiB of
   stack however deep they are nested, and PCRE2 up to 190 KiB to compile a pattern of nested
   groups, in an optimised build: a stack of 256 KiB holds both. */
#define EXPR_NESTING_MAX 200

/* Evaluates `expr` (NULL gives NULL) against `context` (may be NULL). The result carries
   one reference for the caller, who drops it with node_unref() and does not change the
   node: it may be a part of the expression or the context. NULL is failure.

   `error` may be NULL; otherwise set *error to NULL before the call, and after the call
   release the text that it then points to. The message of the last failure is stored there
   as a new text (NULL when memory runs out), without releasing the previous one. "exists"
   and "length" release and clear the message so far, the caller's included. If neither
   happens, *error is not touched. Messages read "PATH (PATH): what is wrong", with the path
   of the failing operation and the path of the context. A failure may have no message, and a
   result may come with the message of an operand that "range" skipped.

   When memory runs out, for following a link too, the whole evaluation fails, even inside
   "exists" and "range"; only in a match it counts as no match. Costs what the operations
   do: a lookup for each path, a comparison for each operand of "eq".

   No node is written to but the result, for its reference. So threads may evaluate one
   expression at the same time, each against a context of its own, unless the result can be
   a part of the expression: a literal, or what "atom" or "assert" passes on of it. */
NODETREE_API node *expr_eval(node *expr, node *context, char **error);

/* Truth: booleans as they are; strings unless empty; integers and reals unless 0 (a NaN is
   true); objects and arrays always; a link as what it leads to in the end, false when that
   is nothing or memory runs out; null and NULL never. A lookup for each link. */
NODETREE_API bool expr_coerce_bool(const node *n);

NODETREE_END

#endif
