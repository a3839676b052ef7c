#include <cstdlib>
#include <cstring>
#include <nodetree/json.h>
#include <nodetree/msgpack.h>
#include <nodetree/node_stream.h>

// At most one of the decoders exists, according to the format.
struct node_stream {
  json_stream *json;
  msgpack_stream *msgpack;
  node_value_callback callback;
  void *user_data;
};

namespace nodetree {
namespace {

void make_decoder(node_stream *stream, node_stream_format format) {
  if (format == NODE_STREAM_JSON)
    stream->json = json_stream_new(stream->callback, stream->user_data);
  else if (format == NODE_STREAM_MSGPACK)
    stream->msgpack = msgpack_stream_new(stream->callback, stream->user_data);
}

node_stream_format recognise(const void *bytes, size_t size) {
  return size && *static_cast<const char *>(bytes) == '{' ? NODE_STREAM_JSON
                                                          : NODE_STREAM_MSGPACK;
}

bool encode_json(const node *n, char **data, size_t *size) {
  *data = json_stringify(n, true);
  *size = *data ? std::strlen(*data) : 0;
  return *size != 0;
}

} // namespace
} // namespace nodetree

using namespace nodetree;

node_stream *node_stream_new(node_stream_format format, node_value_callback callback,
                             void *user_data) {
  if (!callback)
    return nullptr;
  auto *stream = static_cast<node_stream *>(std::calloc(1, sizeof(node_stream)));
  if (!stream)
    return nullptr;
  stream->callback = callback;
  stream->user_data = user_data;
  make_decoder(stream, format);
  return stream;
}

bool node_stream_decode(node_stream *stream, const void *bytes, size_t size) {
  if (node_stream_get_format(stream) == NODE_STREAM_AUTO)
    make_decoder(stream, recognise(bytes, size));
  if (stream->json)
    return json_stream_parse(stream->json, bytes, size);
  return stream->msgpack && msgpack_stream_decode(stream->msgpack, bytes, size);
}

bool node_stream_encode(const node_stream *stream, const node *n, char **data,
                        size_t *size) {
  switch (node_stream_get_format(stream)) {
  case NODE_STREAM_JSON:
    return encode_json(n, data, size);
  case NODE_STREAM_MSGPACK:
    return msgpack_encode(n, data, size);
  case NODE_STREAM_AUTO:
    break;
  }
  return false;
}

node_stream_format node_stream_get_format(const node_stream *stream) {
  if (stream->json)
    return NODE_STREAM_JSON;
  return stream->msgpack ? NODE_STREAM_MSGPACK : NODE_STREAM_AUTO;
}

void node_stream_free(node_stream *stream) {
  if (!stream)
    return;
  json_stream_free(stream->json);
  msgpack_stream_free(stream->msgpack);
  std::free(stream);
}
