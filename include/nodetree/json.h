/*
 * json_: JSON text to trees and back.
 *
 * Parsing. Whole numbers become integers, numbers with a fraction or an exponent reals. A
 * number that does not fit fails the parse; so does -9223372036854775808, which the parser
 * below us refuses although it would fit. An object that repeats a name fails. Comments are
 * skipped. Bytes are not checked to be UTF-8. A text or name ends at an escaped NUL.
 *
 * Writing. Members are written in their order, a link as the value it leads to in the end,
 * a dangling link as null. Trees that have no JSON form fail: containers nested more than
 * 127 deep (the links' targets counted in), links that lead to each other in a circle or to
 * a container that holds them, more nodes behind links than convention 12 allows, a real
 * that is NaN or infinite, a node of an unknown kind. The reason is logged at LOG_ERR.
 *
 * Parse failures are logged at LOG_ERR as "Failed to parse JSON: " and the reason, and at
 * LOG_DEBUG a repeated name, and how many bytes of the text or chunk the parser had read.
 */
#ifndef NODETREE_JSON_H
#define NODETREE_JSON_H

#include <nodetree/export.h>
#include <nodetree/node.h>
#include <stdbool.h>
#include <stddef.h>

NODETREE_BEGIN

/* A JSON parser that is fed in chunks. */
typedef struct json_stream json_stream;

/* A parser for any number of top-level values, one after another, in chunks of any size.
   Each value goes to `callback` as soon as its last byte has arrived. Without a callback
   (NULL) the values are checked and dropped. NULL when memory runs out. */
NODETREE_API json_stream *json_stream_new(node_value_callback callback, void *user_data);

/* Feeds `size` bytes: true, or false at the first error, after which every call fails
   again; values completed before the error have been delivered. A number at the very end is
   held until the next byte shows where it ends: feed a newline at the end of the input.
   All calls together are O(n) for n bytes in chunks of any sizes; one call may go over a
   string, number or comment again that began in earlier chunks. Refused (false) inside the
   callback. */
NODETREE_API bool json_stream_parse(json_stream *stream, const void *bytes, size_t size);
NODETREE_API bool json_stream_parse_string(json_stream *stream, const char *text);

/* Releases the stream and whatever value is unfinished. NULL is ignored. */
NODETREE_API void json_stream_free(json_stream *stream);

/* The tree of the one value that the buffer, text or file holds; NULL where it holds none,
   more than one or something else, and for a file that cannot be read or is empty (reported
   at LOG_DEBUG). O(size). */
NODETREE_API node *json_parse_buffer(const void *bytes, size_t size);
NODETREE_API node *json_parse_string(const char *text);
NODETREE_API node *json_parse_filename(const char *path);

/* The JSON text of a tree as a new text: without any white space, or indented with tabs and
   ended by a newline. NULL on failure and for NULL, as node_diff() gives it. O(n). */
NODETREE_API char *json_stringify(const node *n, bool compact);

/* The same into a file, which is created or truncated once the text has been made: whether
   it was written. Failures are logged at LOG_DEBUG. */
NODETREE_API bool json_stringify_filename(const char *path, const node *n, bool compact);

/* Whether the node equals the tree of a JSON text. A text that does not parse equals NULL.
 */
NODETREE_API bool node_equals_json(const node *n, const char *text);

NODETREE_END

#endif
