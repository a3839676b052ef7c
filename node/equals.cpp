#include "node/walk.hpp"

#include <cstring>
#include <nodetree/stringlist.h>

using namespace nodetree;

namespace nodetree {
namespace {

// Whether two nodes agree in all but their children.
bool same_value(const node *a, const node *b) {
  if (a->type != b->type)
    return false;
  switch (a->type) {
  case NODE_NULL:
    return true;
  case NODE_OBJECT:
  case NODE_ARRAY:
    return a->child_count == b->child_count;
  case NODE_INTEGER:
    return a->value.integer == b->value.integer;
  case NODE_REAL:
    return a->value.real == b->value.real;
  case NODE_STRING:
    return std::strcmp(a->value.string, b->value.string) == 0;
  case NODE_BOOLEAN:
    return a->value.boolean == b->value.boolean;
  case NODE_LINK:
    return _sl_equals(a->value.link_path, b->value.link_path);
  }
  return false;
}

// The child of `container` that is to equal `n`. Members mostly come in the same order, so
// that the one at the same place is it and needs no search.
node *counterpart(const node *n, const node *container, node *at_same_place) {
  if (container->type == NODE_ARRAY)
    return at_same_place;
  if (at_same_place && std::strcmp(n->key, at_same_place->key) == 0)
    return at_same_place;
  return node_object_get(container, n->key);
}

} // namespace
} // namespace nodetree

bool node_equals(const node *a, const node *b) {
  if (!a || !b)
    return a == b;
  // Walks a; `other` is the counterpart in b of the node that the walk is at.
  Walk walk(const_cast<node *>(a));
  for (node *other = const_cast<node *>(b);;) {
    if (walk.entering() && !same_value(walk.at(), other))
      return false;
    const node *previous = walk.at();
    walk.advance();
    const node *at = walk.at();
    if (walk.done())
      return true;
    if (!walk.entering())
      other = at == previous ? other : other->parent;
    else if (at->parent == previous)
      other = counterpart(at, other, first_child(other));
    else
      other = counterpart(at, other->parent, next_sibling(other));
    if (!other)
      return false;
  }
}
