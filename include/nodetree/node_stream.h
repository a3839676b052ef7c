/*
 * node_stream_: one handle for JSON and MessagePack.
 *
 * The stream decodes one of the two formats and encodes answers in the same. The format is
 * given at the start or recognised by the first byte: "{" is JSON, anything else
 * MessagePack. So give the format for JSON that may begin with white space or another value
 * than an object, since MessagePack reads its characters as small integers, and for
 * MessagePack that may begin with the integer 123. See <nodetree/json.h> and
 * <nodetree/msgpack.h> for what the codecs read, write and log.
 */
#ifndef NODETREE_NODE_STREAM_H
#define NODETREE_NODE_STREAM_H

#include <nodetree/export.h>
#include <nodetree/node.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

NODETREE_BEGIN

/* The format of a stream. */
typedef enum node_stream_format
#ifdef __cplusplus
    : uint32_t
#endif
{ NODE_STREAM_AUTO = 0, /* not yet known */
  NODE_STREAM_JSON = 1, /* JSON texts */
  NODE_STREAM_MSGPACK = 2 /* MessagePack messages */ } node_stream_format;

/* A decoder for input in chunks, and the encoder of the same format. */
typedef struct node_stream node_stream;

/* A new stream in the given format, freed with node_stream_free(); other numbers mean
   NODE_STREAM_AUTO. Each value goes to `callback` with `user_data` when its last byte has
   arrived; it is NULL for a MessagePack value without a node form. NULL when memory runs
   out and for a NULL callback. When memory runs out only for the decoder, the result is a
   stream whose format is not known yet. */
NODETREE_API node_stream *node_stream_new(node_stream_format format,
                                          node_value_callback callback, void *user_data);

/* Feeds `size` bytes: true. False at the first error and at every later call; the values
   completed before have been delivered. Also false inside the callback. The first call
   decides the format if it is not known; an empty chunk means MessagePack. When memory runs
   out for the decoder the result is false and the next call decides. All calls together
   take O(n) for n bytes. */
NODETREE_API bool node_stream_decode(node_stream *stream, const void *bytes, size_t size);

/* Encodes a value in the stream's format. Stores a new buffer, freed with free(), in
   `*data` and its size in `*size`: true. JSON is compact, without a newline, and followed
   by a NUL that `*size` does not count. False, with NULL and 0, on failure and for a NULL
   node. False, with both unchanged, while the format is not known. O(n). */
NODETREE_API bool node_stream_encode(const node_stream *stream, const node *n, char **data,
                                     size_t *size);

/* The format; NODE_STREAM_AUTO while it is not known. */
NODETREE_API node_stream_format node_stream_get_format(const node_stream *stream);

/* Releases the stream and an unfinished value. NULL is ignored. */
NODETREE_API void node_stream_free(node_stream *stream);

NODETREE_END

#endif
