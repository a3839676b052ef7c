#include "node/merge.hpp"
#include "node/node_internal.hpp"
#include "valuelist/stack.hpp"

#include <cstring>
#include <nodetree/stringlist.h>
#include <nodetree/valuelist.h>

using namespace nodetree;

namespace nodetree {
namespace {

// The matches of one pattern. What an earlier match takes away may hold later ones, so each
// is referred to until all are done.
class Matches {
public:
  Matches(node *tree, const char *pattern) : nodes_(node_lookup_glob(tree, pattern)) {
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

  // The next match that is still in the tree of `root`, NULL at the end. A run of the same
  // node counts once.
  node *next(const node *root) {
    while (nodes_ && nodes_[at_]) {
      auto *match = static_cast<node *>(nodes_[at_++]);
      bool again = at_ > 1 && match == nodes_[at_ - 2];
      if (!again && is_inside(match, root))
        return match;
    }
    return nullptr;
  }

private:
  void **nodes_;
  size_t at_ = 0;
};

// The paths of dropped leaves, gathered to be appended to the caller's list at once.
class Removed {
public:
  explicit Removed(char ***list) : list_(list) {}
  Removed(const Removed &) = delete;
  Removed &operator=(const Removed &) = delete;
  ~Removed() {
    if (!paths_.empty() && paths_.push(nullptr)) {
      char **paths = paths_.take();
      char **joined = sl_concat(*list_, paths);
      if (joined)
        *list_ = joined;
      else
        sl_free(paths);
    }
    for (; !paths_.empty(); paths_.pop())
      std::free(paths_.back());
  }

  void add_leaves(node *top) {
    if (!list_)
      return;
    for (node *n = top; !node_iterate_end(top, n); n = node_iterate(n)) {
      if (is_container(n))
        continue;
      char *path = node_path(n);
      if (path && !paths_.push(path))
        std::free(path);
    }
  }

private:
  char ***list_;
  Stack<char *> paths_;
};

// Moves a match to the same path in `result`.
void keep(node *result, node *match, node *tree) {
  char **path = node_path_sl(match);
  node *place = node_lookup_create_sl(result, path);
  sl_free(path);
  if (!place)
    return;
  merge_contents(place, match);
  // The tree itself stays the caller's, whatever of it was taken.
  if (match != tree)
    node_free(match);
}

void include_matches(node *tree, char **patterns, Removed &removed) {
  NodeOwner result(node_new_object());
  if (!result)
    return;
  bool tree_taken = false;
  const node *root = node_root(tree);
  for (char **pattern = patterns; *pattern; pattern++) {
    Matches matches(tree, *pattern);
    while (node *match = matches.next(root)) {
      bool holds_tree = match != tree && is_inside(tree, match);
      if (holds_tree || (match == tree && tree_taken))
        continue;
      tree_taken = tree_taken || match == tree;
      keep(result.get(), match, tree);
    }
  }
  if (tree->type == NODE_OBJECT) {
    removed.add_leaves(tree);
    node_object_clear(tree);
  }
  merge_contents(tree, result.get());
}

void exclude_matches(node *tree, char **patterns, Removed &removed) {
  const node *root = node_root(tree);
  for (char **pattern = patterns; *pattern; pattern++) {
    Matches matches(tree, *pattern);
    while (node *match = matches.next(root)) {
      if (match != tree && is_inside(tree, match))
        continue;
      removed.add_leaves(match);
      // The tree being edited stays where it is, also inside a larger one.
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
  // A match that holds the tree, or is it, must not take it from under us.
  node_ref(tree);
  Removed dropped(removed);
  if (!sl_empty(include))
    include_matches(tree, include, dropped);
  if (!sl_empty(exclude))
    exclude_matches(tree, exclude, dropped);
  node_unref(tree);
}
