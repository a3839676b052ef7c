// The walk over whole trees.
#ifndef NODETREE_NODE_WALK_HPP
#define NODETREE_NODE_WALK_HPP

#include "node/node_internal.hpp"

namespace nodetree {

// Visits a subtree depth first in document order along the links between parents, siblings
// and children, so it needs neither recursion nor memory, however deep the tree. Every node
// is entered, and containers are also left, after their children.
class Walk {
public:
  enum class Step { enter, leave, done };

  explicit Walk(node *top) : top_(top), at_(top) {}

  // Goes on after `at`, a node of the subtree that was entered and is not to be descended.
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

  // Goes on with a child of the node that was just entered; those before it are passed over.
  void enter_child(node *child) { at_ = child; }

  // Advances without visiting the children of the node that was just entered. The node is
  // not looked at again and may be destroyed after this.
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
