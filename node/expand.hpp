// The walk that puts the targets of links in their places.
#ifndef NODETREE_NODE_EXPAND_HPP
#define NODETREE_NODE_EXPAND_HPP

#include "node/links.hpp"
#include "node/walk.hpp"
#include "shared/stack.hpp"

namespace nodetree {

// A Walk that goes on inside the final target of every link it meets, as if the target
// stood in the link's place, or treats links as leaves when `follow` is false. A link to a
// container that the walk is inside of, or to one that holds such a container, would have
// no end: it is `circular`.
class ExpandingWalk {
public:
  enum class Step { enter, leave, dangling, circular, failed, done };

  // `behind` is the number of links that led to `top` already.
  ExpandingWalk(node *top, bool follow, Links &links, std::size_t behind = 0);
  ExpandingWalk(const ExpandingWalk &) = delete;
  ExpandingWalk &operator=(const ExpandingWalk &) = delete;
  ~ExpandingWalk();

  Step step() const { return step_; }

  // The node whose value counts, and the one whose key and parent count: the link, for a
  // target.
  node *at() const { return walk_.at(); }
  node *place() const {
    return walk_.at() == walk_.top() && !outer_.empty() ? outer_.back().link : walk_.at();
  }
  bool at_top() const { return place() == top_; }

  bool behind_links() const { return behind_ > 0; }

  // The name under which the entered value stands in an object of the walk; NULL elsewhere.
  const char *name() const {
    bool named = !at_top() && place()->parent->type == NODE_OBJECT;
    return named ? place()->key : nullptr;
  }

  void advance() {
    walk_.advance();
    settle();
  }

  // Advances without visiting the children of the node that was just entered.
  void pass() {
    walk_.pass();
    settle();
  }

  // See Walk.
  void enter_child(node *child) {
    walk_.enter_child(child);
    settle();
  }

  // Goes on inside the target of the link that was just entered as a leaf.
  void follow_link() { arrive(enter_link()); }

  // Ends the walk and gives every container that it was inside of to `visit`.
  template <class Visit>
  void give_up(Visit visit) {
    for (node *at = walk_.at(), *top = walk_.top();; pop_outer()) {
      for (; at != top; at = at->parent)
        visit(at->parent);
      if (outer_.empty())
        return;
      at = outer_.back().link;
      top = outer_.back().top;
    }
  }

  // Why the step is `circular` or `failed`.
  const char *reason() const {
    if (step_ == Step::circular)
      return "a link leads back into itself";
    return links_.exhausted() ? "links lead to too many nodes" : "out of memory";
  }

private:
  // Where to go on after the target that the walk is in, and, when that is a container, the
  // link's own container among `inside_`.
  struct Outer {
    node *top;
    node *link;
    avl_node *inside;
  };

  // Derives the step from where the walk is now, which in a tree without links says it all.
  void settle() {
    if (walk_.done() || behind_ > 1 || (follow_ && walk_.at()->type == NODE_LINK))
      settle_among_links();
    else
      step_ = walk_.entering() ? Step::enter : Step::leave;
  }

  void settle_among_links();
  void arrive(Step step);
  Step enter_link();
  Step enter_container(Outer &outer, const node *target);
  void pop_outer();

  node *top_;
  Walk walk_;
  bool follow_;
  Step step_ = Step::enter;
  Links &links_;
  std::size_t behind_;
  Stack<Outer> outer_;
  // The containers of the links that the walk is behind, in the order of Places. They
  // differ: a target that held an earlier link's container would be circular.
  avl_tree inside_;
};

// node_copy() as a part of a call, of a node that so many links have led to already: false
// when memory runs out or the links lead to too many nodes. `copy` is NULL then, and where
// there is nothing to be copied.
bool copy_tree(const node *n, int links, Links &account, std::size_t behind, node *&copy);

} // namespace nodetree

#endif
