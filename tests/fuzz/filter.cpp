// A tree, and patterns to include and to exclude, separated by commas: each leaf is either
// left or listed as removed, and excluded matches are gone.
#include "trees.hpp"

using namespace fuzz;

namespace {

bool is_leaf(const node *n) {
  return !node_is_container(n);
}

strings leaves(const tree &top) {
  strings paths;
  for (const node *n : all(top))
    if (is_leaf(n))
      paths.push_back(path_of(n));
  return paths;
}

strings filter(const tree &top, const strings &include, const strings &exclude) {
  char **removed = nullptr;
  node_filter(top.get(), list(include).get(), list(exclude).get(), &removed);
  strings paths(removed, removed + sl_len(removed));
  sl_free(removed);
  require_unshared(top);
  return paths;
}

// An array may become an object, and its elements may get other labels, so only a limit on
// the number of leaves can be checked.
void check_leaves(const tree &top, const strings &include, const strings &exclude) {
  if (!node_is_object(top.get()))
    return;
  const bool with_arrays = any(top.get(), node_is_array);
  for (const node *n : all(top))
    if (n->parent != nullptr && !is_plain(n->key))
      return;
  strings before = leaves(top), after = filter(top, include, exclude);
  // The top becomes a leaf only when it is made null, and may then be matched again.
  after.erase(std::remove(after.begin(), after.end(), "/"), after.end());
  if (node_is_object(top.get()))
    for (const std::string &path : leaves(top))
      after.push_back(path);
  require(after.size() <= before.size(), "a leaf is left or listed once");
  std::sort(before.begin(), before.end());
  std::sort(after.begin(), after.end());
  require(with_arrays || before == after, "each is, under its path");
}

// All patterns but the first match in a tree that has already changed.
void check_excluded(const tree &top, node *part, const strings &exclude) {
  if (exclude.empty())
    return;
  const std::vector<node *> found = matches(part, exclude[0]);
  for (node *n : found)
    node_ref(n);
  node_filter(part, nullptr, list(exclude).get(), nullptr);
  for (node *n : found) {
    const bool stays = node_root(n) == top.get();
    require(!stays || (n == part ? node_is_null(n) : !node_iterate_end(n, part)),
            "what is excluded is gone");
    node_unref(n);
  }
  require_unshared(top);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  lines in(data, size);
  const std::string line = in.next();
  const strings include = split(in.next(), ','), exclude = split(in.next(), ',');
  check_leaves(grow(line), include, exclude);

  const tree kept = grow(line);
  const strings listed = filter(kept, include, {});
  require(!include.empty() || (listed.empty() && same(kept, grow(line))),
          "without patterns nothing changes");
  for (std::size_t i = 0, count = all(grow(line)).size(); i < count && i < 16; i++) {
    const tree top = grow(line), again = grow(line);
    check_excluded(top, all(top)[i], exclude);
    node_filter(all(again)[i], list(include).get(), list(exclude).get(), nullptr);
    require_unshared(again);
  }
  return 0;
}
