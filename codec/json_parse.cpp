#include "codec/json_tail.hpp"
#include "codec/yajl_memory.hpp"
#include "log/report.hpp"
#include "node/node_internal.hpp"
#include "shared/c_locale.hpp"
#include "shared/memory.hpp"

#include <cstdint>
#include <cstring>
#include <nodetree/file.h>
#include <nodetree/json.h>
#include <nodetree/log.h>
#include <yajl/yajl_parse.h>

using namespace nodetree;

struct json_stream {
  yajl_handle parser; // lives in `memory`; NULL once there was too little
  unsigned depth;     // containers open at this point of the text
  node *root;         // the top-level value being built, or without a callback the last one
  node *current;      // the innermost open container
  char *pending_key;  // the member name that waits for its value, NULL when none does
  node_value_callback callback;
  void *user_data;
  // The fields above keep their places; new ones come below.
  bool name_repeated; // the open object has the pending key already
  YajlMemory memory;
  char *key_buffer;       // where the pending key stands
  size_t key_room;        // the size of that
  CNumericLocale *locale; // in force while the parser runs, otherwise NULL
  JsonTail tail;          // what the chunks so far leave unfinished
  size_t event_end;       // where in the chunk the last event's token ends, or no_event
};

namespace nodetree {
namespace {

constexpr size_t no_event = SIZE_MAX;

// What the handlers return to the parser. Where memory runs out they leave it by a jump to
// run_parser(), so none of their frames, which stand between the two, may own anything then.
constexpr int go_on = 1;
constexpr int cancel = 0;

void deliver(json_stream *stream, node *value) {
  stream->locale->suspend();
  stream->callback(value, stream->user_data);
  stream->locale->resume();
}

// Adds a value, which has the pending key behind it, to the open container.
bool attach(json_stream *stream, node *value) {
  node *container = stream->current;
  if (container->type == NODE_ARRAY) {
    array_append_free(container, value);
    return true;
  }
  if (!stream->pending_key)
    return false;
  stream->name_repeated = !object_add_with_key(container, key_behind(value), value);
  if (stream->name_repeated)
    return false;
  stream->pending_key = nullptr;
  return true;
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

// Takes over a new value.
int place(json_stream *stream, node *value) {
  if (stream->depth == 0)
    return place_top_level(stream, value);
  if (!attach(stream, value)) {
    node_free(value);
    return cancel;
  }
  if (is_container(value)) {
    stream->current = value;
    stream->depth++;
  }
  return go_on;
}

// What each handler begins with: the stream, with the place in the text that the event has
// brought the parser to.
json_stream *at_event(void *context) {
  auto *stream = static_cast<json_stream *>(context);
  stream->event_end = yajl_get_bytes_consumed(stream->parser);
  return stream;
}

node *make(json_stream *stream, node_type kind) {
  node *made = node_make(kind, stream->pending_key ? stream->pending_key : "");
  if (!made)
    stream->memory.run_out();
  return made;
}

template <class Set>
int place_new(void *context, node_type kind, Set set) {
  json_stream *stream = at_event(context);
  node *value = make(stream, kind);
  set(value);
  return place(stream, value);
}

template <node_type kind>
int on_plain(void *context) {
  return place_new(context, kind, [](node *) {});
}

int on_boolean(void *context, int boolean) {
  return place_new(context, NODE_BOOLEAN,
                   [=](node *n) { n->value.boolean = boolean != 0; });
}

int on_integer(void *context, long long integer) {
  return place_new(context, NODE_INTEGER, [=](node *n) { n->value.integer = integer; });
}

int on_double(void *context, double real) {
  return place_new(context, NODE_REAL, [=](node *n) { n->value.real = real; });
}

int on_string(void *context, const unsigned char *bytes, size_t length) {
  json_stream *stream = at_event(context);
  node *value = make(stream, NODE_STRING);
  value->value.string = copy_text({reinterpret_cast<const char *>(bytes), length});
  if (!value->value.string) {
    node_free(value);
    stream->memory.run_out();
  }
  return place(stream, value);
}

int on_map_key(void *context, const unsigned char *bytes, size_t length) {
  json_stream *stream = at_event(context);
  if (length >= stream->key_room) {
    void *buffer = std::realloc(stream->key_buffer, length + 1);
    if (!buffer)
      stream->memory.run_out();
    stream->key_buffer = static_cast<char *>(buffer);
    stream->key_room = length + 1;
  }
  std::memcpy(stream->key_buffer, bytes, length);
  stream->key_buffer[length] = '\0';
  stream->pending_key = stream->key_buffer;
  return go_on;
}

int on_end(void *context) {
  json_stream *stream = at_event(context);
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

const yajl_callbacks handlers = {on_plain<NODE_NULL>,
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

json_stream *make_stream() {
  auto *stream = static_cast<json_stream *>(std::calloc(1, sizeof(json_stream)));
  if (!stream)
    return nullptr;
  yajl_alloc_funcs memory = stream->memory.functions();
  if (!stream->memory.run(
          [&] { stream->parser = yajl_alloc(&handlers, &memory, stream); })) {
    json_stream_free(stream);
    return nullptr;
  }
  yajl_config(stream->parser, yajl_allow_comments, 1);
  yajl_config(stream->parser, yajl_dont_validate_strings, 1);
  return stream;
}

void fail(json_stream *stream) {
  node_free(stream->root);
  stream->root = stream->current = nullptr;
  stream->tail.end_token();
}

// False when memory runs out, which is the parser's end: all later calls say so.
template <class Enter>
bool enter_parser(json_stream *stream, Enter enter) {
  if (stream->memory.run(enter))
    return true;
  stream->parser = nullptr;
  stream->memory.release();
  return false;
}

// Runs the parser where the decimal sign is a point: what it returns, false without memory.
template <class Run>
bool run_parser(json_stream *stream, Run run) {
  CNumericLocale locale;
  stream->locale = &locale;
  bool good = false;
  bool entered = enter_parser(stream, [&] { good = run(stream->parser); });
  stream->locale = nullptr;
  return entered && good;
}

bool report(const char *reason) {
  log_msg(LOG_ERR, "Failed to parse JSON: %s", reason);
  return false;
}

// Reports why the parser has refused the text.
bool report(json_stream *stream, const unsigned char *text, size_t size) {
  unsigned char *reason = nullptr;
  if (!stream->parser || !enter_parser(stream, [&] {
        reason = yajl_get_error(stream->parser, 1, text, size);
      }))
    return report("out of memory");
  report(reinterpret_cast<const char *>(reason));
  yajl_free_error(stream->parser, reason);
  if (stream->name_repeated)
    NODETREE_DEBUG("Repeated member name %s", stream->pending_key);
  NODETREE_DEBUG("Stopped at byte %zu", yajl_get_bytes_consumed(stream->parser));
  return false;
}

bool feed(json_stream *stream, const unsigned char *text, size_t size) {
  if (stream->parser && run_parser(stream, [=](yajl_handle parser) {
        return yajl_parse(parser, text, size) == yajl_status_ok;
      }))
    return true;
  fail(stream);
  return report(stream, text, size);
}

// The parser overlooks what is unfinished behind a value. A newline it does not, where that
// is a string, which may hold none; and where it takes a bracket as well, that is in a
// comment, for anywhere else nothing but white space may come.
bool is_complete(yajl_handle parser) {
  static const unsigned char newline[] = {'\n'};
  static const unsigned char bracket[] = {']'};
  yajl_parse(parser, newline, sizeof newline);
  return yajl_complete_parse(parser) == yajl_status_ok &&
         yajl_parse(parser, bracket, sizeof bracket) != yajl_status_ok;
}

struct StreamFree {
  void operator()(json_stream *stream) const { json_stream_free(stream); }
};

} // namespace
} // namespace nodetree

json_stream *json_stream_new(node_value_callback callback, void *user_data) {
  json_stream *stream = make_stream();
  if (!stream)
    return nullptr;
  stream->callback = callback;
  stream->user_data = user_data;
  yajl_config(stream->parser, yajl_allow_multiple_values, 1);
  return stream;
}

bool json_stream_parse(json_stream *stream, const void *bytes, size_t size) {
  if (stream->locale)
    return false; // called back by the parser, which cannot be entered twice
  auto *text = static_cast<const unsigned char *>(bytes);
  JsonTail &tail = stream->tail;
  if (tail.hold_back(text, size))
    return true;
  const JsonTail::Held held = tail.take_held();
  if (held.bytes && !feed(stream, held.bytes.get(), held.size))
    return false;
  stream->event_end = no_event;
  if (!feed(stream, text, size))
    return false;
  size_t begin = 0; // of what brought no event
  if (stream->event_end != no_event) {
    tail.end_token();
    begin = stream->event_end;
  }
  tail.note_fed(text + begin, size - begin);
  return true;
}

bool json_stream_parse_string(json_stream *stream, const char *text) {
  return json_stream_parse(stream, text, std::strlen(text));
}

void json_stream_free(json_stream *stream) {
  if (!stream)
    return;
  stream->memory.release();
  node_free(stream->root);
  stream->tail.take_held();
  std::free(stream->key_buffer);
  std::free(stream);
}

node *json_parse_buffer(const void *bytes, size_t size) {
  std::unique_ptr<json_stream, StreamFree> stream(make_stream());
  if (!stream || !feed(stream.get(), static_cast<const unsigned char *>(bytes), size))
    return nullptr;
  if (!run_parser(stream.get(), is_complete)) {
    report(stream->parser ? "incomplete value" : "out of memory");
    return nullptr;
  }
  node *value = stream->root;
  stream->root = nullptr;
  return value;
}

node *json_parse_string(const char *text) {
  return json_parse_buffer(text, std::strlen(text));
}

node *json_parse_filename(const char *path) {
  size_t size = 0;
  void *bytes = file_map(path, &size);
  if (!bytes)
    return nullptr;
  node *value = json_parse_buffer(bytes, size);
  file_unmap(bytes, size);
  return value;
}

bool node_equals_json(const node *n, const char *text) {
  NodeOwner parsed(json_parse_string(text));
  return node_equals(n, parsed.get());
}
