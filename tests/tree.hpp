// Helpers shared by the tests of the tree: owners and trees from text.
#ifndef NODETREE_TESTS_TREE_HPP
#define NODETREE_TESTS_TREE_HPP

#include "record.hpp"
#include "support.hpp"

#include <algorithm>
#include <cstddef>

namespace test {

// The path of a node, for comparisons and messages.
inline std::string where(const node *n) {
  return n != nullptr ? take(node_path(n)) : "NULL";
}

inline std::vector<node *> children(const node *n) {
  std::vector<node *> found;
  if (node_is_container(n)) // a damaged list must not hang the test
    for (node *child = node_container_first(n);
         child != nullptr && found.size() <= n->child_count;
         child = node_container_next(n, child))
      found.push_back(child);
  return found;
}

// All nodes of a tree, containers before their children.
inline std::vector<node *> all_nodes(const node *top) {
  std::vector<node *> found{const_cast<node *>(top)};
  for (size_t i = 0; i < found.size(); i++)
    for (node *child : children(found[i]))
      found.push_back(child);
  return found;
}

// The segments of a path text, and their list form.
inline std::vector<std::string> split(const std::string &path) {
  std::vector<std::string> segments;
  for (size_t at = 0; at < path.size();) {
    size_t end = std::min(path.find('/', at), path.size());
    segments.push_back(path.substr(at, end - at));
    at = end + 1;
  }
  return segments;
}

inline list_owner path_list(const std::string &path) {
  return list_owner(path.empty() ? _sl_new(nullptr) : sl_split(path.c_str(), '/'));
}

inline node *new_link(const std::string &path) {
  return node_new_link(path_list(path).get());
}

inline std::string swap_quotes(std::string text, char from, char to) {
  std::replace(text.begin(), text.end(), from, to);
  return text;
}

// The tree of a JSON text, which may have ' for ", and in which every string "->PATH"
// stands for a link to PATH.
inline tree make(const std::string &text) {
  tree made(json_parse_string(swap_quotes(text, '\'', '"').c_str()));
  EXPECT_NE(made, nullptr) << "bad test text " << text;
  for (node *n = made.get(); n != nullptr; n = node_iterate(n))
    if (n->type == NODE_STRING && std::strncmp(n->value.string, "->", 2) == 0)
      node_merge(n, new_link(n->value.string + 2));
  return made != nullptr ? std::move(made) : tree(node_new_null());
}

inline std::string compact(const node *n) {
  return take(json_stringify(n, true));
}

inline std::string shown(const node *n) {
  return n != nullptr ? compact(n) : "NULL";
}

// A tree in the form that make() takes; labels that are no positions stand before their
// elements, as "label:".
inline std::string show(const node *n) {
  if (n == nullptr)
    return "NULL";
  if (node_is_link(n))
    return "'->" + take(sl_join(n->value.link_path, "/")) + "'";
  if (!node_is_container(n))
    return swap_quotes(compact(n), '"', '\'');
  std::string text;
  size_t position = 0;
  for (const node *child : children(n)) {
    text += text.empty() ? "" : ",";
    if (node_is_object(n))
      text += "'" + std::string(child->key) + "':";
    else if (std::to_string(position++) != child->key)
      text += std::string(child->key) + ":";
    text += show(child);
  }
  return node_is_object(n) ? "{" + text + "}" : "[" + text + "]";
}

inline std::string show(const tree &t) {
  return show(t.get());
}

inline void check_free(const node *n) {
  EXPECT_EQ(n->parent, nullptr);
  EXPECT_STREQ(record::broken(n), nullptr);
}

// The bytes that a function writes to a new place, "failed" for none, "unset" where it
// leaves what was there.
template <class Write>
std::string written_by(Write write) {
  char unset[1] = "", *data = unset;
  size_t size = 99;
  const bool good = write(&data, &size);
  if (data == unset)
    return size == 99 && !good ? "unset" : "half set";
  const text_owner owner(data);
  EXPECT_TRUE(good ? data != nullptr && size != 0 : data == nullptr && size == 0);
  return good ? std::string(data, size) : "failed";
}

inline std::string message(const node *n) {
  return written_by(
      [=](char **data, size_t *size) { return msgpack_encode(n, data, size); });
}

// A stream of a codec, which keeps the values that it delivers.
template <class Stream, auto create, auto decode, auto release>
class decoder {
public:
  template <class... Options>
  explicit decoder(Options... options) : stream(create(options..., keep, this)) {}
  ~decoder() { release(stream); }
  decoder(const decoder &) = delete;
  bool feed(const std::string &bytes, size_t chunk = SIZE_MAX) {
    const size_t room = std::min(chunk, bytes.size());
    const std::unique_ptr<char[]> memory(
        new char[room]); // every chunk ends at the end of its block
    size_t at = 0;
    do {
      const size_t size = std::min(room, bytes.size() - at);
      char *part = memory.get() + (room - size);
      std::memcpy(part, bytes.data() + at, size);
      if (!decode(stream, part, size))
        return false;
      at += size;
    } while (at < bytes.size());
    return true;
  }
  // Each value and a space.
  std::string text() const {
    std::string all;
    for (const tree &value : values)
      all += shown(value.get()) + " ";
    return all;
  }
  std::vector<tree> values;
  Stream *const stream;

private:
  static void keep(node *value, void *self) {
    if (value != nullptr)
      check_free(value);
    auto *const held = static_cast<decoder *>(self);
    EXPECT_FALSE(decode(held->stream, "1", 1)) << "a callback feeds its own stream";
    held->values.emplace_back(value);
  }
};
using json_decoder =
    decoder<json_stream, json_stream_new, json_stream_parse, json_stream_free>;
using msgpack_decoder =
    decoder<msgpack_stream, msgpack_stream_new, msgpack_stream_decode, msgpack_stream_free>;
using any_decoder =
    decoder<node_stream, node_stream_new, node_stream_decode, node_stream_free>;

inline void check_tree(const node *root) {
  for (const node *n : all_nodes(root)) {
    ASSERT_GE(n->refcount, 1u);
    ASSERT_STREQ(record::broken(n), nullptr);
  }
}

// `count` containers that hold links to all of them, themselves included.
inline tree fan_out(size_t count) {
  tree t(node_new_object());
  for (size_t i = 0; i < count * count; i++) {
    const std::string from = std::to_string(i / count), to = std::to_string(i % count);
    node_object_add(node_lookup_create(t.get(), from.c_str()), to.c_str(),
                    new_link("/" + to));
  }
  return t;
}

// Objects (member "k") and arrays by turns around `leaf`, the outermost an object.
inline node *deep_tree(size_t levels, node *leaf) {
  node *top = leaf;
  for (size_t level = levels; level-- > 0;) {
    node *outer = level % 2 == 0 ? node_new_object() : node_new_array();
    EXPECT_TRUE(level % 2 == 0 ? node_object_add(outer, "k", top)
                               : node_array_append(outer, top));
    top = outer;
  }
  return top;
}

} // namespace test

#endif
