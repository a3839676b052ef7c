#include "node/expand.hpp"

#include <charconv>
#include <functional>

using namespace nodetree;

namespace nodetree {
namespace {

// Two containers of one kind under comparison. Children of `to` come first, then those that
// only `from` has; in arrays both lists end together, at the longer one's end.
struct Pair {
  const node *from;
  const node *to;
  const node *from_child; // the next one of each
  const node *to_child;
  size_t position;
  const char
      *key;     // of this pair's entry in the result above; NULL for the top and in arrays
  node *result; // NULL until something differs
  bool through_links;
};

// The pairs of link targets whose comparison is going on.
struct LinkPair {
  avl_node entry;
  const node *from;
  const node *to;
};

int compare_link_pairs(const void *key, const void *held_key, void *) {
  const auto *a = static_cast<const LinkPair *>(key);
  const auto *b = static_cast<const LinkPair *>(held_key);
  if (a->from != b->from)
    return std::less<>()(a->from, b->from) ? -1 : 1;
  return a->to == b->to ? 0 : std::less<>()(a->to, b->to) ? -1 : 1;
}

// Adds an entry to the result of a pair, which is made with the first one. What cannot be
// added is released.
void add_entry(Pair &pair, const char *key, node *entry) {
  if (!entry)
    return;
  if (!pair.result)
    pair.result = node_new_object();
  char position[24];
  if (!key) {
    *std::to_chars(position, position + sizeof position - 1, pair.position).ptr = '\0';
    key = position;
  }
  if (!node_object_add(pair.result, key, entry))
    node_free(entry);
}

class Difference {
public:
  Difference() { avl_init(&comparing_, compare_link_pairs, false, nullptr); }
  Difference(const Difference &) = delete;
  Difference &operator=(const Difference &) = delete;

  node *run(const node *from, const node *to) {
    node *entry = nullptr;
    if (!compare(from, to, nullptr, entry))
      return entry;
    while (!pairs_.empty()) {
      if (step())
        continue;
      Pair done = pairs_.back();
      pairs_.pop();
      if (done.through_links)
        forget(done);
      if (pairs_.empty())
        return done.result;
      add_entry(pairs_.back(), done.key, done.result);
      pairs_.back().position++;
    }
    return nullptr;
  }

private:
  bool step();
  bool step_object(Pair &pair);
  bool step_array(Pair &pair);
  void settle(const node *from, const node *to, const char *key);
  bool compare(const node *from, const node *to, const char *key, node *&entry);
  bool follow(const node *&from, const node *&to, bool behind, node *&entry);
  bool note(const node *from, const node *to);
  void forget(const Pair &pair);

  Links from_links_;
  Links to_links_;
  Stack<Pair> pairs_;
  avl_tree comparing_;
};

// Deals with the next children of the innermost pair: false when there are none.
bool Difference::step() {
  Pair &pair = pairs_.back();
  return pair.from->type == NODE_OBJECT ? step_object(pair) : step_array(pair);
}

bool Difference::step_object(Pair &pair) {
  if (const node *child = pair.to_child) {
    pair.to_child = next_sibling(child);
    settle(node_object_get(pair.from, child->key), child, child->key);
    return true;
  }
  if (const node *child = pair.from_child) {
    pair.from_child = next_sibling(child);
    if (!node_object_get(pair.to, child->key))
      add_entry(pair, child->key, node_new_null());
    return true;
  }
  return false;
}

bool Difference::step_array(Pair &pair) {
  const node *from = pair.from_child;
  const node *to = pair.to_child;
  if (!from && !to)
    return false;
  pair.from_child = from ? next_sibling(from) : nullptr;
  pair.to_child = to ? next_sibling(to) : nullptr;
  settle(from, to, nullptr);
  return true;
}

// Adds the entry of two children, one of which may be missing, to the innermost pair, or
// makes them the innermost pair.
void Difference::settle(const node *from, const node *to, const char *key) {
  node *entry = nullptr;
  if (!from)
    entry = copy_tree(to, 1, &to_links_);
  else if (!to)
    entry = node_new_null();
  else if (compare(from, to, key, entry))
    return;
  add_entry(pairs_.back(), key, entry);
  pairs_.back().position++;
}

// Whether the comparison of two nodes goes on as the innermost pair; otherwise `entry` is
// its result.
bool Difference::compare(const node *from, const node *to, const char *key, node *&entry) {
  bool through_links = false;
  // Two chains of links in a circle come back to any pair on it; see Links::resolve().
  const node *seen_from = from;
  const node *seen_to = to;
  for (size_t steps = 1, limit = 2; from->type == to->type; steps++) {
    if (from->diff_hash != 0 && from->diff_hash == to->diff_hash)
      return false;
    if (from->type == NODE_LINK) {
      bool behind = through_links || comparing_.count > 0;
      if (!follow(from, to, behind, entry) || (from == seen_from && to == seen_to))
        return false;
      if (steps == limit) {
        seen_from = from;
        seen_to = to;
        limit *= 2;
      }
      through_links = true;
      continue;
    }
    if (!is_container(from)) {
      entry = node_equals(from, to) ? nullptr : node_clone(to);
      return false;
    }
    if (through_links && !note(from, to))
      return false;
    Pair pair{from, to, first_child(from), first_child(to), 0, key, nullptr, through_links};
    if (pairs_.push(pair))
      return true;
    if (through_links)
      forget(pair);
    return false;
  }
  entry = copy_tree(to, 1, &to_links_);
  return false;
}

// Replaces two links by their targets: false when that settles the matter.
bool Difference::follow(const node *&from, const node *&to, bool behind, node *&entry) {
  const node *from_target = from_links_.follow(from, behind);
  const node *to_target = to_links_.follow(to, behind);
  if (from_links_.exhausted() || to_links_.exhausted())
    return false;
  if (!from_target || !to_target) {
    if (to_target)
      entry = copy_tree(to_target, 1, &to_links_);
    else if (from_target)
      entry = node_new_null();
    return false;
  }
  from = from_target;
  to = to_target;
  return true;
}

// False when the pair is being compared already, or there is no memory to note it.
bool Difference::note(const node *from, const node *to) {
  auto *pair = static_cast<LinkPair *>(std::malloc(sizeof(LinkPair)));
  if (!pair)
    return false;
  pair->from = from;
  pair->to = to;
  pair->entry.key = pair;
  if (avl_insert(&comparing_, &pair->entry) == 0)
    return true;
  std::free(pair);
  return false;
}

void Difference::forget(const Pair &pair) {
  LinkPair key{};
  key.from = pair.from;
  key.to = pair.to;
  avl_node *entry = avl_find(&comparing_, &key);
  avl_delete(&comparing_, entry);
  std::free(const_cast<void *>(entry->key));
}

} // namespace
} // namespace nodetree

node *node_diff(const node *from, const node *to) {
  if (!from)
    return node_copy(to, 1);
  if (!to)
    return node_new_null();
  return Difference().run(from, to);
}
