#include "node/glob.hpp"
#include "node/merge.hpp"
#include "node/walk.hpp"
#include "shared/stack.hpp"

#include <nodetree/stringlist.h>

using namespace nodetree;

namespace nodetree {
namespace {

// The matches of one pattern. Removing one may destroy later ones, so each is kept by a
// reference.
class Matches {
public:
  Matches(node *tree, const char *pattern)
      : tree_(tree), complete_(lookup_distinct(tree, pattern, nodes_)) {
    for (void **n = nodes_; n && *n; n++)
      node_ref(static_cast<node *>(*n));
  }
  Matches(const Matches &) = delete;
  Matches &operator=(const Matches &) = delete;
  ~Matches() {
    for (void **n = nodes_; n && *n; n++)
      node_unref(static_cast<node *>(*n));
    std::free(nodes_);
  }

  // False when memory ran out; which nodes match is then unknown.
  bool complete() const { return complete_; }

  // The next match that is still below `root`; NULL at the end. Skips matches that contain
  // the tree being edited.
  node *next(const node *root) {
    while (nodes_ && nodes_[at_]) {
      auto *match = static_cast<node *>(nodes_[at_++]);
      if (match == tree_ || (is_inside(match, root) && !is_inside(tree_, match)))
        return match;
    }
    return nullptr;
  }

private:
  node *tree_;
  void **nodes_ = nullptr;
  bool complete_;
  size_t at_ = 0;
};

// The paths of dropped leaves, to be appended to the caller's list at once.
class Removed {
public:
  explicit Removed(bool wanted) : wanted_(wanted) {}
  Removed(const Removed &) = delete;
  Removed &operator=(const Removed &) = delete;
  ~Removed() {
    for (; !paths_.empty(); paths_.pop())
      std::free(paths_.back());
  }

  // When memory runs out the list is unchanged.
  void append_to(char **&list) {
    if (paths_.empty() || !paths_.push(nullptr))
      return;
    char **paths = paths_.take();
    if (char **joined = sl_concat(list, paths))
      list = joined;
    else
      sl_free(paths);
  }

  void add_leaves(node *top) {
    if (!wanted_)
      return;
    for (Walk walk(top); !walk.done(); walk.advance()) {
      if (is_container(walk.at()))
        continue;
      char *path = node_path(walk.at());
      if (path && !paths_.push(path))
        std::free(path);
    }
  }

private:
  bool wanted_;
  Stack<char *> paths_;
};

// Moves a match to the same path in `result`. There it replaces what it cannot be combined
// with.
void keep(node *result, node *match, node *tree) {
  char **path = node_path_sl(match);
  node *place = node_lookup_create_sl(result, path);
  sl_free(path);
  if (!place)
    return;
  merge_contents(place, match);
  // The tree itself stays with the caller.
  if (match != tree)
    node_free(match);
}

void include_matches(node *tree, char **patterns, Removed &removed) {
  node result{}; // not allocated, so that dropping the rest cannot fail
  result.refcount = 1;
  make_container(&result, NODE_OBJECT);
  bool tree_taken = false;
  const node *root = node_root(tree);
  for (char **pattern = patterns; *pattern; pattern++) {
    Matches matches(tree, *pattern);
    while (node *match = matches.next(root)) {
      if (match == tree && tree_taken)
        continue;
      tree_taken = tree_taken || match == tree;
      keep(&result, match, tree);
    }
  }
  if (tree->type == NODE_OBJECT) {
    removed.add_leaves(tree);
    node_object_clear(tree);
  }
  merge_contents(tree, &result);
  node_clear(&result);
}

void exclude_matches(node *tree, char **patterns, Removed &removed) {
  const node *root = node_root(tree);
  for (char **pattern = patterns; *pattern; pattern++) {
    Matches matches(tree, *pattern);
    if (!matches.complete()) {
      // What matches is unknown, so nothing may stay.
      removed.add_leaves(tree);
      node_clear(tree);
      return;
    }
    while (node *match = matches.next(root)) {
      removed.add_leaves(match);
      // The tree being edited keeps its place, even inside a larger one.
      if (match == tree)
        node_clear(match);
      else
        node_free(match);
    }
  }
}

} // namespace
} // namespace nodetree

void node_filter(node *tree, char **include, char **exclude, char ***removed) {
  // Keeps the tree alive if a match is the tree or contains it.
  node_ref(tree);
  Removed dropped(removed);
  if (!sl_empty(include))
    include_matches(tree, include, dropped);
  if (!sl_empty(exclude))
    exclude_matches(tree, exclude, dropped);
  if (removed)
    dropped.append_to(*removed);
  node_unref(tree);
}
