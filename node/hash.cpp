#include "node/expand.hpp"

#include <cstring>

using namespace nodetree;

namespace nodetree {
namespace {

constexpr uint32_t sdbm_factor = 65599;

template <class Number>
inline uint32_t hash_number(Number number, uint32_t hash) {
  for (unsigned i = 0; i < sizeof number; i++)
    hash = hash * sdbm_factor + static_cast<unsigned char>(number >> (8 * i));
  return hash;
}

inline uint32_t hash_text(const char *text, uint32_t hash) {
  for (; *text; text++)
    hash = hash * sdbm_factor + static_cast<unsigned char>(*text);
  return hash;
}

uint32_t hash_leaf(const node *n) {
  switch (n->type) {
  case NODE_INTEGER:
    return hash_number(static_cast<uint64_t>(n->value.integer), 0);
  case NODE_REAL: {
    uint64_t bits = 0;
    std::memcpy(&bits, &n->value.real, sizeof bits);
    return hash_number(bits, 0);
  }
  case NODE_STRING:
    return hash_text(n->value.string, 0);
  case NODE_BOOLEAN:
    return n->value.boolean ? 1 : 2;
  default:
    return 0;
  }
}

// Adds the finished hash of a child to its container's.
void fold(node *container, const node *child) {
  uint32_t hash = container->diff_hash;
  if (container->type == NODE_OBJECT)
    hash = hash_text(child->key, hash) * sdbm_factor; // its NUL counts
  container->diff_hash = hash_number(child->diff_hash, hash);
}

// Prepares the hashes of one tree.
class Hashing {
public:
  explicit Hashing(node *top) : top_(top), walk_(top, false, links_) {}

  std::uint32_t run();

private:
  using Step = ExpandingWalk::Step;

  bool is_known(const node *n) const { return n->diff_hash != 0 || zero_.contains({n}); }
  [[gnu::always_inline]] inline void enter();
  void enter_link();
  const node *first_known(const node *link);
  node *fold_values(node *container);
  void note(node *place, std::uint32_t hash);
  [[gnu::always_inline]] inline void finish(std::uint32_t hash);

  node *top_;
  Links links_;
  ExpandingWalk walk_;
  // Nodes with the hash 0, remembered from the first link on.
  AddressSet zero_;
  bool out_of_memory_ = false;
};

// The current node has its hash. Gives it to the links that led here and adds it to the
// container's hash.
inline void Hashing::finish(std::uint32_t hash) {
  node *place = walk_.place();
  if (hash == 0 || place->type == NODE_LINK)
    note(place, hash);
  if (place != top_)
    fold(place->parent, place);
}

void Hashing::note(node *place, std::uint32_t hash) {
  if (hash != 0)
    for (node *n = place; n && n->type == NODE_LINK && n->diff_hash == 0;
         n = links_.follow(n))
      n->diff_hash = hash;
  else if (!zero_.empty() && is_container(walk_.at()))
    zero_.add({walk_.at()}); // if that fails, it is only visited again
}

std::uint32_t Hashing::run() {
  for (;;) {
    switch (out_of_memory_ ? Step::failed : walk_.step()) {
    case Step::enter:
      enter();
      break;
    case Step::leave:
      finish(walk_.at()->diff_hash);
      walk_.advance();
      break;
    case Step::dangling:
    case Step::circular:
      finish(0);
      walk_.advance();
      break;
    case Step::failed:
      walk_.give_up([](node *half_made) { half_made->diff_hash = 0; });
      return 0;
    case Step::done:
      return top_->diff_hash;
    }
  }
}

void Hashing::enter() {
  node *at = walk_.at();
  if (!is_known(at)) {
    if (at->type == NODE_LINK)
      return enter_link();
    if (!is_container(at))
      at->diff_hash = hash_leaf(at);
    else if (node *child = fold_values(at))
      return walk_.enter_child(child);
  }
  finish(at->diff_hash);
  walk_.pass();
}

// Adds the values at the beginning of a container, which is faster than walking over them.
// Returns the first other child. Behind links every node must be counted by the walk.
node *Hashing::fold_values(node *container) {
  node *child = first_child(container);
  if (walk_.behind_links())
    return child;
  for (; child && !is_container(child) && child->type != NODE_LINK;
       child = next_sibling(child)) {
    if (child->diff_hash == 0)
      child->diff_hash = hash_leaf(child);
    fold(container, child);
  }
  return child;
}

// A hash on the way to the target is taken: it is that of the target when it was computed.
void Hashing::enter_link() {
  const node *link = walk_.at();
  walk_.follow_link();
  if (walk_.step() == Step::circular || walk_.step() == Step::failed)
    return;
  const node *known = first_known(link);
  out_of_memory_ = out_of_memory_ || links_.out_of_memory();
  if (known && !out_of_memory_) {
    finish(known->diff_hash);
    walk_.pass();
  }
}

// The first node on the chain of links with a known hash; NULL for none. The links before
// it count as having the hash 0 until finish() gives them another.
const node *Hashing::first_known(const node *link) {
  for (const node *n = link; n; n = links_.follow(n)) {
    if (is_known(n))
      return n;
    if (n->type != NODE_LINK)
      return nullptr;
    out_of_memory_ = zero_.add({n}) == AddressSet::Result::failed;
    if (out_of_memory_)
      return nullptr;
  }
  return nullptr;
}

} // namespace
} // namespace nodetree

uint32_t hash_sdbm(const void *data, size_t length, uint32_t seed) {
  const auto *bytes = static_cast<const unsigned char *>(data);
  uint32_t hash = seed;
  for (size_t i = 0; i < length; i++)
    hash = hash * sdbm_factor + bytes[i];
  return hash;
}

uint32_t node_prepare_diff_hash(node *n) {
  if (!n)
    return 0;
  return n->diff_hash != 0 ? n->diff_hash : Hashing(n).run();
}
