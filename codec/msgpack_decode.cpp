#include "log/report.hpp"
#include "node/node_internal.hpp"
#include "shared/memory.hpp"
#include "shared/stack.hpp"

#include <algorithm>
#include <cstring>
#include <mpack.h>
#include <nodetree/log.h>
#include <nodetree/msgpack.h>

#ifdef MPACK_VERSION // MPack's own header, without mpack_tree_add_chunk()
#include "codec/mpack_chunks.hpp"
#endif

using namespace nodetree;

struct msgpack_stream {
  mpack_tree_t tree;
  node_value_callback callback;
  void *user_data;
  size_t decoded; // the size of all messages so far
  bool decoding;  // inside msgpack_stream_decode()
};

namespace nodetree {
namespace {

constexpr size_t longest_key = 127;

// Turns one message into nodes. Incomplete containers are on a stack; a complete one is put
// into its own container.
class Conversion {
public:
  explicit Conversion(mpack_tree_t *tree) : tree_(tree) {}
  ~Conversion() {
    for (; !open_.empty(); open_.pop())
      node_free(open_.back().made);
  }
  Conversion(const Conversion &) = delete;
  Conversion &operator=(const Conversion &) = delete;

  // The whole tree; NULL if the message has no node form or is refused. A refusal is an
  // error of the MPack tree.
  node *run() {
    Value root = make(mpack_tree_root(tree_), "");
    if (root.children == 0)
      return root.made;
    if (!open(root))
      return nullptr;
    for (;;) {
      Container &container = open_.back();
      switch (container.made->type == NODE_ARRAY ? convert_elements(container)
                                                 : convert_members(container)) {
      case Progress::refused:
        return nullptr;
      case Progress::opened:
        break;
      case Progress::complete: {
        node *complete = container.made;
        open_.pop();
        if (open_.empty())
          return complete;
        if (!put(open_.back(), complete))
          return nullptr;
      }
      }
    }
  }

private:
  // A new node, NULL for none, and the number of its children, which are not converted yet.
  struct Value {
    mpack_node_t source;
    node *made;
    size_t children;
  };

  struct Container {
    mpack_node_t source;
    node *made;
    size_t count;
    size_t next; // the child to convert next
  };

  // The key of a pair.
  struct Key {
    std::string_view text;
    bool is_text;

    // Cut to the length limit of names.
    std::string_view name() const { return text.substr(0, longest_key); }
  };

  // The state of a container: it has reached a child with children, it is complete, or the
  // message is refused.
  enum class Progress { opened, complete, refused };

  bool failed() const { return mpack_tree_error(tree_) != mpack_ok; }

  Progress convert_elements(Container &array) {
    while (array.next < array.count) {
      Value element = make(mpack_node_array_at(array.source, array.next++), {});
      if (element.children)
        return open(element) ? Progress::opened : Progress::refused;
      if (element.made)
        array_append_free(array.made, element.made);
      else if (failed())
        return Progress::refused;
    }
    return Progress::complete;
  }

  Progress convert_members(Container &object) {
    while (object.next < object.count) {
      const Key key = key_at(object, object.next);
      Value member =
          make(mpack_node_map_value_at(object.source, object.next++), key.name());
      if (member.children)
        return open(member) ? Progress::opened : Progress::refused;
      if (member.made ? !put_member(object.made, key, member.made) : failed())
        return Progress::refused;
    }
    return Progress::complete;
  }

  // Puts a finished value, the last one converted, into its container. False if the message
  // is refused.
  bool put(const Container &container, node *made) {
    if (container.made->type != NODE_ARRAY)
      return put_member(container.made, key_at(container, container.next - 1), made);
    array_append_free(container.made, made);
    return true;
  }

  bool put_member(node *object, const Key &key, node *made) {
    if (key.is_text && is_name(key) && object_add_with_key(object, key_behind(made), made))
      return true;
    return leave_out(key, made);
  }

  bool leave_out(const Key &key, node *made) {
    if (key.is_text)
      log_msg(LOG_ERR, "Failed to add MessagePack value with key \"%s\" to object",
              key_behind(made));
    else
      log_msg(LOG_ERR, "Skipping MessagePack object child with non-string key");
    node_free(made);
    return !failed();
  }

  static Key key_at(const Container &object, size_t index) {
    mpack_node_t source = mpack_node_map_key_at(object.source, index);
    if (mpack_node_type(source) != mpack_type_str)
      return {{}, false};
    return {{mpack_node_str(source), mpack_node_strlen(source)}, true};
  }

  // The node for a value, empty for a container. Also none if the message is refused.
  Value make(mpack_node_t source, std::string_view name) {
    Value value{source, node_make(NODE_NULL, name), 0};
    if (!value.made)
      mpack_tree_flag_error(tree_, mpack_error_memory);
    else if (fill(value))
      return value;
    std::free(value.made);
    return {source, nullptr, 0};
  }

