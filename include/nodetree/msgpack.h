/*
 * msgpack_: MessagePack to trees and back.
 *
 * Reading. nil, booleans, integers, floats of both widths (as reals), strings, arrays and
 * maps become nodes. What has no node form (binary data, extensions, members whose key is
 * no string) is reported and left out; of members of one name the first counts. A string
 * ends at a NUL; its bytes are not checked to be UTF-8. Three things fail the whole message
 * instead, so that nobody gets half of it: a key of more than 127 bytes or with a NUL inside,
 * an unsigned integer above INT64_MAX, and memory running out.
 *
 * Writing. Members and elements are written in their order, integers in the shortest form,
 * reals always as 64-bit floats, a link as the value it leads to in the end, a dangling link
 * as nil. Links that lead to each other in a circle or to a container that holds them, more
 * nodes behind links than convention 12 allows and nodes of an unknown kind fail.
 *
 * Both work at any depth, and take memory in proportion to the bytes that have arrived,
 * whatever sizes those announce. Failures and what was left out are logged at LOG_ERR,
 * and at LOG_DEBUG how many bytes of a stream came before the message that fails.
 */
#ifndef NODETREE_MSGPACK_H
#define NODETREE_MSGPACK_H

#include <nodetree/export.h>
#include <nodetree/node.h>
#include <stdbool.h>
#include <stddef.h>

NODETREE_BEGIN

/* A MessagePack decoder that is fed in chunks. */
typedef struct msgpack_stream msgpack_stream;

/* A decoder for any number of messages, one after another, in chunks of any size. Each
   message's tree goes to `callback` with the message's last byte; it is NULL for a message
   whose value has no node form. NULL when memory runs out and without a callback. */
NODETREE_API msgpack_stream *msgpack_stream_new(node_value_callback callback,
                                                void *user_data);

/* Takes `size` bytes in: true, or false at the first error, after which every call fails
   again; messages completed before the error have been delivered. All calls together are
   O(n) for n bytes in chunks of any sizes. Between messages the stream keeps less than 128
   KiB. Refused (false) inside the callback. */
NODETREE_API bool msgpack_stream_decode(msgpack_stream *stream, const void *bytes,
                                        size_t size);

/* Releases the stream and whatever message is unfinished. NULL is ignored. */
NODETREE_API void msgpack_stream_free(msgpack_stream *stream);

/* The tree of the first message in the `*size` bytes; `*size` is set to the number of bytes
   that the message takes, so that the next one begins there. NULL for a message whose value
   has no node form and for one in which a key or a number is refused, with `*size` set all
   the same; and, with `*size` as it was, for bytes that are cut short or no MessagePack, and
   when memory runs out. O(bytes of the message). */
NODETREE_API node *msgpack_decode(const void *bytes, size_t *size);

/* The message of a tree as a new buffer for free(): true. False, with NULL and 0, on
   failure and for a NULL node. O(n). */
NODETREE_API bool msgpack_encode(const node *n, char **data, size_t *size);

NODETREE_END

#endif
