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
 * is false, and "range" skips its paths. A regular expression that takes PCRE2 more than
 * its default limits of steps and memory, or than there is, does not match.
 */
#ifndef NODETREE_EXPR_H
#define NODETREE_EXPR_H

#include <nodetree/export.h>
#include <nodetree/node.h>
#include <stdbool.h>

NODETREE_BEGIN

/* Operations nested deeper than this fail with a message: evaluation recurses. So many
   levels, and below them PCRE2, which takes up to 190 KiB of stack for a pattern of nested
   groups, fit on a stack of 256 KiB in an optimised build. */
#define EXPR_NESTING_MAX 200

/* Evaluates `expr` (NULL gives NULL) against `context` (may be NULL). The result carries
   one reference for the caller, who drops it with node_unref() and does not change the
   node: it may be a part of the expression or the context. NULL is failure.

   `error` may be NULL. Where the evaluation leaves a message, it is stored in *error as a
   new text (NULL for want of memory), whatever stood there before and without releasing
   that; otherwise *error is not touched. Messages read "PATH (PATH): what is wrong", with
   the path of the failing operation and the path of the context. A failure may have no
   message, and a result may come with one, of an operand that "range" skipped: release
   *error whenever it is set. Costs what the operations do: a lookup for each path, each
   with its own limit of links, a comparison for each operand of "eq". */
NODETREE_API node *expr_eval(node *expr, node *context, char **error);

/* Truth: booleans as they are; strings unless empty; integers and reals unless 0 (a NaN is
   true); objects and arrays always; a link as what it leads to in the end, false when that
   is nothing; null and NULL never. A lookup for each link. */
NODETREE_API bool expr_coerce_bool(const node *n);

NODETREE_END

#endif
