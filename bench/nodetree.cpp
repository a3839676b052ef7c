#include "contender.hpp"

#include <cstdlib>
#include <cstring>
#include <nodetree/json.h>
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
  static constexpr contender self{"nodetree", all_rows, parse, release,
                                  stringify,  lookup,   copy,  equal};
  return self;
}

} // namespace bench
