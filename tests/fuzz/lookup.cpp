// A tree and a path: lookups from every node agree with a slow walker, paths lead back to
// their nodes, and only objects are created.
#include "trees.hpp"

using namespace fuzz;

namespace {

node *resolved(node *n) {
  node *target = node_follow_link(n);
  return target != nullptr ? target : n;
}

// Both lookups, segment by segment; the plain one returns NULL on failure.
node *walk(node *at, const strings &path, bool lenient) {
  if (path.empty())
    return nullptr;
  for (std::size_t i = 0; i < path.size(); i++) {
    node *from = lenient ? resolved(at) : at, *next;
    if (i == 0 && path[i].empty())
      next = node_root(at);
    else if (path[i] == ".." || path[i] == ".")
      next = path[i] == "." ? from : from->parent;
    else
      next = node_get_child(resolved(from), path[i].c_str());
    if (next == nullptr)
      return lenient ? at : nullptr;
    at = next;
  }
  return at;
}

void check_own_path(node *n) {
  const std::string own = path_of(n);
  char **segments = node_path_sl(n);
  require(node_lookup_sl(n, segments) == n || !names_itself(n), "a path list leads back");
  require(node_lookup(n, own.c_str()) == n || !names_itself(n), "a path leads back");
  require(text(sl_join(segments, "/")).get() == (n->parent != nullptr ? own : ""),
          "both forms of a path are the same");
  sl_free(segments);
}

void check_link(node *n, node *root) {
  node *target = node_follow_link(n), *lenient = node_try_follow_link(n);
  char **path = node_get_link_path(n);
  const bool has_form = !sl_empty(path) && (!**path || std::strcmp(*path, "..") == 0);
  require(target == nullptr || node_root(target) == root, "a target is in the tree");
  require((lenient != nullptr) == has_form, "what is near a target is found");
  require(target == nullptr || has_form, "a target is absolute or begins with '..'");
}

void check_create(const std::string &line, std::size_t start, const std::string &path) {
  const tree top = grow(line), before = grow(line);
  node *from = all(top)[start];
  const bool links = any(top.get(), node_is_link);
  node *known = node_lookup(from, path.c_str());
  node *made = node_lookup_create(from, path.c_str());
  require(made == nullptr || node_root(made) == top.get(),
          "what is created is in the tree");
  require_unshared(top);
  if (links || any(top.get(), is_nan))
    return;
  require(known == nullptr || made == known, "what is there is not created");
  const tree grown(node_diff(before.get(), top.get()));
  if (known != nullptr)
    require(grown == nullptr, "nothing is created needlessly");
  else
    require((grown != nullptr || made == nullptr) &&
                (grown == nullptr ||
                 !any(grown.get(), [](const node *n) { return !node_is_object(n); })),
            "objects are created");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  lines in(data, size);
  const std::string line = in.next(), path = in.next();
  const tree top = grow(line);
  const std::vector<node *> nodes = all(top);
  const strings segments = split(path);
  list as_list(segments);
  for (node *n : nodes) {
    check_own_path(n);
    check_link(n, top.get());
    node *found = node_lookup(n, path.c_str());
    require(found == walk(n, segments, false), "a lookup is a walk");
    require(found == node_lookup_sl(n, as_list.get()), "also by a list");
    require(node_try_lookup_sl(n, as_list.get()) == walk(n, segments, true),
            "a lenient lookup is a walk");
  }
  for (std::size_t start = 0; start < nodes.size() && start < 16; start++)
    check_create(line, start, path);
  require_unshared(top);
  return 0;
}
