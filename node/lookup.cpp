#include "node/links.hpp"
#include "node/segments.hpp"

#include <cstring>

using namespace nodetree;

namespace nodetree {
namespace {

// Moves to the root when the path is absolute: false when that was the whole path, and for
// an empty one, where `at` becomes NULL.
template <class Segments>
bool begin(Segments &path, std::string_view &segment, node *&at, Links &links) {
  if (!path.next(segment)) {
    at = nullptr;
    return false;
  }
  if (!segment.empty())
    return true;
  at = links.root(at);
  return path.next(segment);
}

node *step(node *at, std::string_view segment, Links &links) {
  if (segment == "..")
    return at->parent;
  if (segment == ".")
    return at;
  return child_named(links.target_or_self(at), segment);
}

template <class Segments>
node *lookup(const node *start, Segments path) {
  Links links;
  node *at = const_cast<node *>(start);
  std::string_view segment;
  for (bool more = begin(path, segment, at, links); more && at; more = path.next(segment))
    at = step(at, segment, links);
  return at;
}

node *lenient_step(node *at, std::string_view segment, Links &links) {
  at = links.target_or_self(at);
  if (segment == "..")
    return at->parent;
  if (segment == ".")
    return at;
  return child_named(links.target_or_self(at), segment);
}

node *lenient_lookup(const node *start, char **list) {
  Links links;
  node *at = const_cast<node *>(start);
  ListSegments path(list);
  std::string_view segment;
  for (bool more = begin(path, segment, at, links); more && at; more = path.next(segment)) {
    node *next = lenient_step(at, segment, links);
    if (!next)
      break;
    at = next;
  }
  return at;
}

node *creating_step(node *at, std::string_view segment, Links &links) {
  node *holder = links.target_or_self(at);
  if (segment == ".")
    return holder;
  node *found = segment == ".." ? holder->parent : child_named(holder, segment);
  if (found || at->type != NODE_OBJECT)
    return found;

  NodeOwner made(node_make(NODE_OBJECT, segment));
  if (!made || !object_add_with_key(at, key_behind(made.get()), made.get()))
    return nullptr;
  return made.release();
}

template <class Segments>
node *lookup_create(node *start, Segments path) {
  Links links;
  node *at = start;
  std::string_view segment;
  for (bool more = begin(path, segment, at, links); more && at; more = path.next(segment))
    at = creating_step(at, segment, links);
  return at;
}

} // namespace
} // namespace nodetree

node *node_get_child(const node *container, const char *segment) {
  return child_named(container, segment);
}

node *node_lookup(const node *start, const char *path) {
  return lookup(start, TextSegments(path));
}

node *node_lookup_sl(const node *start, char **path) {
  return lookup(start, ListSegments(path));
}

node *node_try_lookup_sl(const node *start, char **path) {
  return lenient_lookup(start, path);
}

node *node_try_follow_link(const node *n) {
  char **path = node_get_link_path(n);
  if (!path || !*path || (**path != '\0' && std::strcmp(*path, "..") != 0))
    return nullptr;
  return lenient_lookup(n, path);
}

node *node_lookup_create(node *start, const char *path) {
  return lookup_create(start, TextSegments(path));
}

node *node_lookup_create_sl(node *start, char **path) {
  return lookup_create(start, ListSegments(path));
}
