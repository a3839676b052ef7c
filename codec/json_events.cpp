#include "codec/json_stream.hpp"
#include "node/node_internal.hpp"
#include "shared/memory.hpp"

#include <cstring>

namespace nodetree {
namespace {

// The results of the handlers. When memory runs out a handler leaves the parser by a jump,
// so no frame between the two may own anything at that point.
constexpr int go_on = 1;
constexpr int cancel = 0;

void deliver(json_stream *stream, node *value) {
  stream->locale->suspend();
  stream->callback(value, stream->user_data);
  stream->locale->resume();
}

int place_top_level(json_stream *stream, node *value) {
  if (stream->callback && !is_container(value)) {
    deliver(stream, value);
    return go_on;
  }
  node_free(stream->root);
  stream->root = stream->current = value;
  stream->depth = is_container(value) ? 1 : 0;
  return go_on;
}

// Takes over a new value. One that cannot be added as a member stays pending with its key.
int place(json_stream *stream, node *value) {
  if (stream->depth == 0)
    return place_top_level(stream, value);
  node *container = stream->current;
  if (container->type == NODE_ARRAY) {
    array_append_free(container, value);
  } else if (stream->pending_key &&
             object_add_with_key(container, stream->pending_key, value)) {
    stream->pending_key = nullptr;
  } else {
    stream->name_repeated = stream->pending_key != nullptr;
    stream->pending = value;
    return cancel;
  }
  if (is_container(value)) {
    stream->current = value;
    stream->depth++;
  }
  return go_on;
}

json_stream *stream_of(void *context) {
  return static_cast<json_stream *>(context);
}

// The same at the end of a text or number. Until the next one only brackets and literals
// follow, which do not matter for what is unfinished.
json_stream *at_token_end(void *context) {
  json_stream *stream = stream_of(context);
  stream->token_end = yajl_get_bytes_consumed(stream->parser);
  return stream;
}

// The node for a value: the pending one of a member, otherwise a new one.
node *make(json_stream *stream, node_type kind) {
  node *made = stream->pending;
  if (!made) {
    made = node_make(kind);
    if (!made)
      stream->memory.run_out();
    return made;
  }
  stream->pending = nullptr;
  made->type = kind;
  if (is_container(kind))
    make_container(made, kind);
  return made;
}

template <node_type kind>
int on_plain(void *context) {
  json_stream *stream = stream_of(context);
  return place(stream, make(stream, kind));
}

int on_boolean(void *context, int boolean) {
  json_stream *stream = stream_of(context);
  node *value = make(stream, NODE_BOOLEAN);
  value->value.boolean = boolean != 0;
  return place(stream, value);
}

int on_integer(void *context, long long integer) {
  json_stream *stream = at_token_end(context);
  node *value = make(stream, NODE_INTEGER);
  value->value.integer = integer;
  return place(stream, value);
}

int on_double(void *context, double real) {
  json_stream *stream = at_token_end(context);
  node *value = make(stream, NODE_REAL);
  value->value.real = real;
  return place(stream, value);
}

int on_string(void *context, const unsigned char *bytes, size_t length) {
  json_stream *stream = at_token_end(context);
  node *value = make(stream, NODE_STRING);
  value->value.string = copy_text({reinterpret_cast<const char *>(bytes), length});
  if (!value->value.string) {
    node_free(value);
    stream->memory.run_out();
  }
  return place(stream, value);
}

// A name is stored with the node that will get it, which saves a copy.
int on_map_key(void *context, const unsigned char *bytes, size_t length) {
  json_stream *stream = at_token_end(context);
  const std::string_view name(reinterpret_cast<const char *>(bytes), length);
  stream->pending = node_make(NODE_NULL, name);
  if (!stream->pending)
    stream->memory.run_out();
  stream->pending_key = key_behind(stream->pending);
  if (has_nul(stream->pending_key, length))
    write_key(stream->pending_key, name.data());
  return go_on;
}

int on_end(void *context) {
  json_stream *stream = stream_of(context);
  if (!stream->current || stream->depth == 0)
    return cancel;
  node *parent = stream->current->parent;
  stream->current = parent ? parent : stream->root;
  stream->depth--;
  if (stream->depth == 0 && stream->callback) {
    node *value = stream->root;
    stream->root = stream->current = nullptr;
    deliver(stream, value);
  }
  return go_on;
}

} // namespace

const yajl_callbacks json_handlers = {on_plain<NODE_NULL>,
                                      on_boolean,
                                      on_integer,
                                      on_double,
                                      nullptr,
                                      on_string,
                                      on_plain<NODE_OBJECT>,
                                      on_map_key,
                                      on_end,
                                      on_plain<NODE_ARRAY>,
                                      on_end};

} // namespace nodetree
