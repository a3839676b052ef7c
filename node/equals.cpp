#include "node/counterpart.hpp"
#include "node/walk.hpp"

using namespace nodetree;

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
    if (!walk.entering()) {
      other = at == previous ? other : other->parent;
      continue;
    }
    const bool down = at->parent == previous;
    other = counterpart(at, down ? other : other->parent,
                        down ? first_child(other) : next_sibling(other));
    if (!other)
      return false;
  }
}
