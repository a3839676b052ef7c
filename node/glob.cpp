#include "node/glob.hpp"
#include "node/links.hpp"

using namespace nodetree;

namespace nodetree {
namespace {

// One glob lookup: the matches so far, and every "*" whose container has more children.
template <class Segments>
class Glob {
public:
  // A distinct search finds each match once, and enters each container once for each rest
  // of the path, so nothing multiplies.
  explicit Glob(bool distinct) : distinct_(distinct) {}

  // See lookup_distinct(). Also false for a search that would enter too many nodes.
  bool run(const node *start, Segments path, void **&matches) {
    matches = nullptr;
    node *at = links_.begin(start, path);
    if (!at)
      return true;
    if (!advance(at, path, {}) || !expand() || links_.out_of_memory())
      return false;
    if (matches_.empty())
      return true;
    if (!matches_.push(nullptr))
      return false;
    matches = matches_.take();
    return true;
  }

private:
  // Turns on the way to a node, each of which can lead to the same nodes again.
  struct Turns {
    bool expanded = false;       // after a "*"
    unsigned links = 0, ups = 0; // links followed, and ".." after a "*"

    bool multiply() const { return (links | ups) > 1; }
  };

  struct Branch {
    node *child;
    Segments rest; // not empty
    Turns turns;
  };

  // The functions below return false when memory runs out or too many nodes are entered.

  bool expand() {
    while (!branches_.empty()) {
      Branch &branch = branches_.back();
      node *child = branch.child;
      if (!child) {
        branches_.pop();
        continue;
      }
      branch.child = next_sibling(child);
      if (branch.turns.multiply() && !visit())
        return false;
      bool is_match = child->type == NODE_NULL;
      if (!(is_match ? match(child) : advance(child, branch.rest, branch.turns)))
        return false;
    }
    return true;
  }

  // Follows the path to its end, or to the next "*", which becomes a branch.
  [[gnu::always_inline]] bool advance(node *at, Segments path, Turns turns) {
    std::string_view segment;
    while (path.next(segment)) {
      if (at->type == NODE_LINK) {
        at = links_.target_or_self(at);
        turns.links++;
        turned_ = distinct_;
      }
      if (segment == "*" && is_container(at)) {
        turns.expanded = true;
        return branch(at, path, turns);
      }
      const bool up = turns.expanded && segment == "..";
      if (up) {
        turns.ups++;
        turned_ = turned_ || distinct_;
      }
      if ((up || turns.links > 1) && !visit())
        return false;
      at = step(at, segment);
      if (!at)
        return true;
    }
    return match(at);
  }

  bool visit() { return distinct_ || links_.visit(); }

  bool branch(node *container, Segments rest, const Turns &turns) {
    if (turned_) {
      auto added = entered_.add({container, rest.position()});
      if (added != AddressSet::Result::added)
        return added == AddressSet::Result::known;
    }
    if (!rest.empty())
      return branches_.push({first_child(container), rest, turns});
    const bool counts = turns.multiply();
    const bool plain = !counts && !turned_;
    for (node *child = first_child(container); child; child = next_sibling(child))
      if (plain ? !matches_.push(child) : (counts && !visit()) || !match(child))
        return false;
    return true;
  }

  bool match(node *n) { return turned_ ? match_once(n) : matches_.push(n); }

  // The matches before the first turn are added to the set with the first match after it.
  bool match_once(node *n) {
    for (; noted_ < matches_.size(); noted_++)
      if (matched_.add({matches_[noted_]}) == AddressSet::Result::failed)
        return false;
    return matched_.contains({n}) || matches_.push(n);
  }

  bool distinct_;
  bool turned_ = false; // from the first turn of a distinct search on
  Links links_;
  Stack<void *> matches_;
  Stack<Branch> branches_;
  AddressSet matched_, entered_;
  std::size_t noted_ = 0; // number of matches in matched_
};

} // namespace

bool lookup_distinct(const node *start, const char *path, void **&matches) {
  return Glob<TextSegments>(true).run(start, TextSegments(path), matches);
}

} // namespace nodetree

void **node_lookup_glob(const node *start, const char *path) {
  void **matches = nullptr;
  Glob<TextSegments>(false).run(start, TextSegments(path), matches);
  return matches;
}

void **node_lookup_glob_sl(const node *start, char **path) {
  void **matches = nullptr;
  Glob<ListSegments>(false).run(start, ListSegments(path), matches);
  return matches;
}
