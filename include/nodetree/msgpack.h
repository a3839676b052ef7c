/*
 * msgpack_: conversion between MessagePack and trees.
 *
 * Decoding. nil, booleans, integers, floats of both widths (as reals), strings, arrays and
 * maps become nodes. Values without a node form (binary data, extensions) and members whose
 * key is not a string are left out and reported; of members with the same name the first
 * one counts. A string ends at a NUL. UTF-8 is not checked. The whole message fails for a
 * key of more than 127 bytes or with a NUL inside, for an unsigned integer above INT64_MAX,
 * and when memory runs out.
 *
 * Encoding. Members and elements are written in their order, integers in the shortest form,
 * reals as 64-bit floats, a link as its final target, a dangling link as nil. Encoding
 * fails for links that lead to each other in a circle or to a container that holds them,
 * for more nodes behind links than convention 12 allows, and for nodes of an unknown kind.
 *
 * Both work at any depth. Memory is taken in proportion to the bytes that have arrived,
 * whatever sizes they announce. Failures and values left out are logged at LOG_ERR.
 * LOG_DEBUG shows how many bytes of a stream came before the message that failed.
 */
#ifndef NODETREE_MSGPACK_H
#define NODETREE_MSGPACK_H

#include <nodetree/export.h>
#include <nodetree/node.h>
#include <stdbool.h>
#include <stddef.h>

NODETREE_BEGIN

/* A MessagePack decoder for input in chunks. */
typedef struct msgpack_stream msgpack_stream;

/* A new decoder for any number of messages in a row, in chunks of any size, freed with
   msgpack_stream_free(). The tree of each message goes to `callback` with `user_data` when
   its last byte has arrived; it is NULL for a value without a node form. NULL when memory
   runs out and for a NULL callback. */
NODETREE_API msgpack_stream *msgpack_stream_new(node_value_callback callback,
                                                void *user_data);

/* Feeds `size` bytes: true. False at the first error and at every later call; the messages
   completed before have been delivered. Also false inside the callback. All calls together
   take O(n) for n bytes. Between messages the stream holds less than 200 KiB. */
NODETREE_API bool msgpack_stream_decode(msgpack_stream *stream, const void *bytes,
                                        size_t size);

/* Releases the stream and an unfinished message. NULL is ignored. */
NODETREE_API void msgpack_stream_free(msgpack_stream *stream);

/* The tree of the first message in the `*size` bytes, owned by the caller. `*size` is set
   to the number of bytes of that message, so the next one begins there. NULL for a value
   without a node form, and for a message that fails because of a key or a number; `*size`
   is set then too. NULL, with `*size` unchanged, for an incomplete message, for bytes that
   are not MessagePack, and when memory runs out. O(bytes of the message). */
NODETREE_API node *msgpack_decode(const void *bytes, size_t *size);

/* Encodes a tree as one message. Stores a new buffer, freed with free(), in `*data` and its
   size in `*size`: true. False, with NULL and 0, on failure and for a NULL node. O(n). */
NODETREE_API bool msgpack_encode(const node *n, char **data, size_t *size);

NODETREE_END

#endif
