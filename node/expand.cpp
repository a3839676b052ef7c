#include "node/expand.hpp"

#include <cstdint>

namespace nodetree {
namespace {

int compare_addresses(const void *key, const void *held_key, void *) {
  auto a = reinterpret_cast<std::uintptr_t>(key);
  auto b = reinterpret_cast<std::uintptr_t>(held_key);
  return (a > b) - (a < b);
}

} // namespace

ExpandingWalk::ExpandingWalk(node *top, bool follow, Links *account)
    : top_(top), walk_(top), follow_(follow), links_(account ? *account : own_links_) {
  avl_init(&inside_, compare_addresses, false, nullptr);
  settle();
}

ExpandingWalk::~ExpandingWalk() {
  auto *anchor = reinterpret_cast<avl_node *>(&inside_);
  for (avl_node *entry = inside_.next; entry != anchor;) {
    avl_node *next = entry->next;
    std::free(entry);
    entry = next;
  }
}

void ExpandingWalk::settle_among_links() {
  while (walk_.done() && !outer_.empty())
    leave_link();
  if (walk_.done()) {
    step_ = Step::done;
  } else if (!walk_.entering()) {
    step_ = Step::leave;
    if (noting_)
      forget(walk_.at());
  } else if (follow_ && walk_.at()->type == NODE_LINK) {
    enter_link();
  } else {
    bool noted = !noting_ || !is_container(walk_.at()) || note(walk_.at());
    step_ = noted ? Step::enter : Step::failed;
  }
}

void ExpandingWalk::enter_link() {
  node *link = walk_.at();
  node *target = links_.resolve(link, !outer_.empty());
  step_ = Step::failed;
  if (links_.exhausted())
    return;
  if (!target || target->type == NODE_LINK) {
    step_ = target ? Step::circular : Step::dangling;
    return;
  }
  Outer outer{walk_.top(), link, target->parent};
  if (is_container(target)) {
    node *none = nullptr;
    if (!noting_ && !note_upward(link->parent, none))
      return;
    noting_ = true;
    if (avl_find(&inside_, target)) {
      step_ = Step::circular;
      return;
    }
    if (!note_upward(target->parent, outer.noted_above))
      return;
  }
  if (!outer_.push(outer))
    return;
  walk_ = Walk(target);
  settle();
}

void ExpandingWalk::leave_link() {
  Outer outer = outer_.back();
  for (node *n = walk_.top()->parent; n != outer.noted_above; n = n->parent)
    forget(n);
  walk_ = Walk(outer.top, outer.link);
  outer_.pop();
}

// The set of noted containers is closed upwards, so the first one met ends the way up.
bool ExpandingWalk::note_upward(node *container, node *&noted_above) {
  node *n = container;
  for (; n && !avl_find(&inside_, n); n = n->parent)
    if (!note(n))
      return false;
  noted_above = n;
  return true;
}

bool ExpandingWalk::note(const node *container) {
  auto *entry = static_cast<avl_node *>(std::malloc(sizeof(avl_node)));
  if (!entry)
    return false;
  entry->key = container;
  avl_insert(&inside_, entry);
  return true;
}

void ExpandingWalk::forget(const node *container) {
  avl_node *entry = avl_find(&inside_, container);
  avl_delete(&inside_, entry);
  std::free(entry);
}

} // namespace nodetree
