#include "codec/json_stream.hpp"
#include "log/report.hpp"
#include "node/node_internal.hpp"

#include <cstring>
#include <nodetree/file.h>
#include <nodetree/log.h>

using namespace nodetree;

namespace nodetree {
namespace {

// False when memory runs out. The stream is zero-filled but for its memory.
bool start(json_stream *stream) {
  yajl_alloc_funcs memory = stream->memory.functions();
  if (!stream->memory.run(
          [&] { stream->parser = yajl_alloc(&json_handlers, &memory, stream); }))
    return false;
  yajl_config(stream->parser, yajl_allow_comments, 1);
  yajl_config(stream->parser, yajl_dont_validate_strings, 1);
  return true;
}

void release(json_stream *stream) {
  stream->memory.release();
  node_free(stream->root);
  stream->tail.take_held();
  node_free(stream->pending);
}

void fail(json_stream *stream) {
  node_free(stream->root);
  stream->root = stream->current = nullptr;
  stream->tail.end_token();
}

// False when memory runs out. The parser is then gone, and all later calls fail as well.
template <class Enter>
bool enter_parser(json_stream *stream, Enter enter) {
  if (stream->memory.run(enter))
    return true;
  stream->parser = nullptr;
  stream->memory.release();
  return false;
}

// Runs the parser in a locale whose decimal sign is a point. Returns its result; false when
// memory runs out.
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

// The parser does not notice what is unfinished after a value. An unfinished string makes
// it refuse a newline. If it accepts a bracket, it is inside a comment, because only white
// space may follow a value.
bool is_complete(yajl_handle parser) {
  static const unsigned char newline[] = {'\n'};
  static const unsigned char bracket[] = {']'};
  yajl_parse(parser, newline, sizeof newline);
  return yajl_complete_parse(parser) == yajl_status_ok &&
         yajl_parse(parser, bracket, sizeof bracket) != yajl_status_ok;
}

// The parser of one whole text, with room for what it needs for most texts.
class WholeText {
public:
  WholeText() { stream.memory.begin_in(room_); }
  ~WholeText() { release(&stream); }
  WholeText(const WholeText &) = delete;
  WholeText &operator=(const WholeText &) = delete;

  json_stream stream = {};

private:
  alignas(std::max_align_t) std::byte room_[3072];
};

} // namespace
} // namespace nodetree

json_stream *json_stream_new(node_value_callback callback, void *user_data) {
  auto *stream = static_cast<json_stream *>(std::calloc(1, sizeof(json_stream)));
  if (!stream)
    return nullptr;
  if (!start(stream)) {
    json_stream_free(stream);
    return nullptr;
  }
  stream->callback = callback;
  stream->user_data = user_data;
  yajl_config(stream->parser, yajl_allow_multiple_values, 1);
  return stream;
}

bool json_stream_parse(json_stream *stream, const void *bytes, size_t size) {
  if (stream->locale)
    return false; // a call from the callback: the parser cannot be entered twice
  auto *text = static_cast<const unsigned char *>(bytes);
  JsonTail &tail = stream->tail;
  if (tail.hold_back(text, size))
    return true;
  const JsonTail::Held held = tail.take_held();
  if (held.bytes && !feed(stream, held.bytes.get(), held.size))
    return false;
  stream->token_end = no_token;
  if (!feed(stream, text, size))
    return false;
  size_t begin = 0; // of the part after the last text or number
  if (stream->token_end != no_token) {
    tail.end_token();
    begin = stream->token_end;
  }
  tail.note_fed(text + begin, size - begin);
  return true;
}

bool json_stream_parse_string(json_stream *stream, const char *text) {
  return json_stream_parse(stream, text, std::strlen(text));
}

void json_stream_free(json_stream *stream) {
  if (stream)
    release(stream);
  std::free(stream);
}

node *json_parse_buffer(const void *bytes, size_t size) {
  WholeText text;
  json_stream *stream = &text.stream;
  if (!start(stream) || !feed(stream, static_cast<const unsigned char *>(bytes), size))
    return nullptr;
  if (!run_parser(stream, is_complete)) {
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
