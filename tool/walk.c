#include "tool.h"

static const node *member(const node *object, const avl_node *entry) {
  if ((const void *)entry == (const void *)&object->index)
    return NULL;
  return (const void *)((const char *)entry - offsetof(node, index_entry));
}

static const node *child(const node *container, const node_list *entry) {
  if (entry == &container->value.children)
    return NULL;
  return (const void *)((const char *)entry - offsetof(node, list_entry));
}

static const node *first_child(const walk *w) {
  if (w->at->child_count == 0)
    return NULL;
  if (w->sorted && w->at->type == NODE_OBJECT)
    return member(w->at, w->at->index.next);
  return child(w->at, w->at->value.children.next);
}

static const node *next_sibling(const walk *w) {
  const node *parent = w->at->parent;
  if (w->sorted && parent->type == NODE_OBJECT)
    return member(parent, w->at->index_entry.next);
  return child(parent, w->at->list_entry.next);
}

walk walk_start(const node *top, bool sorted) {
  return (walk){.top = top, .at = top, .sorted = sorted};
}

bool walk_next(walk *w) {
  const node *down = w->leaving ? NULL : first_child(w);
  if (down != NULL) {
    w->at = down;
    return true;
  }
  if (w->at == w->top)
    return false;
  const node *sibling = next_sibling(w);
  w->leaving = sibling == NULL;
  w->at = w->leaving ? w->at->parent : sibling;
  return true;
}
