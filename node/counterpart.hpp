// Parts of comparing two trees.
#ifndef NODETREE_NODE_COUNTERPART_HPP
#define NODETREE_NODE_COUNTERPART_HPP

#include "node/node_internal.hpp"

#include <nodetree/stringlist.h>

namespace nodetree {

// Whether two nodes are equal apart from their children.
inline bool same_value(const node *a, const node *b) {
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

// The child of `container` that corresponds to a child of another container of its kind.
// Members mostly come in the same order, so the child at the same place (NULL for none) is
// tried before a search.
inline node *counterpart(const node *n, const node *container, node *at_same_place) {
  if (container->type == NODE_ARRAY)
    return at_same_place;
  if (at_same_place && std::strcmp(n->key, at_same_place->key) == 0)
    return at_same_place;
  return node_object_get(container, n->key);
}

} // namespace nodetree

#endif
