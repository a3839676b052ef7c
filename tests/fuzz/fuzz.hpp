// Helpers of the fuzz targets: inputs cut into pieces, the values from a stream, round
// trips.
#ifndef NODETREE_TESTS_FUZZ_HPP
#define NODETREE_TESTS_FUZZ_HPP

#include <nodetree.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);
extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv);

// Messages are formatted but not written.
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int *, char ***) {
  log_open_file("/dev/null", "w");
  log_set_debug(true);
  return 0;
}

namespace fuzz {

struct release {
  void operator()(node *n) const { node_free(n); }
  void operator()(char *text) const { std::free(text); }
};
using tree = std::unique_ptr<node, release>;
using text = std::unique_ptr<char, release>;

inline void require(bool held, const char *what) {
  if (held)
    return;
  std::fprintf(stderr, "violated: %s\n", what);
  std::abort();
}

// The input of a run: a digit n, n bytes for the sizes of the pieces, used in turn, and the
// bytes for the codec. A size byte is also a digit, or from 0x80 up a multiple of 16 bytes.
// Without sizes there is one piece.
class input {
public:
  input(const std::uint8_t *data, std::size_t size)
      : bytes(reinterpret_cast<const char *>(data), size) {
    if (bytes.empty())
      return;
    std::size_t count = bytes.front() & 7;
    bytes.remove_prefix(1);
    sizes_ = bytes.substr(0, count);
    bytes.remove_prefix(sizes_.size());
  }

  // Passes each piece to `feed`, as a block that does not outlive the call, until one is
  // refused. Returns whether all were accepted.
  template <class Feed>
  bool cut(Feed feed) const {
    std::string_view rest = bytes;
    for (std::size_t turn = 0; !rest.empty(); turn++) {
      std::string_view piece = rest.substr(0, size_of(turn, rest.size()));
      rest.remove_prefix(piece.size());
      if (!feed_block(feed, piece))
        return false;
    }
    return true;
  }

  bool empty_first() const { return !bytes.empty() && size_of(0, bytes.size()) == 0; }

  template <class Feed>
  static bool feed_block(Feed feed, std::string_view piece) {
    const text block(static_cast<char *>(std::malloc(piece.size())));
    if (!piece.empty())
      std::memcpy(block.get(), piece.data(), piece.size());
    return feed(block.get(), piece.size());
  }

  std::string_view bytes;

private:
  // After two rounds of empty pieces the rest is one piece.
  std::size_t size_of(std::size_t turn, std::size_t rest) const {
    if (sizes_.empty() || (turn >= 2 * sizes_.size() && bytes.size() == rest))
      return rest;
    auto byte = static_cast<unsigned char>(sizes_[turn % sizes_.size()]);
    return byte < 0x80 ? byte & 15U : (byte & 15U) * 16;
  }

  std::string_view sizes_;
};

// The result of a stream.
struct outcome {
  std::vector<tree> values;
  bool accepted = true;

  static void add(node *value, void *self) {
    static_cast<outcome *>(self)->values.emplace_back(value);
  }
};

// Reads the input through a stream, in one piece or several, and then a last byte that ends
// a JSON number; `ending` is NULL for none.
template <class Stream>
outcome read(Stream *(*open)(node_value_callback, void *),
             bool (*feed)(Stream *, const void *, std::size_t), void (*close)(Stream *),
             const input &in, bool pieces, const char *ending) {
  outcome result;
  Stream *stream = open(outcome::add, &result);
  require(stream != nullptr, "a stream is made");
  auto feed_piece = [=](const void *bytes, std::size_t size) {
    return feed(stream, bytes, size);
  };
  result.accepted = pieces ? in.cut(feed_piece) : input::feed_block(feed_piece, in.bytes);
  if (result.accepted && ending != nullptr)
    result.accepted = feed(stream, ending, 1);
  if (!result.accepted)
    require(!feed(stream, "\n", 1), "a stream that failed goes on failing");
  close(stream);
  return result;
}

// Whether the predicate holds for any node of a tree.
template <class Predicate>
bool any(const node *top, Predicate holds) {
  for (const node *at = top;;) {
    if (holds(at))
      return true;
    const node *next = node_is_container(at) ? node_container_first(at) : nullptr;
    for (; next == nullptr && at != top; at = at->parent)
      next = node_container_next(at->parent, at);
    if (next == nullptr)
      return false;
    at = next;
  }
}

inline bool is_nan(const node *n) {
  return node_is_real(n) && std::isnan(node_get_real(n));
}

inline bool has_long_key(const node *n) {
  return node_key(n) != nullptr && std::strlen(node_key(n)) > 127;
}

inline bool deeper_than(const node *top, std::size_t limit) {
  return any(top, [=](const node *n) {
    std::size_t depth = node_is_container(n);
    for (const node *at = n; at != top; at = at->parent)
      depth++;
    return depth > limit;
  });
}

template <class Tree>
bool same(const Tree &a, const Tree &b) {
  if (!a || !b)
    return !a && !b;
  return node_equals(a.get(), b.get()) || (any(a.get(), is_nan) && any(b.get(), is_nan));
}

inline void require_same(const outcome &a, const outcome &b) {
  require(a.accepted == b.accepted, "the cuts do not decide what is accepted");
  require(a.values.size() == b.values.size(),
          "the cuts do not decide how many values come");
  for (std::size_t i = 0; i < a.values.size(); i++)
    require(same(a.values[i], b.values[i]), "the cuts do not change a value");
}

inline void check_json(const tree &value) {
  const bool has_form = !deeper_than(value.get(), 127);
  for (bool compact : {true, false}) {
    const text written(json_stringify(value.get(), compact));
    require((written != nullptr) == has_form, "JSON is written down to 127 levels");
    if (written)
      require(same(value, tree(json_parse_string(written.get()))),
              "written JSON reads back");
  }
}

inline void check_msgpack(const tree &value) {
  char *data = nullptr;
  std::size_t size = 0;
  require(msgpack_encode(value.get(), &data, &size), "a tree without links is encoded");
  const text first(data);
  const std::size_t whole = size;
  const tree again(msgpack_decode(data, &size));
  require(size == whole, "all of an encoded message is read");
  if (any(value.get(), has_long_key)) // can be written, but not read
    return require(again == nullptr, "long keys are refused");
  require(same(value, again), "an encoded message reads back");
  require(msgpack_encode(again.get(), &data, &size), "and is encoded again");
  const text second(data);
  require(size == whole && std::memcmp(first.get(), data, size) == 0, "to the same bytes");
}

} // namespace fuzz

#endif
