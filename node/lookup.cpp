#include "node/links.hpp"

using namespace nodetree;

namespace nodetree {
namespace {

// A plain lookup follows a link only to go down from it.
node *plain_step(node *at, std::string_view segment, Links &links) {
  return step(names_child(segment) ? links.target_or_self(at) : at, segment);
}

template <class Segments>
node *plain_lookup(const node *start, Segments path, Links &links) {
  node *at = links.begin(start, path);
  std::string_view segment;
  while (at && path.next(segment))
    at = plain_step(at, segment, links);
  return at;
}

node *lenient_lookup(const node *start, char **list) {
  Links links;
  ListSegments path(list);
  node *at = links.begin(start, path);
  std::string_view segment;
  while (at && path.next(segment)) {
    node *next = plain_step(links.target_or_self(at), segment, links);
    if (!next)
      break;
    at = next;
  }
  return at;
}

node *creating_step(node *at, std::string_view segment, Links &links) {
  node *found = step(links.target_or_self(at), segment);
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
  node *at = links.begin(start, path);
  std::string_view segment;
  while (at && path.next(segment))
    at = creating_step(at, segment, links);
  return at;
}

} // namespace

node *lookup(const node *start, const char *path, Links &links) {
  return plain_lookup(start, TextSegments(path), links);
}

} // namespace nodetree

node *node_get_child(const node *container, const char *segment) {
  return child_named(container, segment);
}

node *node_lookup(const node *start, const char *path) {
  Links links;
  return lookup(start, path, links);
}

node *node_lookup_sl(const node *start, char **path) {
  Links links;
  return plain_lookup(start, ListSegments(path), links);
}

node *node_try_lookup_sl(const node *start, char **path) {
  return lenient_lookup(start, path);
}

node *node_try_follow_link(const node *n) {
  char **path = node_get_link_path(n);
  return leads_from_link(path) ? lenient_lookup(n, path) : nullptr;
}

node *node_lookup_create(node *start, const char *path) {
  return lookup_create(start, TextSegments(path));
}

node *node_lookup_create_sl(node *start, char **path) {
  return lookup_create(start, ListSegments(path));
}
