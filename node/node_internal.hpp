// The shape of the tree: what the files of this folder and the codecs do to nodes besides
// the public interface.
#ifndef NODETREE_NODE_NODE_INTERNAL_HPP
#define NODETREE_NODE_NODE_INTERNAL_HPP

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <endian.h>
#include <memory>
#include <nodetree/node.h>
#include <string_view>

namespace nodetree {

struct NodeFree {
  void operator()(node *n) const { node_free(n); }
};
using NodeOwner = std::unique_ptr<node, NodeFree>;

// Callers' nodes may be NULL, which is of no kind.
inline bool has_kind(const node *n, node_type kind) {
  return n && n->type == kind;
}

inline bool is_container(const node *n) {
  return n->type == NODE_OBJECT || n->type == NODE_ARRAY;
}

inline node *node_of(node_list *entry) {
  return reinterpret_cast<node *>(reinterpret_cast<char *>(entry) -
                                  offsetof(node, list_entry));
}

inline node *node_of(avl_node *entry) {
  return reinterpret_cast<node *>(reinterpret_cast<char *>(entry) -
                                  offsetof(node, index_entry));
}

inline node *first_child(const node *container) {
  node_list *first = container->value.children.next;
  return first == &container->value.children ? nullptr : node_of(first);
}

// The following sibling of a node that has a parent.
inline node *next_sibling(const node *n) {
  node_list *next = n->list_entry.next;
  return next == &n->parent->value.children ? nullptr : node_of(next);
}

inline bool has_children(const node *n) {
  return is_container(n) && n->child_count != 0;
}

// Whether a node may be put into `container`, as far as a look at the two can tell.
inline bool is_free_child(const node *container, const node *child) {
  return child && !child->parent && child != container;
}

// Keys stand behind the record where they can: a member then costs one allocation instead
// of two, an element never one for its label, and a key is at hand where its place in the
// index is. What rounding leaves of a record's block holds any key of up to seven bytes; a
// record that is made for a longer one has more room. So many bytes of any key may be read:
// what follows a shorter one are NULs.
constexpr std::size_t key_room = 8;

inline char *key_behind(node *n) {
  return reinterpret_cast<char *>(n + 1);
}

// Writes a key with all the NULs that belong behind it.
inline void write_key(char *to, std::string_view key) {
  if (key.size() < key_room) {
    std::uint64_t padded = 0; // no array, for which compilers guard the stack
    for (std::size_t i = key.size(); i-- != 0;)
      padded = padded << 8 | static_cast<unsigned char>(key[i]);
    padded = htole64(padded);
    std::memcpy(to, &padded, key_room);
  } else {
    std::memmove(to, key.data(), key.size());
    to[key.size()] = '\0';
  }
}

// A node of the kind with one reference and no value yet (an empty one, for a container),
// and behind it the key that it is to be held under. NULL when memory runs out.
node *node_make(node_type kind, std::string_view key = "");

// Releases the node's key wherever it stands.
inline void release_key(node *n) {
  if (n->key != key_behind(n))
    std::free(n->key);
  n->key = nullptr;
}

// Makes the node an empty container of the kind; what it held before is gone already.
void make_container(node *n, node_type kind);

// Links a child that has its key (and, in an object, its place in the index) into the list.
inline void link_child(node *container, node *child, node_list *after) {
  child->list_entry.prev = after;
  child->list_entry.next = after->next;
  after->next->prev = &child->list_entry;
  after->next = &child->list_entry;
  child->parent = container;
  container->child_count++;
}

inline void link_last(node *container, node *child) {
  link_child(container, child, container->value.children.prev);
}

// Takes a child out of its parent's list and count; index and key are the caller's
// business.
inline void unlink_child(node *child) {
  child->list_entry.prev->next = child->list_entry.next;
  child->list_entry.next->prev = child->list_entry.prev;
  child->list_entry = {nullptr, nullptr};
  child->parent->child_count--;
  child->parent = nullptr;
}

// Adds a free child as the last member of an object under `key`, which stands behind the
// child or becomes its own: true. False when the object has the key; then nothing has
// changed and the key is still the caller's.
bool object_add_with_key(node *object, char *key, node *child);

// Moves a member of another object to the end of this one, key and reference included.
// False, with the child taken out all the same and without a key, when the object has the
// key.
bool move_member(node *object, node *child);

// Whether `n` is `container` or lies below it. O(depth).
bool is_inside(const node *n, const node *container);

// Appends a free child to an array.
void array_append_free(node *array, node *child);

} // namespace nodetree

#endif
