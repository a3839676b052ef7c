#include "node/places.hpp"

#include "shared/stack.hpp"

namespace nodetree {

bool Places::note(const node *container) {
  Stack<const node *> unknown;
  const node *above = container;
  for (; above && !notes_.find({above}); above = above->parent)
    if (!unknown.push(above))
      return false;
  for (; !unknown.empty(); unknown.pop()) {
    if (!note_below(above, unknown.back()))
      return false;
    above = unknown.back();
  }
  return true;
}

// The lengths of the jumps form a skew binary number: after two of the same length comes
// one over both.
bool Places::note_below(const node *parent, const node *n) {
  Place place{0, n};
  if (parent) {
    const Place at = *notes_.find({parent}), next = *notes_.find({at.jump});
    const std::size_t next_depth = depth(next.jump);
    const bool over_both = at.depth - next.depth == next.depth - next_depth;
    place = {at.depth + 1, over_both ? next.jump : parent};
  }
  Place *note = notes_.add({n});
  if (!note)
    return false;
  *note = place;
  return true;
}

const node *Places::ancestor(const node *n, std::size_t wanted) const {
  while (depth(n) > wanted) {
    const node *far = jump(n);
    n = depth(far) < wanted ? n->parent : far;
  }
  return n;
}

int Places::compare(const node *a, const node *b) const {
  const std::size_t depth_a = depth(a), depth_b = depth(b);
  const node *x = ancestor(a, depth_b), *y = ancestor(b, depth_a);
  if (x == y)
    return (depth_a > depth_b) - (depth_a < depth_b);
  while (x->parent != y->parent) {
    const node *far_x = jump(x), *far_y = jump(y);
    x = far_x == far_y ? x->parent : far_x;
    y = far_x == far_y ? y->parent : far_y;
  }
  return reinterpret_cast<std::uintptr_t>(x) < reinterpret_cast<std::uintptr_t>(y) ? -1 : 1;
}

} // namespace nodetree
