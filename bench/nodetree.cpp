#include "contender.hpp"

#include <cstdlib>
#include <cstring>
#include <nodetree/json.h>
#include <nodetree/msgpack.h>
#include <nodetree/node.h>

namespace bench {
namespace {

node *tree_of(void *tree) {
  return static_cast<node *>(tree);
}

void *parse(std::string_view text) {
  return json_parse_buffer(text.data(), text.size());
}

void release(void *tree) {
  node_free(tree_of(tree));
}

std::size_t stringify(void *tree) {
  char *text = json_stringify(tree_of(tree), true);
  std::size_t length = text != nullptr ? std::strlen(text) : 0;
  std::free(text);
  return length;
}

void *decode(std::string_view message) {
  std::size_t size = message.size();
  return msgpack_decode(message.data(), &size);
}

std::size_t encode(void *tree) {
  char *message = nullptr;
  std::size_t size = 0;
  msgpack_encode(tree_of(tree), &message, &size);
  std::free(message);
  return size;
}

bool lookup(void *tree, const char *path) {
  return node_lookup(tree_of(tree), path) != nullptr;
}

void *copy(void *tree) {
  return node_clone(tree_of(tree));
}

bool equal(void *a, void *b) {
  return node_equals(tree_of(a), tree_of(b));
}

} // namespace

const contender &nodetree_contender() {
  static constexpr contender self{"nodetree", json_rows, parse, release,
                                  stringify,  lookup,    copy,  equal};
  return self;
}

const contender &nodetree_msgpack_contender() {
  static constexpr std::array rows{row::decode, row::encode};
  static constexpr contender self{"nodetree", rows,    decode,  release, encode,
                                  nullptr,    nullptr, nullptr, true};
  return self;
}

} // namespace bench
