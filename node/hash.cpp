#include "node/expand.hpp"

#include <cstring>

using namespace nodetree;

namespace nodetree {
namespace {

uint32_t hash_64(uint64_t bits) {
  unsigned char bytes[8];
  for (unsigned i = 0; i < 8; i++)
    bytes[i] = static_cast<unsigned char>(bits >> (8 * i));
  return hash_sdbm(bytes, sizeof bytes, 0);
}

uint32_t hash_leaf(const node *n) {
  switch (n->type) {
  case NODE_INTEGER:
    return hash_64(static_cast<uint64_t>(n->value.integer));
  case NODE_REAL: {
    uint64_t bits = 0;
    std::memcpy(&bits, &n->value.real, sizeof bits);
    return hash_64(bits);
  }
  case NODE_STRING:
    return hash_sdbm(n->value.string, std::strlen(n->value.string), 0);
  case NODE_BOOLEAN:
    return n->value.boolean ? 1 : 2;
  default:
    return 0;
  }
}

// Adds the finished hash of a child to its container's.
void fold(node *container, const node *child) {
  uint32_t hash = container->diff_hash;
  if (container->type == NODE_OBJECT)
    hash = hash_sdbm(child->key, std::strlen(child->key) + 1, hash);
  unsigned char bytes[4];
  for (unsigned i = 0; i < 4; i++)
    bytes[i] = static_cast<unsigned char>(child->diff_hash >> (8 * i));
  container->diff_hash = hash_sdbm(bytes, sizeof bytes, hash);
}

// The node at which the walk is has its hash: so has the link that led to it, and the
// container that it stands in goes on.
void finish(const ExpandingWalk &walk) {
  node *place = walk.place();
  if (place->diff_hash == 0)
    place->diff_hash = walk.at()->diff_hash;
  if (!walk.at_top())
    fold(place->parent, place);
}

// A walk that breaks off leaves half-made hashes behind; none is better.
void drop_hashes(node *n) {
  for (Walk walk(node_root(n)); !walk.done(); walk.advance())
    walk.at()->diff_hash = 0;
}

} // namespace
} // namespace nodetree

uint32_t hash_sdbm(const void *data, size_t length, uint32_t seed) {
  const auto *bytes = static_cast<const unsigned char *>(data);
  uint32_t hash = seed;
  for (size_t i = 0; i < length; i++)
    hash = hash * 65599 + bytes[i];
  return hash;
}

uint32_t node_prepare_diff_hash(node *n) {
  if (!n)
    return 0;
  if (n->diff_hash != 0)
    return n->diff_hash;
  ExpandingWalk walk(n, true);
  while (walk.step() != ExpandingWalk::Step::done) {
    if (walk.step() == ExpandingWalk::Step::failed) {
      drop_hashes(n);
      return 0;
    }
    bool descend = false;
    if (walk.step() == ExpandingWalk::Step::enter) {
      descend = walk.at()->diff_hash == 0 && has_children(walk.at());
      if (walk.at()->diff_hash == 0 && !is_container(walk.at()))
        walk.at()->diff_hash = hash_leaf(walk.at());
    }
    if (!descend)
      finish(walk);
    if (descend || walk.step() != ExpandingWalk::Step::enter)
      walk.advance();
    else
      walk.pass();
  }
  return n->diff_hash;
}
