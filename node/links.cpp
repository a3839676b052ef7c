#include "node/links.hpp"

#include "node/wanted_key.hpp"
#include "string/parse_int.hpp"

#include <algorithm>
#include <cstring>

using namespace nodetree;

namespace nodetree {

node *child_named(const node *container, std::string_view segment) {
  if (has_kind(container, NODE_OBJECT))
    return find_member(container, segment);
  int position = 0;
  if (!has_kind(container, NODE_ARRAY) || !segment_to_int(segment, &position) ||
      position < 0)
    return nullptr;
  return node_array_get(container, static_cast<std::size_t>(position));
}

// The node where the link's path starts and the segments to apply to it; NULL for a path
// that does not resolve, and when the limit is reached.
node *Links::start(const node *link, bool behind, char **&rest) {
  rest = link->value.link_path;
  followed_ += behind;
  if (exhausted() || !rest || !*rest)
    return nullptr;
  if (**rest == '\0') {
    rest++;
    return root(link);
  }
  return std::strcmp(*rest, "..") == 0 ? const_cast<node *>(link) : nullptr;
}

// A link whose target has to be known before the rest of another link's path goes on.
struct Links::Waiting {
  const node *link;
  char **rest;
};

node *Links::follow(const node *link, bool behind) {
  Waiting waiting[nesting_max];
  std::size_t depth = 0;
  char **rest = nullptr;
  node *at = start(link, behind, rest);
  while (at) {
    if (!*rest) {
      // The innermost link's target is reached: the path that waits for it goes on there.
      if (depth == 0)
        return at;
      link = waiting[--depth].link;
      rest = waiting[depth].rest;
      at = child_named(at, *rest++);
    } else if (std::strcmp(*rest, "..") == 0) {
      at = at->parent;
      rest++;
    } else if (std::strcmp(*rest, ".") == 0) {
      rest++;
    } else if (at->type != NODE_LINK) {
      at = child_named(at, *rest++);
    } else {
      auto needs_itself = [at](const Waiting &outer) { return outer.link == at; };
      if (at == link || depth == nesting_max ||
          std::any_of(waiting, waiting + depth, needs_itself))
        return nullptr;
      waiting[depth++] = {link, rest};
      link = at;
      at = start(link, true, rest);
    }
  }
  return nullptr;
}

node *Links::resolve(node *n, bool behind) {
  // A chain in a circle comes back to any link on it. One is remembered for as many steps
  // as have been taken before, which in the end is more than a round.
  const node *remembered = n;
  size_t steps = 0;
  for (size_t limit = 2; n && n->type == NODE_LINK; steps++) {
    n = follow(n, behind || steps > 0);
    if (n == remembered)
      break;
    if (steps == limit) {
      remembered = n;
      limit *= 2;
    }
  }
  return n;
}

} // namespace nodetree

node *node_follow_link(const node *n) {
  Links links;
  return has_kind(n, NODE_LINK) ? links.follow(n) : nullptr;
}
