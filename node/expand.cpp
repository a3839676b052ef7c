#include "node/expand.hpp"

namespace nodetree {
namespace {

int compare_places(const void *key, const void *held_key, void *places) {
  return static_cast<const Places *>(places)->compare(static_cast<const node *>(key),
                                                      static_cast<const node *>(held_key));
}

} // namespace

ExpandingWalk::ExpandingWalk(node *top, bool follow, Links &links, std::size_t behind)
    : top_(top), walk_(top), follow_(follow), links_(links), behind_(behind) {
  avl_init(&inside_, compare_places, false, &links.places());
  settle();
}

ExpandingWalk::~ExpandingWalk() {
  for (; !outer_.empty(); outer_.pop())
    std::free(outer_.back().inside);
}

void ExpandingWalk::settle_among_links() {
  while (walk_.done() && !outer_.empty()) {
    walk_ = Walk(outer_.back().top, outer_.back().link);
    pop_outer();
  }
  if (walk_.done())
    step_ = Step::done;
  else if (!walk_.entering())
    step_ = Step::leave;
  else
    arrive(follow_ && walk_.at()->type == NODE_LINK ? enter_link() : Step::enter);
}

void ExpandingWalk::arrive(Step step) {
  step_ = behind_ > 1 && !links_.visit() ? Step::failed : step;
}

ExpandingWalk::Step ExpandingWalk::enter_link() {
  Outer outer{walk_.top(), walk_.at(), nullptr};
  node *target = links_.resolve(outer.link);
  if (!target)
    return links_.out_of_memory() ? Step::failed : Step::dangling;
  if (target->type == NODE_LINK)
    return Step::circular;
  if (is_container(target)) {
    Step step = enter_container(outer, target);
    if (step != Step::enter)
      return step;
  }
  if (!outer_.push(outer)) {
    if (outer.inside)
      avl_delete(&inside_, outer.inside);
    std::free(outer.inside);
    return Step::failed;
  }
  walk_ = Walk(target);
  behind_++;
  return Step::enter;
}

ExpandingWalk::Step ExpandingWalk::enter_container(Outer &outer, const node *target) {
  Places &places = links_.places();
  const node *home = outer.link->parent;
  if (!places.note(home) || !places.note(target))
    return Step::failed;
  // In the order of places a container is directly followed by what it holds.
  const avl_node *next = avl_find_greaterequal(&inside_, target);
  if (places.holds(target, home) ||
      (next && places.holds(target, static_cast<const node *>(next->key))))
    return Step::circular;
  outer.inside = static_cast<avl_node *>(std::malloc(sizeof(avl_node)));
  if (!outer.inside)
    return Step::failed;
  outer.inside->key = home;
  avl_insert(&inside_, outer.inside);
  return Step::enter;
}

void ExpandingWalk::pop_outer() {
  if (avl_node *inside = outer_.back().inside) {
    avl_delete(&inside_, inside);
    std::free(inside);
  }
  outer_.pop();
  behind_--;
}

} // namespace nodetree
