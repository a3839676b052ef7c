#include "node/node_internal.hpp"

#include <nodetree/stringlist.h>

#include "node/merge.hpp"

using namespace nodetree;

namespace nodetree {
namespace {

// Makes the target a container of the kind, unless it is one.
void prepare_container(node *target, node_type kind) {
  if (target->type == kind)
    return;
  node_clear(target);
  make_container(target, kind);
}

// Gives the target the source's value; a text is moved. The target keeps its own value when
// memory runs out for a link's path and when the source's kind is unknown.
void replace_scalar(node *target, node *source) {
  if (source->type > NODE_LINK)
    return;
  char **path = nullptr;
  if (source->type == NODE_LINK) {
    path = sl_copy(source->value.link_path);
    if (!path && source->value.link_path)
      return;
  }
  node_clear(target);
  target->type = source->type;
  target->value = source->value;
  if (source->type == NODE_LINK)
    target->value.link_path = path;
  if (source->type == NODE_STRING) {
    source->type = NODE_NULL;
    source->value = {};
  }
}

void move_element(node *array, node *child) {
  node_detach(child);
  array_append_free(array, child);
}

} // namespace

void merge_contents(node *target, node *source) {
  if (!is_container(source)) {
    replace_scalar(target, source);
    return;
  }
  // Two cursors instead of a stack: a container of the source that meets one with the same
  // key is entered, and released when it is empty.
  node *top = source;
  prepare_container(target, source->type);
  for (;;) {
    node *child = first_child(source);
    if (!child) {
      node_clear(source);
      if (source == top)
        return;
      node *consumed = source;
      source = source->parent;
      target = target->parent;
      node_free(consumed);
      continue;
    }
    bool is_member = source->type == NODE_OBJECT;
    node *present = is_member ? node_object_get(target, child->key) : nullptr;
    if (!is_member) {
      move_element(target, child);
    } else if (!present) {
      move_member(target, child);
    } else if (is_container(child)) {
      prepare_container(present, child->type);
      target = present;
      source = child;
    } else {
      replace_scalar(present, child);
      node_free(child);
    }
  }
}

} // namespace nodetree

void node_merge(node *target, node *source) {
  if (!target || !source || is_inside(target, source) || is_inside(source, target))
    return;
  merge_contents(target, source);
  node_free(source);
}
