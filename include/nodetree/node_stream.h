/*
 * node_stream_: one handle for a peer that speaks either encoding.
 *
 * The stream reads JSON or MessagePack and writes answers in the same. The encoding is said
 * at the start or recognised by the first bytes: a JSON object that begins with the very
 * first one is JSON, anything else MessagePack, so that other JSON values and a MessagePack
 * stream that begins with the integer 123 need the encoding said: read as MessagePack, the
 * characters of a text are small integers. What the codecs read,
 * write and report is told in <nodetree/json.h> and <nodetree/msgpack.h>.
 */
#ifndef NODETREE_NODE_STREAM_H
#define NODETREE_NODE_STREAM_H

#include <nodetree/export.h>
#include <nodetree/node.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

NODETREE_BEGIN

/* What a stream reads and writes. */
typedef enum node_stream_format
#ifdef __cplusplus
    : uint32_t
#endif
{ NODE_STREAM_AUTO = 0, /* not yet known */
  NODE_STREAM_JSON = 1, /* JSON texts */
  NODE_STREAM_MSGPACK = 2 /* MessagePack messages */ } node_stream_format;

/* A decoder that is fed in chunks, and the encoder that goes with it. */
typedef struct node_stream node_stream;

/* A stream in the given format; any other number than the two means NODE_STREAM_AUTO. The
   callback gets each value with its last byte, and NULL for a MessagePack value without a
   node form. NULL without a callback and when memory runs out; when it does so only for the
   decoder the format is forgotten and recognised later. */
NODETREE_API node_stream *node_stream_new(node_stream_format format,
                                          node_value_callback callback, void *user_data);

/* Takes `size` bytes in: true, or false at the first error, after which every call fails
   again. The first call settles the format, an empty chunk for MessagePack; false when no
   decoder can be made, then the next call is the first again. Refused (false) inside the
   callback. O(size) over all calls. */
NODETREE_API bool node_stream_decode(node_stream *stream, const void *bytes, size_t size);

/* The value in the stream's format as a new buffer for free(), of JSON the compact text
   without a newline and with a NUL that *size does not count: true. False on failure, with
   NULL and 0, or, as long as the format is not known, with both left alone. O(n). */
NODETREE_API bool node_stream_encode(const node_stream *stream, const node *n, char **data,
                                     size_t *size);

/* The format; NODE_STREAM_AUTO until it is known. */
NODETREE_API node_stream_format node_stream_get_format(const node_stream *stream);

/* Releases the stream and whatever value is unfinished. NULL is ignored. */
NODETREE_API void node_stream_free(node_stream *stream);

NODETREE_END

#endif
