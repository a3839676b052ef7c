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

  // A walk that is a part of a call which follows links itself does so on its account.
  ExpandingWalk(node *top, bool follow, Links *account = nullptr);
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
    if (noting_ && is_container(walk_.at()))
      forget(walk_.at());
    walk_.pass();
    settle();
  }

  // Why the step is `circular` or `failed`.
  const char *reason() const {
    if (step_ == Step::circular)
      return "a link leads back into itself";
    return links_.exhausted() ? "too many links" : "out of memory";
  }

private:
  // Where to go on after the target that the walk is in, and the nearest ancestor of that
  // target that was noted before.
  struct Outer {
    node *top;
    node *link;
    node *noted_above;
  };

  // Derives the step from where the walk is now, which in a tree without links says it all.
  void settle() {
    if (walk_.done() || noting_ || (follow_ && walk_.at()->type == NODE_LINK))
      settle_among_links();
    else
      step_ = walk_.entering() ? Step::enter : Step::leave;
  }

  void settle_among_links();
  void enter_link();
  void leave_link();
  bool note(const node *container);
  bool note_upward(node *container, node *&noted_above);
  void forget(const node *container);

  node *top_;
  Walk walk_;
  bool follow_;
  Step step_ = Step::enter;
  Links own_links_;
  Links &links_;
  Stack<Outer> outer_;
  // The containers that the walk is inside of and all their ancestors, by address; kept
  // from the first link to a container on.
  avl_tree inside_;
  bool noting_ = false;
};

// node_copy() as a part of a call with that account.
node *copy_tree(const node *n, int links, Links *account);

} // namespace nodetree

#endif
