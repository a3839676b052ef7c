/*
 * nodetree: typed trees, and support code for Linux services and command-line tools.
 *
 * This header includes the whole public interface. Each family also has a header of its own
 * in <nodetree/...>. The conventions below hold for every function; a function's comment
 * says only what is special about it.
 *
 *  1. Names. Functions are named family_verb. A leading underscore marks the plain function
 *     behind a convenience front end of the same name (_sl_new behind sl_new). Two leading
 *     underscores mark a comparison that takes the addresses of two fields.
 *  2. Ownership. What a function *makes* for the caller (a text, a list, a buffer, a tree)
 *     is owned by the caller. Texts and buffers are freed with free(), string lists with
 *     sl_free(), value lists with vl_free(), nodes with node_free() or node_unref(). What a
 *     function *finds* (getters, walks, lookups) is borrowed: it stays with its owner. A
 *     function that takes over an argument "consumes" it.
 *  3. Growing lists. A function that grows, shrinks or joins a list may move it and returns
 *     the list to use from then on. On failure it returns NULL, and the list passed in is
 *     unchanged and still owned by the caller.
 *  4. NULL. A NULL string list or value list is an empty one. A NULL node has no kind,
 *     value, key, parent or children. Every question about it gives 0, false or NULL, so
 *     the result of a lookup needs no test. Other pointer arguments may be NULL only where
 *     the comment says so.
 *  5. Wrong kinds. It is not an error to ask a node for what its kind does not have:
 *     getters return their default, and container operations do nothing and return false, 0
 *     or NULL.
 *  6. Results. Failure is NULL, false, -1 or a documented negative number. No function
 *     throws, aborts or exits. When memory runs out the call fails, leaks nothing and
 *     leaves its arguments unchanged, unless its comment says otherwise.
 *  7. Messages. All messages go through log_msg() and are discarded until the program opens
 *     a log. Diagnostics are logged at LOG_DEBUG, failures of the codecs and of starting a
 *     program at LOG_ERR. Only the result tells whether a call failed; a message is a side
 *     effect.
 *  8. Threads. The library takes no locks. Reference counts and the logging configuration
 *     are plain variables. So one thread at a time uses a tree, a list or a stream, and
 *     logging is set up before other threads log. Different threads may use different
 *     objects. expr_eval() says when threads may share an expression.
 *  9. Locale. JSON numbers and tree dumps are read and written as in the "C" locale,
 *     whatever the program's locale is. No call changes the locale of the process or of
 *     another thread.
 * 10. Depth. No function recurses on the depth of a tree or a text: a tree 1,000,000 levels
 *     deep can be built, walked, copied and released on a small stack. Expressions nested
 *     deeper than EXPR_NESTING_MAX fail.
 * 11. Cost. Without a cost in its comment a function takes constant time, apart from
 *     copying the texts it is given. n is the number of children, elements or bytes.
 * 12. Links. Every operation that follows links ends. A link whose path passes through
 *     itself does not resolve. Chains of links, and paths through other links, take time
 *     proportional to the links. Links can multiply what is visited, so there is a limit: a
 *     call enters at most 10,000,000 nodes inside targets that were reached through two or
 *     more links. In a glob lookup each ".." after a "*", and each node entered after two
 *     of those, counts as well.
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
