#include "node/glob.hpp"
#include "node/merge.hpp"
#include "node/walk.hpp"
#include "shared/stack.hpp"

#include <nodetree/stringlist.h>

using namespace nodetree;

namespace nodetree {
namespace {

// The matches of one pattern. What an earlier match takes away may hold later ones, so each
// is referred to until all are done.
class Matches {
public:
  Matches(node *tree, const char *pattern)
      : tree_(tree), complete_(lookup_glob(tree, pattern, nodes_)) {
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

  // False when memory or the links allowed have run out: there is no match to be had then.
  bool complete() const { return complete_; }

  // The next match that is still below `root`, NULL at the end. The tree that is edited
  // comes once, what holds it never.
  node *next(const node *root) {
    while (nodes_ && nodes_[at_]) {
      auto *match = static_cast<node *>(nodes_[at_++]);
      if (match == tree_ ? !tree_met_
                         : is_inside(match, root) && !is_inside(tree_, match)) {
        tree_met_ = tree_met_ || match == tree_;
        return match;
      }
    }
    return nullptr;
  }

private:
  node *tree_;
  void **nodes_ = nullptr;
  bool complete_;
  bool tree_met_ = false;
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
    for (Walk walk(top); !walk.done(); walk.advance()) {
      if (is_container(walk.at()))
        continue;
      char *path = node_path(walk.at());
      if (path && !paths_.push(path))
        std::free(path);
    }
  }

private:
  char ***list_;
  Stack<char *> paths_;
};

// Moves a match to the same path in `result`. What was kept there before is dropped where
// the two do not go together.
void keep(node *result, node *match, node *tree, Removed &removed) {
  char **path = node_path_sl(match);
  node *place = node_lookup_create_sl(result, path);
  sl_free(path);
  if (!place)
    return;
  auto add_leaves = [](node *replaced, void *list) {
    static_cast<Removed *>(list)->add_leaves(replaced);
  };
  merge_contents(place, match, {add_leaves, &removed});
  // The tree itself stays the caller's, whatever of it was taken.
  if (match != tree)
    node_free(match);
}

void include_matches(node *tree, char **patterns, Removed &removed) {
  node result{}; // here, so that a want of memory cannot keep all that is to be dropped
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
      keep(&result, match, tree, removed);
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
      // What must not stay cannot be told from the rest.
      removed.add_leaves(tree);
      node_clear(tree);
      return;
    }
    while (node *match = matches.next(root)) {
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
