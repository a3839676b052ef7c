// A walk that treats links as their targets.
#ifndef NODETREE_NODE_EXPAND_HPP
#define NODETREE_NODE_EXPAND_HPP

#include "node/links.hpp"
#include "node/walk.hpp"
#include "shared/stack.hpp"

namespace nodetree {

// A Walk that continues inside the final target of every link, as if the target stood in
// the link's place. If `follow` is false links are leaves. A link is `circular` if it leads
// to a container that the walk is inside of, or to one that holds such a container: the
// walk would never end.
class ExpandingWalk {
public:
  enum class Step { enter, leave, dangling, circular, failed, done };

  // `behind` is the number of links that have led to `top`.
  ExpandingWalk(node *top, bool follow, Links &links, std::size_t behind = 0);
  ExpandingWalk(const ExpandingWalk &) = delete;
  ExpandingWalk &operator=(const ExpandingWalk &) = delete;
  ~ExpandingWalk();

  Step step() const { return step_; }

  // The node with the value, and the node with the key and parent. They differ for a
  // target, which has the place of its link.
  node *at() const { return walk_.at(); }
  node *place() const {
    return walk_.at() == walk_.top() && !outer_.empty() ? outer_.back().link : walk_.at();
  }
  bool at_top() const { return place() == top_; }

  bool behind_links() const { return behind_ > 0; }

  // The member name of the entered value; NULL if it is no member.
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

  // Continues inside the target of the link that was just entered as a leaf.
  void follow_link() { arrive(enter_link()); }

  // Ends the walk and calls `visit` for every container that it was inside of.
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

  // The reason of a step that is `circular` or `failed`.
  const char *reason() const {
    if (step_ == Step::circular)
      return "a link leads back into itself";
    return links_.exhausted() ? "links lead to too many nodes" : "out of memory";
  }

private:
  // Where to continue after the current target. If that is a container, also the entry of
  // the link's own container in `inside_`.
  struct Outer {
    node *top;
    node *link;
    avl_node *inside;
  };

  // Derives the step from the position of the walk.
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
  // The containers of the links that led here, in the order of Places. They all differ: a
  // target that held an earlier link's container would be circular.
  avl_tree inside_;
};

// node_copy() as a part of another operation, for a node that `behind` links have led to.
// False when memory runs out or links lead to too many nodes. `copy` is then NULL, as it is
// when there is nothing to copy.
bool copy_tree(const node *n, int links, Links &account, std::size_t behind, node *&copy);

} // namespace nodetree

#endif
