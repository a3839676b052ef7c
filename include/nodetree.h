/*
 * nodetree: typed trees and the plumbing of Linux services and command-line tools.
 *
 * This header gathers the whole public interface; each family also stands alone under
 * <nodetree/...>. The conventions below hold for every function; a function's own comment
 * says only what is special about it.
 *
 *  1. Names. Functions are named family_verb. A leading underscore marks the plain function
 *     behind a convenience front end of the same name (_sl_new behind sl_new); two leading
 *     underscores mark a comparison that takes the addresses of two fields.
 *  2. Ownership. What a function *makes* for the caller (a text, a list, a buffer, a tree)
 *     belongs to the caller, who releases texts and buffers with free(), string lists with
 *     sl_free(), value lists with vl_free(), nodes with node_free() or node_unref(). What a
 *     function *finds* (getters, walks, lookups) is borrowed and stays with its owner. A
 *     function that takes an argument over says "consumes".
 *  3. Growing lists. A function that grows, shrinks or joins a list may move it and returns
 *     the list to use from then on. Where it fails it returns NULL and the list passed in
 *     is untouched and the caller still owns it.
 *  4. NULL. A NULL string list or value list is an empty one. A NULL node is of no kind and
 *     has no value, key, parent or children, so that what a lookup has not found can be
 *     asked at once: every question about it gives 0, false or NULL. For every other pointer
 *     argument NULL is allowed only where the function says so.
 *  5. Wrong kinds. Asking a node for what its kind does not have is not an error: getters
 *     return their default and container operations do nothing and return false, 0 or NULL.
 *  6. Results. Failure is NULL, false, -1 or a documented negative number. Nothing throws,
 *     aborts or exits. When memory runs out the call fails, leaks nothing and leaves its
 *     arguments as they were, unless its comment says otherwise.
 *  7. Messages. Reports go through log_msg() and are discarded until the program opens a
 *     log. Diagnostics are written at LOG_DEBUG, failures of the codecs and of starting a
 *     program at LOG_ERR. A message is a side effect: the result alone tells whether a call
 *     failed.
 *  8. Threads. There are no locks inside. Reference counts and the logging configuration
 *     are plain variables: one thread at a time uses a tree, a list or a stream, and
 *     logging is set up before other threads log. Distinct objects may be used by distinct
 *     threads; an expression is read only, as expr_eval() says.
 *  9. Locale. JSON numbers and tree dumps are read and written as in the "C" locale
 *     whatever the program's locale is; no call changes the locale of the process or of
 *     another thread.
 * 10. Depth. No function recurses on the depth of a tree or of a text: a tree 1,000,000
 *     levels deep is built, walked, copied and released on a small stack. Expressions nested
 *     deeper than EXPR_NESTING_MAX are refused.
 * 11. Cost. A function whose comment names no cost takes constant time, apart from copying
 *     the texts it is given. n is the number of children, elements or bytes.
 * 12. Links. Every operation that follows link nodes ends. A link whose path passes through
 *     itself does not resolve. Chains of links and paths through other links cost time in
 *     proportion to the links. What fans out is limited: one call enters at most 10,000,000
 *     nodes inside targets that it comes to through other links. A glob lookup counts its
 *     ".." behind a "*", and what it enters behind two of them, as well.
 */
#ifndef NODETREE_H
#define NODETREE_H

#include <nodetree/avl.h>
#include <nodetree/convert.h>
#include <nodetree/export.h>
#include <nodetree/expr.h>
#include <nodetree/file.h>
#include <nodetree/json.h>
#include <nodetree/log.h>
#include <nodetree/msgpack.h>
#include <nodetree/node.h>
#include <nodetree/node_stream.h>
#include <nodetree/process.h>
#include <nodetree/string.h>
#include <nodetree/stringlist.h>
#include <nodetree/stringstream.h>
#include <nodetree/valuelist.h>

#endif
