#include "node/glob.hpp"
#include "node/links.hpp"
#include "node/segments.hpp"
#include "shared/stack.hpp"

using namespace nodetree;

namespace nodetree {
namespace {

// One glob lookup: the matches so far, and every "*" whose container has children left.
template <class Segments>
class Glob {
public:
  // See lookup_glob().
  bool run(const node *start, Segments path, void **&matches) {
    node *at = const_cast<node *>(start);
    matches = nullptr;
    if (!start || path.empty())
      return true;
    Segments behind_root = path;
    std::string_view first;
    if (behind_root.next(first) && first.empty()) {
      at = links_.root(at);
      path = behind_root;
    }
    if (!advance(at, path, false) || !expand() || links_.exhausted())
      return false;
    if (matches_.empty())
      return true;
    if (!matches_.push(nullptr))
      return false;
    matches = matches_.take();
    return true;
  }

private:
  struct Branch {
    node *child;
    Segments rest;
    bool behind_link;
  };

  // The functions below give false only when memory runs out.

  bool expand() {
    while (!branches_.empty() && !links_.exhausted()) {
      Branch &branch = branches_.back();
      node *child = branch.child;
      if (!child) {
        branches_.pop();
        continue;
      }
      branch.child = next_sibling(child);
      bool match = branch.rest.empty() || child->type == NODE_NULL;
      if (!(match ? matches_.push(child) : advance(child, branch.rest, branch.behind_link)))
        return false;
    }
    return true;
  }

  // Goes along the path as far as the next "*", which becomes a branch, or to its end.
  bool advance(node *at, Segments path, bool behind_link) {
    std::string_view segment;
    while (path.next(segment)) {
      if (at->type == NODE_LINK) {
        at = links_.target_or_self(at, behind_link);
        behind_link = true;
      }
      if (segment == "*" && is_container(at))
        return branches_.push({first_child(at), path, behind_link});
      if (segment == "..")
        at = at->parent;
      else if (segment != ".")
        at = child_named(at, segment);
      if (!at)
        return true;
    }
    return matches_.push(at);
  }

  Links links_;
  Stack<void *> matches_;
  Stack<Branch> branches_;
};

} // namespace

bool lookup_glob(const node *start, const char *path, void **&matches) {
  return Glob<TextSegments>().run(start, TextSegments(path), matches);
}

} // namespace nodetree

void **node_lookup_glob(const node *start, const char *path) {
  void **matches = nullptr;
  lookup_glob(start, path, matches);
  return matches;
}

void **node_lookup_glob_sl(const node *start, char **path) {
  void **matches = nullptr;
  Glob<ListSegments>().run(start, ListSegments(path), matches);
  return matches;
}
