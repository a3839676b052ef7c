#include "codec/yajl_memory.hpp"
#include "log/report.hpp"
#include "node/expand.hpp"
#include "shared/c_locale.hpp"
#include "shared/memory.hpp"

#include <algorithm>
#include <cstring>
#include <nodetree/file.h>
#include <nodetree/json.h>
#include <nodetree/log.h>
#include <utility>
#include <yajl/yajl_gen.h>

using namespace nodetree;

namespace nodetree {
namespace {

// The text so far. A short one needs no block of its own. After memory has run out,
// everything written is dropped.
class Output {
public:
  ~Output() {
    if (text_ != short_text_)
      std::free(text_);
  }

  static void write(void *output, const char *bytes, size_t size) {
    auto *self = static_cast<Output *>(output);
    if (size >= self->room_ - self->length_ && !self->grow(size))
      return;
    if (size == 1) // most pieces are, and a call would take longer
      self->text_[self->length_] = *bytes;
    else
      std::memcpy(self->text_ + self->length_, bytes, size);
    self->length_ += size;
  }

  // The whole text with its final NUL; NULL if memory has run out.
  char *take() {
    if (failed_)
      return nullptr;
    if (text_ == short_text_)
      return copy_text({text_, length_});
    text_[length_] = '\0';
    char *text = std::exchange(text_, nullptr);
    void *fitting = std::realloc(text, length_ + 1);
    return fitting ? static_cast<char *>(fitting) : text;
  }

private:
  // Makes room for `size` bytes and the final NUL.
  bool grow(size_t size) {
    const size_t room = std::max(room_ * 2, length_ + size + 1);
    void *moved = nullptr;
    if (!failed_)
      moved = text_ == short_text_ ? std::malloc(room) : std::realloc(text_, room);
    failed_ = !moved;
    if (failed_)
      return false;
    if (text_ == short_text_)
      std::memcpy(moved, short_text_, length_);
    text_ = static_cast<char *>(moved);
    room_ = room;
    return true;
  }

  char short_text_[2048];
  char *text_ = short_text_;
  size_t length_ = 0, room_ = sizeof short_text_;
  bool failed_ = false;
};

class Generator {
public:
  Generator() { memory_.begin_in(room_); }
  ~Generator() { memory_.release(); }

  // NULL when memory runs out. The generator allocates nothing later.
  yajl_gen start(Output &output, bool compact) {
    yajl_gen generator = nullptr;
    yajl_alloc_funcs memory = memory_.functions();
    if (!memory_.run([&] { generator = yajl_gen_alloc(&memory); }))
      return nullptr;
    yajl_gen_config(generator, yajl_gen_print_callback, Output::write, &output);
    yajl_gen_config(generator, yajl_gen_beautify, compact ? 0 : 1);
    yajl_gen_config(generator, yajl_gen_indent_string, "\t");
    return generator;
  }

private:
  YajlMemory memory_ = {};
  alignas(std::max_align_t) std::byte room_[1024]; // for all that it needs
};

yajl_gen_status write_text(yajl_gen generator, const char *text) {
  return yajl_gen_string(generator, reinterpret_cast<const unsigned char *>(text),
                         std::strlen(text));
}

// Writes a value; for a container, only its beginning.
yajl_gen_status write_value(yajl_gen generator, const node *n) {
  switch (n->type) {
  case NODE_OBJECT:
    return yajl_gen_map_open(generator);
  case NODE_ARRAY:
    return yajl_gen_array_open(generator);
  case NODE_STRING:
    return write_text(generator, n->value.string);
  case NODE_INTEGER:
    return yajl_gen_integer(generator, n->value.integer);
  case NODE_REAL:
    return yajl_gen_double(generator, n->value.real);
  case NODE_BOOLEAN:
    return yajl_gen_bool(generator, n->value.boolean);
  case NODE_NULL:
  case NODE_LINK: // a dangling one: the walk follows all others
    return yajl_gen_null(generator);
  }
  return yajl_gen_in_error_state; // an unknown kind, which the report names
}

yajl_gen_status write_entered(yajl_gen generator, const ExpandingWalk &walk) {
  if (const char *name = walk.name()) {
    yajl_gen_status status = write_text(generator, name);
    if (status != yajl_gen_status_ok)
      return status;
  }
  return write_value(generator, walk.at());
}

yajl_gen_status write_left(yajl_gen generator, const node *container) {
  return container->type == NODE_OBJECT ? yajl_gen_map_close(generator)
                                        : yajl_gen_array_close(generator);
}

constexpr const char *too_deep = "nested more than 127 levels deep";

const char *reason_of(yajl_gen_status status) {
  switch (status) {
  case yajl_max_depth_exceeded:
    return too_deep;
  case yajl_gen_invalid_number:
    return "a real that is not finite";
  default:
    return "refused by the generator";
  }
}

// Returns why the tree cannot be written, NULL at its end. After the first refusal the
// generator must not be called again: past its depth limit it would write outside its
// state.
const char *write_tree(yajl_gen generator, ExpandingWalk &walk) {
  for (;; walk.advance()) {
    yajl_gen_status status = yajl_gen_status_ok;
    switch (walk.step()) {
    case ExpandingWalk::Step::enter:
    case ExpandingWalk::Step::dangling:
      status = write_entered(generator, walk);
      break;
    case ExpandingWalk::Step::leave:
      status = write_left(generator, walk.at());
      break;
    case ExpandingWalk::Step::circular:
    case ExpandingWalk::Step::failed:
      return walk.reason();
    case ExpandingWalk::Step::done:
      return nullptr;
    }
    if (status != yajl_gen_status_ok)
      return reason_of(status);
  }
}

void report(const node *n, const char *reason) {
  char *path = node_path(n);
  log_msg(LOG_ERR, "Failed to stringify JSON: %s: %s", path ? path : "?", reason);
  std::free(path);
}

} // namespace
} // namespace nodetree

char *json_stringify(const node *n, bool compact) {
  if (!n)
    return nullptr;
  Output output;
  Generator owner;
  yajl_gen generator = owner.start(output, compact);
  if (!generator)
    return nullptr;
  Links links;
  ExpandingWalk walk(const_cast<node *>(n), true, links);
  const char *failure = nullptr;
  {
    CNumericLocale locale;
    failure = write_tree(generator, walk);
  }
  if (failure) {
    if (walk.at()->type > NODE_LINK)
      log_msg(LOG_ERR, "Unhandled node type for JSON stringify: %s",
              node_type_to_string(walk.at()));
    else
      report(failure == too_deep ? n : walk.at(), failure);
    return nullptr;
  }
  char *text = output.take();
  if (!text)
    report(n, "out of memory");
  return text;
}

bool json_stringify_filename(const char *path, const node *n, bool compact) {
  char *text = json_stringify(n, compact);
  if (!text) {
    NODETREE_DEBUG("Failed to JSON stringify node before writing to file %s", path);
    return false;
  }
  bool written = file_write_string(path, text);
  std::free(text);
  if (!written)
    NODETREE_DEBUG("Failed to write JSON to file %s", path);
  return written;
}
