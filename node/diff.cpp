#include "node/counterpart.hpp"
#include "node/expand.hpp"

#include <charconv>

using namespace nodetree;

namespace nodetree {
namespace {

// The outcome of comparing two nodes. If it is known, `entry` is their difference, NULL for
// none.
struct Outcome {
  enum Kind { known, inside, failed } kind; // inside: their children come next
  node *entry;
};

constexpr Outcome equal{Outcome::known, nullptr};
constexpr Outcome failed{Outcome::failed, nullptr};

// An entry that is NULL only when memory ran out.
Outcome made(node *entry) {
  return {entry ? Outcome::known : Outcome::failed, entry};
}

constexpr std::size_t never = SIZE_MAX;

// Two containers of one kind that are being compared. In objects the children of `to` come
// first, then those that only `from` has. In arrays both are walked together, to the end of
// the longer one.
struct Pair {
  const node *from;
  const node *to;
  node *from_child; // the next child of each; in objects `from`'s is where a search starts
  node *to_child;
  size_t met;      // the number of elements, or of members of both, so far
  const char *key; // of the entry in the outer pair's result; NULL at the top and in arrays
  node *result;    // NULL until something differs
  bool lacking;    // a difference, or a possible one, is missing in the result
};

// What is needed besides for a pair that links led to.
struct Behind {
  size_t links;   // how many
  bool by_link;   // the last of them led to this pair itself
  size_t assumed; // the number of assumptions before
  size_t lowest;  // the outermost level of a pair that was met again inside this one
  size_t visits;  // the number of visits before
};

// What is known of two containers that were reached through links. A pair of links that is
// met again inside its own comparison counts as equal. So two containers can be found equal
// on the assumption that an outer pair, whose comparison is not finished, is equal.
struct Comparison {
  enum State { unknown, comparing, finished } state;
  size_t level; // on the stack, of this pair or of the outermost one assumed equal
  const node *difference; // in the result; NULL where they are equal
  bool nested;            // further links may have led to parts of it
};

class Difference {
public:
  node *run(const node *from, const node *to);

private:
  bool step();
  bool step_object(Pair &pair);
  bool step_array(Pair &pair);
  void settle(const node *from, const node *to, const char *key);
  void finish();
  void remember(const Pair &done, const Outcome &outcome);
  void rest_on(size_t level);
  void settle_assumptions(size_t count, bool hold);
  void add(const char *key, const node *to, Outcome outcome);
  bool add_entry(Pair &pair, const char *key, node *entry);

  Outcome compare(const node *from, const node *to, const char *key);
  Outcome compare_links(node *from, node *to, const char *key);
  Outcome enter(const node *from, const node *to, const char *key, bool by_link);
  Outcome enter_behind(const node *from, const node *to, bool by_link);
  Outcome copy(const node *n, int links, size_t behind);
  size_t behind() const { return behind_.empty() ? 0 : behind_.back().links; }

