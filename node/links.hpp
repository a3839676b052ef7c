// What all operations that follow links share: the steps of a lookup, and the limits that
// end every resolution.
#ifndef NODETREE_NODE_LINKS_HPP
#define NODETREE_NODE_LINKS_HPP

#include "node/node_internal.hpp"

#include <string_view>

namespace nodetree {

// The child that a segment names in a container, NULL where there is none.
node *child_named(const node *container, std::string_view segment);

// Follows links for one call of an operation. Links can fan out (the path or the target of
// each leads through several others), so that even a small circle-free tree holds more ways
// than there is time for; the number of links followed behind others is limited.
class Links {
public:
  static constexpr std::size_t follow_max = 1000000;
  // Links that wait for others, whose targets their paths pass through.
  static constexpr std::size_t nesting_max = 256;

  // The target of a link, which may be a link; NULL for what does not resolve. `behind` says
  // that the link was come to through another.
  node *follow(const node *link, bool behind = false);

  // The node that is no link at the end of a chain of links; NULL where one of them does
  // not resolve, and a link of the chain where it goes in a circle.
  node *resolve(node *n, bool behind = false);

  // The target of a link that resolves, otherwise the node itself.
  node *target_or_self(node *n, bool behind = false) {
    node *target = n->type == NODE_LINK ? follow(n, behind) : nullptr;
    return target ? target : n;
  }

  // The root of the tree that `n` belongs to. All nodes that one call meets are of one
  // tree.
  node *root(const node *n) {
    if (!root_)
      root_ = node_root(n);
    return root_;
  }

  bool exhausted() const { return followed_ > follow_max; }

private:
  struct Waiting;
  node *start(const node *link, bool behind, char **&rest);

  std::size_t followed_ = 0;
  node *root_ = nullptr;
};

} // namespace nodetree

#endif
