// The walk over whole trees.
#ifndef NODETREE_NODE_WALK_HPP
#define NODETREE_NODE_WALK_HPP

#include "node/node_internal.hpp"

namespace nodetree {

// Visits a subtree depth first in document order. It follows the pointers between nodes, so
// it needs no recursion and no memory at any depth. Every node is entered; containers are
// also left, after their children.
class Walk {
public:
  enum class Step { enter, leave, done };

  explicit Walk(node *top) : top_(top), at_(top) {}

  // Continues after `at`, an entered node of the subtree, without visiting its children.
  Walk(node *top, node *at) : top_(top), at_(at) { pass(); }

  node *at() const { return at_; }
  node *top() const { return top_; }
  bool done() const { return step_ == Step::done; }
  bool entering() const { return step_ == Step::enter; }

  void advance() {
    if (step_ != Step::enter || !is_container(at_))
      pass();
    else if (node *child = first_child(at_))
      at_ = child;
    else
      step_ = Step::leave;
  }

  // Continues with a child of the node that was just entered, skipping those before it.
  void enter_child(node *child) { at_ = child; }

  // Advances without visiting the children of the node that was just entered. The node is
  // not accessed again and may then be destroyed.
  void pass() {
    if (at_ == top_) {
      step_ = Step::done;
    } else if (node *sibling = next_sibling(at_)) {
      at_ = sibling;
      step_ = Step::enter;
    } else {
      at_ = at_->parent;
      step_ = Step::leave;
    }
  }

private:
  node *top_;
  node *at_;
  Step step_ = Step::enter;
};

} // namespace nodetree

#endif
