#include "tool.h"

static const node *member(const node *object, const avl_node *entry) {
  if ((const void *)entry == (const void *)&object->index)
    return NULL;
  return (const node *)((const char *)entry - offsetof(node, index_entry));
}

static const node *first_child(const walk *w) {
  if (w->at->child_count == 0)
    return NULL;
  if (w->sorted && node_is_object(w->at))
    return member(w->at, w->at->index.next);
  return node_container_first(w->at);
}

static const node *next_sibling(const walk *w) {
  const node *parent = node_parent(w->at);
  if (w->sorted && node_is_object(parent))
    return member(parent, w->at->index_entry.next);
  return node_container_next(parent, w->at);
}

walk walk_start(const node *top, bool sorted) {
  return (walk){.top = top, .at = top, .sorted = sorted};
}

bool walk_next(walk *w) {
  const node *child = w->leaving ? NULL : first_child(w);
  if (child != NULL) {
    w->at = child;
    return true;
  }
  if (w->at == w->top)
    return false;
  const node *sibling = next_sibling(w);
  w->leaving = sibling == NULL;
  w->at = w->leaving ? node_parent(w->at) : sibling;
  return true;
}
