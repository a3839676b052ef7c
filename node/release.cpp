// References, and destroying nodes.
#include "node/walk.hpp"

#include <nodetree/stringlist.h>

using namespace nodetree;

namespace nodetree {
namespace {

void release_value(node *n) {
  if (n->type == NODE_STRING)
    std::free(n->value.string);
  else if (n->type == NODE_LINK)
    sl_free(n->value.link_path);
}

// Makes a root of a child whose container is being destroyed. The container's list and
// index are not updated: they are not used again.
void orphan(node *child) {
  release_key(child);
  child->index_entry.next = child->index_entry.prev = nullptr;
  child->index_entry.key = nullptr;
  child->list_entry = {nullptr, nullptr};
  child->parent = nullptr;
}

// Destroys a node that has lost its last reference, and all nodes below it that have no
// other reference.
void destroy(node *top) {
  Walk walk(top);
  while (!walk.done()) {
    node *n = walk.at();
    if (walk.entering() && n != top && n->refcount > 1) {
      walk.pass();
      n->refcount--;
      orphan(n);
    } else if (walk.entering() && has_children(n)) {
      walk.advance();
    } else {
      walk.pass();
      release_value(n);
      release_key(n);
      std::free(n);
    }
  }
}

// Drops the references that a container holds to its children and leaves it empty.
void release_children(node *container) {
  for (node *child = first_child(container); child;) {
    node *next = next_sibling(child);
    if (--child->refcount == 0)
      destroy(child);
    else
      orphan(child);
    child = next;
  }
  container->child_count = 0;
  make_container(container, container->type);
}

} // namespace
} // namespace nodetree

void node_ref(node *n) {
  if (n)
    n->refcount++;
}

bool node_unref(node *n) {
  if (!n)
    return false;
  if (n->refcount == 1) {
    node_free(n);
    return false;
  }
  n->refcount--;
  return true;
}

void node_free(node *n) {
  if (!n)
    return;
  node_detach(n);
  if (--n->refcount == 0)
    destroy(n);
}

void node_detach(node *n) {
  node *parent = node_parent(n);
  if (!parent)
    return;
  if (n->index_entry.key) {
    avl_delete(&parent->index, &n->index_entry);
    n->index_entry.key = nullptr;
  }
  unlink_child(n);
  release_key(n);
}

void node_clear(node *n) {
  if (!n)
    return;
  if (is_container(n))
    release_children(n);
  else
    release_value(n);
  n->type = NODE_NULL;
  n->value = {};
  n->index = {};
}

void node_object_clear(node *object) {
  if (has_kind(object, NODE_OBJECT))
    release_children(object);
}

void node_array_clear(node *array) {
  if (has_kind(array, NODE_ARRAY))
    release_children(array);
}
