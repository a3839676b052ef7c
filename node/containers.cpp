#include "node/wanted_key.hpp"

#include <charconv>
#include <cstring>

using namespace nodetree;

namespace nodetree {
namespace {

node *element_at(const node *array, size_t index) {
  if (!has_kind(array, NODE_ARRAY) || index >= array->child_count)
    return nullptr;
  const node_list *head = &array->value.children;
  node_list *entry = head->next;
  if (index <= array->child_count / 2) {
    for (; index > 0; index--)
      entry = entry->next;
  } else {
    entry = head->prev;
    for (index = array->child_count - 1 - index; index > 0; index--)
      entry = entry->prev;
  }
  return node_of(entry);
}

} // namespace

char *long_label(std::size_t number) {
  char digits[24] = {};
  std::to_chars(digits, digits + sizeof digits, number);
  return strdup(digits);
}

bool is_inside(const node *n, const node *container) {
  while (n && n != container)
    n = n->parent;
  return n != nullptr;
}

bool object_add_with_key(node *object, char *key, node *child) {
  Descent place = place_of(object, WantedKey(key));
  if (place.at && place.result == 0)
    return false;
  child->key = key;
  child->index_entry.key = key;
  avl_link(&object->index, &child->index_entry, place);
  link_last(object, child);
  return true;
}

bool move_member(node *object, node *child) {
  avl_delete(&child->parent->index, &child->index_entry);
  child->index_entry.key = nullptr;
  unlink_child(child);
  if (object_add_with_key(object, child->key, child))
    return true;
  release_key(child);
  return false;
}

} // namespace nodetree

node *node_container_first(const node *container) {
  return container && has_children(container) ? first_child(container) : nullptr;
}

node *node_container_next(const node *, const node *child) {
  return child && child->parent ? next_sibling(child) : nullptr;
}

bool node_object_add(node *object, const char *key, node *child) {
  if (!has_kind(object, NODE_OBJECT) || !key || !is_free_child(object, child))
    return false;
  const std::string_view name = key;
  char *own = key_behind(child);
  if (name.size() >= key_room)
    own = static_cast<char *>(std::malloc(name.size() + 1));
  if (!own)
    return false;
  write_key(own, name);
  if (object_add_with_key(object, own, child))
    return true;
  if (own != key_behind(child))
    std::free(own);
  return false;
}

size_t node_object_count(const node *object) {
  return has_kind(object, NODE_OBJECT) ? object->child_count : 0;
}

node *node_object_first(const node *object) {
  return has_kind(object, NODE_OBJECT) ? first_child(object) : nullptr;
}

node *node_object_next(const node *object, const node *child) {
  return has_kind(object, NODE_OBJECT) ? node_container_next(object, child) : nullptr;
}

node *node_object_get(const node *object, const char *key) {
  return has_kind(object, NODE_OBJECT) ? find_member(object, key) : nullptr;
}

void node_object_del(node *object, const char *key) {
  node_free(node_object_get(object, key));
}

void node_object_move_children(node *destination, node *source) {
  if (!has_kind(destination, NODE_OBJECT) || !has_kind(source, NODE_OBJECT) ||
      is_inside(destination, source))
    return;
  while (node *child = first_child(source))
    if (!move_member(destination, child))
      node_unref(child);
  node_clear(source);
}

bool node_array_append(node *array, node *child) {
  if (!has_kind(array, NODE_ARRAY) || !is_free_child(array, child))
    return false;
  array_append_free(array, child);
  return true;
}

bool node_array_prepend(node *array, node *child) {
  if (!has_kind(array, NODE_ARRAY) || !is_free_child(array, child))
    return false;
  set_label(child, array->child_count);
  link_child(array, child, &array->value.children);
  return true;
}

size_t node_array_count(const node *array) {
  return has_kind(array, NODE_ARRAY) ? array->child_count : 0;
}

node *node_array_first(const node *array) {
  return has_kind(array, NODE_ARRAY) ? first_child(array) : nullptr;
}

node *node_array_next(const node *array, const node *child) {
  return has_kind(array, NODE_ARRAY) ? node_container_next(array, child) : nullptr;
}

node *node_array_get(const node *array, size_t index) {
  return element_at(array, index);
}

void node_array_del(node *array, size_t index) {
  node_free(element_at(array, index));
}

node *node_iterate(node *n) {
  if (!n)
    return nullptr;
  if (!has_children(n)) {
    while (n->parent && !next_sibling(n))
      n = n->parent;
    if (!n->parent)
      return nullptr;
    n = next_sibling(n);
  }
  while (has_children(n))
    n = first_child(n);
  return n;
}

bool node_iterate_end(const node *root, const node *cursor) {
  return !cursor || !is_inside(cursor, root);
}