  // Sets the value of a new node. False if it cannot have the value; there is then nothing
  // to release.
  bool fill(Value &value) {
    node *made = value.made;
    mpack_node_t source = value.source;
    switch (mpack_node_type(source)) {
    case mpack_type_nil:
      return true;
    case mpack_type_bool:
      made->value.boolean = mpack_node_bool(source);
      made->type = NODE_BOOLEAN;
      return true;
    case mpack_type_int:
    case mpack_type_uint: // which may be too large for a node
      made->value.integer = mpack_node_i64(source);
      made->type = NODE_INTEGER;
      return !failed();
    case mpack_type_float:
    case mpack_type_double:
      made->value.real = mpack_node_double(source);
      made->type = NODE_REAL;
      return true;
    case mpack_type_str:
      made->value.string = copy_text({mpack_node_str(source), mpack_node_strlen(source)});
      made->type = NODE_STRING;
      if (!made->value.string)
        mpack_tree_flag_error(tree_, mpack_error_memory);
      return made->value.string != nullptr;
    case mpack_type_array:
      make_container(made, NODE_ARRAY);
      value.children = mpack_node_array_length(source);
      return true;
    case mpack_type_map:
      make_container(made, NODE_OBJECT);
      value.children = mpack_node_map_count(source);
      return true;
    default:
      log_msg(LOG_ERR, "Unhandled MessagePack type: %d",
              static_cast<int>(mpack_node_type(source)));
      return false;
    }
  }

  // Takes over a new node until it has all its children. False when memory runs out.
  bool open(const Value &value) {
    if (open_.push({value.source, value.made, value.children, 0}))
      return true;
    mpack_tree_flag_error(tree_, mpack_error_memory);
    node_free(value.made);
    return false;
  }

  // Whether a text can be a name; if not, the message is refused.
  bool is_name(const Key &key) {
    if (key.text.size() > longest_key)
      mpack_tree_flag_error(tree_, mpack_error_too_big);
    else if (std::memchr(key.text.data(), '\0', key.text.size()))
      mpack_tree_flag_error(tree_, mpack_error_type);
    else
      return true;
    return false;
  }

  mpack_tree_t *tree_;
  Stack<Container> open_;
};

const char *error_text(mpack_tree_t *tree) {
  return mpack_error_to_string(mpack_tree_error(tree));
}

// Decodes the available bytes. False, with a report, on errors.
bool decode_available(msgpack_stream *stream) {
  while (mpack_tree_try_parse(&stream->tree)) {
    const size_t size = mpack_tree_size(&stream->tree);
    node *value = Conversion(&stream->tree).run();
    if (mpack_tree_error(&stream->tree) != mpack_ok)
      break;
    stream->decoded += size;
    stream->callback(value, stream->user_data);
  }
  if (mpack_tree_error(&stream->tree) == mpack_ok)
    return true;
  log_msg(LOG_ERR, "Error parsing MessagePack stream: %s\n", error_text(&stream->tree));
  NODETREE_DEBUG("Stopped at byte %zu", stream->decoded);
  return false;
}

} // namespace
} // namespace nodetree

msgpack_stream *msgpack_stream_new(node_value_callback callback, void *user_data) {
  if (!callback)
    return nullptr;
  auto *stream = static_cast<msgpack_stream *>(std::calloc(1, sizeof(msgpack_stream)));
  if (!stream)
    return nullptr;
  stream->callback = callback;
  stream->user_data = user_data;
  mpack_tree_init_chunked(&stream->tree);
  if (mpack_tree_error(&stream->tree) == mpack_ok)
    return stream;
  msgpack_stream_free(stream);
  return nullptr;
}

bool msgpack_stream_decode(msgpack_stream *stream, const void *bytes, size_t size) {
  if (stream->decoding)
    return false; // a call from the callback: it would overwrite the message being delivered
  if (!mpack_tree_add_chunk(&stream->tree, static_cast<const char *>(bytes), size)) {
    log_msg(LOG_ERR, "Error adding MessagePack data to stream: %s\n",
            error_text(&stream->tree));
    return false;
  }
  stream->decoding = true;
  bool decoded = decode_available(stream);
  stream->decoding = false;
  return decoded;
}

void msgpack_stream_free(msgpack_stream *stream) {
  if (!stream)
    return;
  mpack_tree_destroy(&stream->tree);
  std::free(stream);
}

node *msgpack_decode(const void *bytes, size_t *size) {
  mpack_tree_t tree;
  mpack_tree_init_data(&tree, static_cast<const char *>(bytes), *size);
  mpack_tree_parse(&tree);
  node *value = nullptr;
  if (mpack_tree_error(&tree) == mpack_ok) {
    size_t used = mpack_tree_size(&tree);
    value = Conversion(&tree).run();
    if (mpack_tree_error(&tree) != mpack_error_memory)
      *size = used;
  }
  if (mpack_tree_error(&tree) != mpack_ok)
    log_msg(LOG_ERR, "Failed to decode MessagePack: %s\n", error_text(&tree));
  mpack_tree_destroy(&tree);
  return value;
}
