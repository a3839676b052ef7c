#include "node/expand.hpp"

#include <mpack.h>
#include <nodetree/log.h>
#include <nodetree/msgpack.h>

using namespace nodetree;

namespace nodetree {
namespace {

// Writes one tree.
class Encoding {
public:
  Encoding(const node *top, mpack_writer_t *writer)
      : walk_(const_cast<node *>(top), true, links_), writer_(writer) {}

  // False, with a report, if some node has no MessagePack form.
  bool run() {
    for (;; walk_.advance()) {
      switch (walk_.step()) {
      case ExpandingWalk::Step::enter:
      case ExpandingWalk::Step::dangling:
        write_entered();
        break;
      case ExpandingWalk::Step::leave:
        finish(walk_.at());
        break;
      case ExpandingWalk::Step::circular:
      case ExpandingWalk::Step::failed:
        report();
        return false;
      case ExpandingWalk::Step::done:
        return complete_;
      }
    }
  }

private:
  void write_entered() {
    if (const char *name = walk_.name())
      mpack_write_cstr(writer_, name);
    write_value(walk_.at());
  }

  // Writes a value; for a container, only its head.
  void write_value(const node *n) {
    switch (n->type) {
    case NODE_OBJECT:
      return mpack_start_map(writer_, child_count(n));
    case NODE_ARRAY:
      return mpack_start_array(writer_, child_count(n));
    case NODE_STRING:
      return mpack_write_cstr(writer_, n->value.string);
    case NODE_INTEGER:
      return mpack_write_i64(writer_, n->value.integer);
    case NODE_REAL:
      return mpack_write_double(writer_, n->value.real);
    case NODE_BOOLEAN:
      return mpack_write_bool(writer_, n->value.boolean);
    case NODE_NULL:
    case NODE_LINK: // a dangling one: the walk follows all others
      return mpack_write_nil(writer_);
    }
    log_msg(LOG_ERR, "Unhandled node type for MessagePack encode: %s",
            node_type_to_string(n));
    complete_ = false;
  }

  std::uint32_t child_count(const node *container) {
    if (container->child_count > UINT32_MAX)
      mpack_writer_flag_error(writer_, mpack_error_too_big);
    return static_cast<std::uint32_t>(container->child_count);
  }

  void finish(const node *container) {
    if (container->type == NODE_OBJECT)
      mpack_finish_map(writer_);
    else
      mpack_finish_array(writer_);
  }

  void report() {
    char *path = node_path(walk_.at());
    log_msg(LOG_ERR, "Failed to encode MessagePack: %s: %s", path ? path : "?",
            walk_.reason());
    std::free(path);
  }

  Links links_;
  ExpandingWalk walk_;
  mpack_writer_t *writer_;
  bool complete_ = true;
};

} // namespace
} // namespace nodetree

bool msgpack_encode(const node *n, char **data, size_t *size) {
  if (!n) {
    *data = nullptr;
    *size = 0;
    return false;
  }
  mpack_writer_t writer;
  mpack_writer_init_growable(&writer, data, size);
  if (!Encoding(n, &writer).run())
    mpack_writer_flag_error(&writer, mpack_error_data);
  mpack_error_t error = mpack_writer_destroy(&writer);
  if (error != mpack_ok && error != mpack_error_data) // already reported
    log_msg(LOG_ERR, "Failed to encode MessagePack: %s", mpack_error_to_string(error));
  return error == mpack_ok;
}
