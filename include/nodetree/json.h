/*
 * json_: conversion between JSON text and trees.
 *
 * Parsing. Numbers without a fraction or an exponent become integers, others reals. The
 * parse fails for a number out of range, also for -9223372036854775808, which yajl refuses
 * although it would fit, and for an object that repeats a name. Comments are skipped. UTF-8
 * is not checked. A string or name ends at an escaped NUL.
 *
 * Writing. Members are written in their order, a link as its final target, a dangling link
 * as null. These have no JSON form, and writing fails: containers nested more than 127
 * deep, targets of links included; links that lead to each other in a circle or to a
 * container that holds them; more nodes behind links than convention 12 allows; a real that
 * is NaN or infinite; a node of an unknown kind. The reason is logged at LOG_ERR.
 *
 * Parse failures are logged at LOG_ERR as "Failed to parse JSON: " and yajl's reason. For a
 * repeated name that is "client cancelled parse via callback return value". LOG_DEBUG shows
 * the name, and how many bytes of the text or chunk yajl had read.
 */
#ifndef NODETREE_JSON_H
#define NODETREE_JSON_H

#include <nodetree/export.h>
#include <nodetree/node.h>
#include <stdbool.h>
#include <stddef.h>

NODETREE_BEGIN

/* A JSON parser for input in chunks. */
typedef struct json_stream json_stream;

/* A new parser for any number of top-level values in a row, in chunks of any size, freed
   with json_stream_free(). Each value goes to `callback` with `user_data` when its last
   byte has arrived. With a NULL callback the values are checked and dropped. NULL when
   memory runs out. */
NODETREE_API json_stream *json_stream_new(node_value_callback callback, void *user_data);

/* Feeds `size` bytes: true. False at the first error and at every later call; the values
   completed before have been delivered. Also false inside the callback. A number at the end
   of the bytes is delivered when the next byte shows that it has ended, so feed a newline
   at the end of the input. All calls together take O(n) for n bytes; a single call may read
   a string, number or comment again that began in earlier chunks. */
NODETREE_API bool json_stream_parse(json_stream *stream, const void *bytes, size_t size);
NODETREE_API bool json_stream_parse_string(json_stream *stream, const char *text);

/* Releases the stream and an unfinished value. NULL is ignored. */
NODETREE_API void json_stream_free(json_stream *stream);

/* The tree of the one JSON value in the buffer, text or file, owned by the caller. NULL
   when there is no value, more than one, or something that is not JSON, and when memory
   runs out. Also NULL for a file that cannot be mapped or is empty, which is logged at
   LOG_DEBUG. O(n). */
NODETREE_API node *json_parse_buffer(const void *bytes, size_t size);
NODETREE_API node *json_parse_string(const char *text);
NODETREE_API node *json_parse_filename(const char *path);

/* The JSON of a tree as a new text: compact without any white space, otherwise indented
   with tabs and with a newline at the end. NULL on failure and for NULL. O(n). */
NODETREE_API char *json_stringify(const node *n, bool compact);

/* Writes the JSON of a tree to a file, and returns whether it was written. The file is
   created or truncated when the text has been made. Failures are logged at LOG_DEBUG. O(n).
 */
NODETREE_API bool json_stringify_filename(const char *path, const node *n, bool compact);

/* Whether the node equals the tree of a JSON text, by node_equals(). A text that does not
   parse equals NULL. O(n log n). */
NODETREE_API bool node_equals_json(const node *n, const char *text);

NODETREE_END

#endif
