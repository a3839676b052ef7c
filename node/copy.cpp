#include "node/expand.hpp"

#include <cstring>
#include <nodetree/stringlist.h>

using namespace nodetree;

namespace nodetree {
namespace {

// Gives `copy` the value of `n` without its children. False when memory runs out.
bool copy_value(node *copy, const node *n) {
  if (n->type == NODE_STRING) {
    copy->value.string = strdup(n->value.string);
    return copy->value.string;
  }
  if (n->type == NODE_LINK) {
    copy->value.link_path = sl_copy(n->value.link_path);
    return copy->value.link_path || !n->value.link_path;
  }
  if (!is_container(n))
    copy->value = n->value;
  return true;
}

// Adds a copy of `n` to the container; NULL makes it a root. The key is that of `place`,
// the member whose place the copy takes.
node *add_copy(node *container, const node *place, const node *n) {
  bool is_member = container && container->type == NODE_OBJECT;
  NodeOwner copy(node_make(n->type, is_member ? std::string_view(place->key) : ""));
  if (!copy || !copy_value(copy.get(), n))
    return nullptr;
  if (is_member && !object_add_with_key(container, key_behind(copy.get()), copy.get()))
    return nullptr;
  if (container && !is_member)
    array_append_free(container, copy.get());
  return copy.release();
}

} // namespace

bool copy_tree(const node *n, int links, Links &account, std::size_t behind, node *&copy) {
  copy = nullptr;
  ExpandingWalk walk(const_cast<node *>(n), links == 1, account, behind);
  NodeOwner top;
  node *container = nullptr;
  for (; walk.step() != ExpandingWalk::Step::done; walk.advance()) {
    if (walk.step() == ExpandingWalk::Step::failed)
      return false;
    if (container && walk.step() == ExpandingWalk::Step::leave)
      container = container->parent;
    if (walk.step() != ExpandingWalk::Step::enter)
      continue;
    node *at = walk.at();
    bool left_out = at->type > NODE_LINK || (at->type == NODE_LINK && links != 0);
    if (left_out)
      continue;

    node *added = add_copy(container, walk.place(), at);
    if (!added)
      return false;
    if (!container)
      top.reset(added);
    if (is_container(added))
      container = added;
  }
  copy = top.release();
  return true;
}

} // namespace nodetree

node *node_copy(const node *n, int links) {
  Links account;
  node *copy = nullptr;
  if (n)
    copy_tree(n, links, account, 0, copy);
  return copy;
}

node *node_clone(const node *n) {
  return node_copy(n, 0);
}
