// A tree and a glob path: the matches from every node are those of a slow expansion, in the
// same order, and the path of each leads to it.
#include "trees.hpp"

using namespace fuzz;

namespace {

struct hit {
  node *at;
  bool complete; // a null that "*" has met; it goes no further
};

// Level by level, which keeps the order: each hit is replaced by its expansion.
std::vector<hit> expand(node *start, const strings &pattern) {
  std::vector<hit> hits;
  if (!pattern.empty())
    hits.push_back({pattern[0].empty() ? node_root(start) : start, false});
  for (std::size_t i = !pattern.empty() && pattern[0].empty(); i < pattern.size(); i++) {
    std::vector<hit> next;
    for (const hit &h : hits) {
      node *target = h.complete ? nullptr : node_follow_link(h.at);
      node *from = target != nullptr ? target : h.at, *step = nullptr;
      if (h.complete || pattern[i] == ".")
        step = from;
      else if (pattern[i] == "..")
        step = from->parent;
      else if (pattern[i] != "*" || !node_is_container(from))
        step = node_get_child(from, pattern[i].c_str());
      else
        for (node *child = node_container_first(from); child != nullptr;
             child = node_container_next(from, child))
          next.push_back({child, node_is_null(child) && i + 1 < pattern.size()});
      if (step != nullptr)
        next.push_back({step, h.complete});
    }
    hits = std::move(next);
    if (hits.size() > 10000)
      break;
  }
  return hits;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  lines in(data, size);
  const tree top = grow(in.next());
  const std::string pattern = in.next();
  for (node *start : all(top)) {
    const std::vector<hit> hits = expand(start, split(pattern));
    if (hits.size() > 10000)
      return 0;
    const std::vector<node *> found = matches(start, pattern);
    require(found.size() == hits.size(), "as many match as there are");
    for (std::size_t i = 0; i < found.size(); i++)
      require(found[i] == hits[i].at, "matches come in the order of the tree");
    for (node *n : found)
      require(!names_itself(n) || matches(start, path_of(n)) == std::vector<node *>{n},
              "a match is found by its path");
  }
  require_unshared(top);
  return 0;
}