  Links from_links_;
  Links to_links_; // also counts visits, for both trees
  Stack<Pair> pairs_;
  Stack<Behind> behind_; // for the innermost pairs, from the first that a link led to
  AddressTable<Comparison> comparisons_;
  Stack<Address> assumptions_; // pairs found equal on an assumption
  bool entries_lost_ = false;
};

// The spare node is returned when there is no memory for another one.
node *Difference::run(const node *from, const node *to) {
  NodeOwner spare(node_new_null());
  if (!spare)
    return nullptr;
  Outcome outcome = compare(from, to, nullptr);
  if (outcome.kind == Outcome::failed)
    outcome = copy(to, 1, 0);
  if (outcome.kind == Outcome::failed)
    return spare.release();
  if (outcome.kind == Outcome::known)
    return outcome.entry;
  for (;;) {
    if (step())
      continue;
    if (pairs_.size() == 1)
      break;
    finish();
  }
  const Pair &top = pairs_.back();
  return !top.result && top.lacking ? spare.release() : top.result;
}

// Compares the next children of the innermost pair. False when there are none.
bool Difference::step() {
  Pair &pair = pairs_.back();
  return pair.from->type == NODE_OBJECT ? step_object(pair) : step_array(pair);
}

bool Difference::step_object(Pair &pair) {
  if (const node *child = pair.to_child) {
    pair.to_child = next_sibling(child);
    node *from = counterpart(child, pair.from, pair.from_child);
    if (from) {
      pair.met++;
      pair.from_child = next_sibling(from);
    }
    if (!pair.to_child)
      pair.from_child =
          pair.met < pair.from->child_count ? first_child(pair.from) : nullptr;
    settle(from, child, child->key);
    return true;
  }
  if (const node *child = pair.from_child) {
    pair.from_child = next_sibling(child);
    if (!node_object_get(pair.to, child->key))
      add(child->key, nullptr, made(node_new_null()));
    return true;
  }
  return false;
}

bool Difference::step_array(Pair &pair) {
  const node *from = pair.from_child;
  const node *to = pair.to_child;
  if (!from && !to)
    return false;
  pair.met++;
  pair.from_child = from ? next_sibling(from) : nullptr;
  pair.to_child = to ? next_sibling(to) : nullptr;
  settle(from, to, nullptr);
  return true;
}

// Compares two children, one of which may be missing: adds their entry to the innermost
// pair, or makes them the innermost pair.
void Difference::settle(const node *from, const node *to, const char *key) {
  Outcome outcome = equal;
  if (!from)
    outcome = copy(to, 1, behind());
  else if (!to)
    outcome = made(node_new_null());
  else if (behind() > 1 && !to_links_.visit())
    outcome = failed;
  else
    outcome = compare(from, to, key);
  if (outcome.kind == Outcome::inside)
    return;
  add(key, to, outcome);
}

// Ends the innermost pair, which is not the only one.
void Difference::finish() {
  const Pair &done = pairs_.back();
  const char *key = done.key;
  const node *to = done.to;
  Outcome outcome = failed;
  if (done.result || !done.lacking)
    outcome = {Outcome::known, done.result};
  if (!behind_.empty())
    remember(done, outcome);
  pairs_.pop();
  add(key, to, outcome);
}

// A difference can be reused if no pair was met again inside it: it is then the same in
// every other place. When memory runs out for the note, the pair is only compared again.
void Difference::remember(const Pair &done, const Outcome &outcome) {
  const size_t level = pairs_.size() - 1;
  const Behind behind = behind_.back();
  behind_.pop();
  const bool is_equal = outcome.kind == Outcome::known && !outcome.entry;
  const size_t lowest = is_equal && behind.lowest >= level ? never : behind.lowest;
  rest_on(lowest);
  if (!is_equal || lowest == never)
    settle_assumptions(behind.assumed, is_equal);
  const Address key{done.from, done.to};
  Comparison *note = comparisons_.find(key);
  const bool is_outer = note && note->state == Comparison::comparing && !behind.by_link;
  const bool lasting = outcome.kind == Outcome::known && lowest == never;
  if (is_outer || (!note && !is_equal && !lasting) || !(note = comparisons_.add(key)))
    return;
  *note = {};
  if (lasting || (is_equal && assumptions_.push(key)))
    *note = {Comparison::finished, lowest, outcome.entry,
             to_links_.visits() != behind.visits};
}

// The outcome of the innermost pair depends on a pair that was met again.
void Difference::rest_on(size_t level) {
  if (!behind_.empty())
    behind_.back().lowest = std::min(behind_.back().lowest, level);
}

// The comparison that the last assumptions depend on has ended.
void Difference::settle_assumptions(size_t count, bool hold) {
  for (; assumptions_.size() > count; assumptions_.pop()) {
    Comparison *note = comparisons_.find(assumptions_.back());
    *note = {hold ? Comparison::finished : Comparison::unknown, never, nullptr, false};
  }
}

// Adds an entry to the innermost pair. An unknown difference is a copy of `to`, or null
// when there is no memory for the copy.
void Difference::add(const char *key, const node *to, Outcome outcome) {
  if (outcome.kind == Outcome::known && !outcome.entry)
    return;
  Pair &pair = pairs_.back();
  if (outcome.kind == Outcome::failed && to)
    outcome = copy(to, 1, behind());
  if (outcome.kind == Outcome::failed)
    outcome = made(node_new_null());
  if (outcome.kind == Outcome::failed ||
      (outcome.entry && !add_entry(pair, key, outcome.entry)))
    pair.lacking = true;
}

// Makes the result with its first entry. Releases an entry that cannot be added.
bool Difference::add_entry(Pair &pair, const char *key, node *entry) {
  if (!pair.result)
    pair.result = node_new_object();
  char position[24];
  if (!key) {
    *std::to_chars(position, position + sizeof position - 1, pair.met - 1).ptr = '\0';
    key = position;
  }
  if (node_object_add(pair.result, key, entry))
    return true;
  node_free(entry);
  entries_lost_ = true;
  return false;
}

Outcome Difference::copy(const node *n, int links, size_t behind) {
  Outcome outcome = equal;
  if (!copy_tree(n, links, to_links_, behind, outcome.entry))
    return failed;
  return outcome;
}

// If the outcome is `inside`, the two have become the innermost pair.
Outcome Difference::compare(const node *from, const node *to, const char *key) {
  if (from->type != to->type)
    return copy(to, 1, behind());
  if (from->diff_hash != 0 && from->diff_hash == to->diff_hash)
    return equal;
  if (from->type == NODE_LINK)
    return compare_links(const_cast<node *>(from), const_cast<node *>(to), key);
  if (is_container(from))
    return enter(from, to, key, false);
  return same_value(from, to) ? equal : copy(to, 0, behind());
}

// Links are followed side by side, so only the ends of chains of the same length are
// compared.
Outcome Difference::compare_links(node *from, node *to, const char *key) {
  const Links::End a = from_links_.end_of(from), b = to_links_.end_of(to);
  if (from_links_.out_of_memory() || to_links_.out_of_memory())
    return failed;
  const bool together = a.at && a.steps == b.steps;
  if (!b.at)
    return together || a.steps > b.steps ? made(node_new_null()) : equal;
  if (!together || a.at->type != b.at->type)
    return copy(to, 1, behind());
  if (b.at->type == NODE_LINK)
    return equal; // both are circular
  if (behind() > 0 && !to_links_.visit())
    return failed;
  if (!is_container(b.at) || (a.at->diff_hash != 0 && a.at->diff_hash == b.at->diff_hash))
    return compare(a.at, b.at, key);
  return enter(a.at, b.at, key, true);
}

// Makes two containers the innermost pair, unless their outcome is known.
Outcome Difference::enter(const node *from, const node *to, const char *key, bool by_link) {
  if (!pairs_.push({from, to, first_child(from), first_child(to), 0, key, nullptr, false}))
    return failed;
  if (!by_link && behind_.empty())
    return {Outcome::inside, nullptr};
  Outcome outcome = enter_behind(from, to, by_link);
  if (outcome.kind != Outcome::inside)
    pairs_.pop();
  return outcome;
}

Outcome Difference::enter_behind(const node *from, const node *to, bool by_link) {
  const Behind behind{this->behind() + by_link, by_link, assumptions_.size(), never,
                      to_links_.visits()};
  const Comparison *known = comparisons_.find({from, to});
  if (known && known->difference && !entries_lost_)
    return copy(known->difference, 0, behind.links + known->nested);
  if (known && !known->difference &&
      known->state >= (by_link ? Comparison::comparing : Comparison::finished)) {
    rest_on(known->level);
    return equal;
  }
  Comparison *note = by_link ? comparisons_.add({from, to}) : nullptr;
  if ((by_link && !note) || !behind_.push(behind))
    return failed;
  if (note)
    *note = {Comparison::comparing, pairs_.size() - 1, nullptr, false};
  return {Outcome::inside, nullptr};
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
