/*
 * expr_: expressions written as trees, evaluated against a context tree.
 *
 * An expression that is not an array is a literal and evaluates to itself. An array is an
 * operation. Its first element is a string, the name; the others are the operands, which
 * are expressions themselves:
 *
 *   ["eq", a, b, ...]       whether all operands equal the first, by
 *                           node_equals()
 *   ["and", a, b, ...]      whether all operands are true; stops at the
 *                           first false one
 *   ["or", a, b, ...]       whether an operand is true; stops at the first
 *                           true one
 *   ["not", a]              whether the operand is false
 *   ["atom", x]             x itself, not evaluated; so an array is written
 *                           as data
 *   ["assert", a]           a if it is true, otherwise a failure
 *   ["assert", a, message]  the same; the failure has the string of the
 *                           message operand
 *   ["get", path...]        the node at the paths, the first from the
 *                           context, each other from the node that the one
 *                           before found. A link there is replaced by its
 *                           target. "value" is another name for "get"
 *   ["path", path...]       the absolute path of that node
 *   ["exists", path...]     whether there is such a node; false for
 *                           failures
 *   ["length", path...]     the number of its children; fails for scalars
 *   ["range", low, high, path...]
 *                           whether every number found at the paths, each
 *                           from the context, lies within the bounds, which
 *                           are included
 *   ["regex", pattern, flags, text]
 *                           whether the PCRE2 pattern matches; flags are ""
 *                           or "i"
 *   ["unique", ...]         true; the operands are not evaluated
 *
 * Numbers in "range" are integers, or strings as atof() reads them in the "C" locale. A
 * bound of "" or "nan" excludes nothing. Path operands that fail, and paths to nothing,
 * null or an empty string, are skipped. Other kinds fail, as do reals and a null behind a
 * link.
 *
 * Without a context nothing is looked up: "get" and "path" fail without a message, "exists"
 * is false, "length" fails, and "range" skips its paths.
 *
 * A pattern is compiled at every evaluation. PCRE2 matches by backtracking: adjacent
 * repeats of the same characters make the steps grow with a power of the length of the text
 * (the cube for "\w+\s*\w+\s*[=:]" and a text of letters), up to PCRE2's default limit of
 * 10,000,000 for each place where a match may start. A match that exceeds PCRE2's limits,
 * or runs out of memory, counts as no match. For untrusted texts limit the length, anchor
 * patterns ("^..."), make repeats possessive ("\w++"), or begin the pattern with a lower
 * limit, "(*LIMIT_MATCH=1000)".
 */
#ifndef NODETREE_EXPR_H
#define NODETREE_EXPR_H

#include <nodetree/export.h>
#include <nodetree/node.h>
#include <stdbool.h>

NODETREE_BEGIN

/* The limit on nested operations. An operation nested deeper makes the whole evaluation
   fail with a message, even inside "exists", "length" and "range". In an optimised build an
   evaluation takes 16 KiB of stack at any depth, and PCRE2 up to 190 KiB to compile a
   pattern of nested groups, so a stack of 256 KiB is enough. */
#define EXPR_NESTING_MAX 200

/* Evaluates `expr` against `context`. Both may be NULL; a NULL expression gives NULL. The
   result has one reference, owned by the caller and dropped with node_unref(). It must not
   be changed, because it may be a part of the expression or the context. NULL is failure.

   `error` may be NULL. Otherwise set *error to NULL before the call and free the text that
   it points to after the call. The message of the last failure is stored there as a new
   text, or NULL when memory runs out for it, without freeing what was there. "exists" and
   "length" free the message so far, including the caller's, and set *error to NULL.
   Otherwise *error is not changed. Messages have the form "PATH (PATH): what is wrong",
   with the paths of the failing operation and of the context. A failure may have no
   message, and a result may come with the message of an operand that "range" skipped.

   When memory runs out the whole evaluation fails, even inside "exists" and "range"; only a
   match that runs out of memory counts as no match. Costs as much as the operations: a
   lookup for each path, a comparison for each operand of "eq".

   The only node that is written to is the result, for its reference. So threads may
   evaluate one expression at the same time, each against a context of its own, unless the
   result can be a part of the expression: a literal, or one that "atom" or "assert"
   returns. */
NODETREE_API node *expr_eval(node *expr, node *context, char **error);

/* The truth of a node: the value of a boolean; true for other values except the empty
   string, 0, 0.0 and null (a NaN is true, and so are empty containers); false for NULL. A
   link is as true as its final target, and false when it dangles or memory runs out. Costs
   a lookup for each link. */
NODETREE_API bool expr_coerce_bool(const node *n);

NODETREE_END

#endif
