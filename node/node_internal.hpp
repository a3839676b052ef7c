// Internal operations on nodes, for the files of this folder and the codecs.
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

// A node from a caller may be NULL, which has no kind.
inline bool has_kind(const node *n, node_type kind) {
  return n && n->type == kind;
}

inline bool is_container(node_type kind) {
  return kind == NODE_OBJECT || kind == NODE_ARRAY;
}

inline bool is_container(const node *n) {
  return is_container(n->type);
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

// Whether a node may be put into `container`. Does not check for ancestors.
inline bool is_free_child(const node *container, const node *child) {
  return child && !child->parent && child != container;
}

// Keys are stored behind the record if possible. A member then takes one allocation instead
// of two, an element none for its label, and the key is close to its index entry. Rounding
// of the record's block leaves room for a key of up to seven bytes; a record that is made
// for a longer key is larger. This many bytes of any key may be read: a shorter one is
// padded with NULs.
constexpr std::size_t key_room = 8;

inline char *key_behind(node *n) {
  return reinterpret_cast<char *>(n + 1);
}

// A key of fewer bytes than key_room, padded with NULs, as in memory. Keys of four bytes
// and more are put together from two halves that may overlap.
inline std::uint64_t short_key(std::string_view key) {
  auto byte = [key](std::size_t i) {
    return std::uint64_t{static_cast<unsigned char>(key[i])} << 8 * i;
  };
  const std::size_t size = key.size();
  if (size == 0)
    return 0;
  if (size < 4)
    return htole64(byte(0) | byte(size / 2) | byte(size - 1));
  std::uint32_t low, high;
  std::memcpy(&low, key.data(), sizeof low);
  std::memcpy(&high, key.data() + size - sizeof high, sizeof high);
  return htole64(le32toh(low) | std::uint64_t{le32toh(high)} << 8 * (size - sizeof high));
}

// Writes a key with its padding. Most keys take two halves that may overlap and no call.
inline void write_key(char *to, std::string_view key) {
  const std::size_t size = key.size();
  if (size < key_room) {
    const std::uint64_t padded = short_key(key);
    std::memcpy(to, &padded, key_room);
    return;
  }
  if (size <= 2 * key_room) {
    std::uint64_t low, high;
    std::memcpy(&low, key.data(), key_room);
    std::memcpy(&high, key.data() + size - key_room, key_room);
    std::memcpy(to, &low, key_room);
    std::memcpy(to + size - key_room, &high, key_room);
  } else {
    std::memmove(to, key.data(), size);
  }
  to[size] = '\0';
}

// Whether a NUL is among the bytes of a written key, where it has to end.
inline bool has_nul(const char *written, std::size_t size) {
  if (size >= key_room)
    return std::memchr(written, '\0', size) != nullptr;
  std::uint64_t bytes;
  std::memcpy(&bytes, written, key_room);
  bytes = le64toh(bytes) | ~std::uint64_t{0} << 8 * size;
  constexpr std::uint64_t ones = 0x0101010101010101;
  return ((bytes - ones) & ~bytes & ones << 7) != 0;
}

// Makes the node an empty container of the kind. The caller has released its value.
inline void make_container(node *n, node_type kind) {
  n->type = kind;
  n->value.children = {&n->value.children, &n->value.children};
  if (kind == NODE_OBJECT)
    avl_init(&n->index, avl_strcmp, false, n);
}

// A new node of the kind with one reference and, behind it, the key that it will have in
// its container. It has no value; a container is empty. NULL when memory runs out.
inline node *node_make(node_type kind, std::string_view key = "") {
  // calloc() clears more slowly and does not reuse blocks that this thread has just freed.
  auto *n =
      static_cast<node *>(std::malloc(sizeof(node) + std::max(key_room, key.size() + 1)));
  if (!n)
    return nullptr;
  // Clears the padding too, in pieces that need no loop.
  constexpr std::size_t middle = offsetof(node, child_count);
  constexpr std::size_t end = offsetof(node, list_entry);
  std::memset(static_cast<void *>(n), 0, middle);
  std::memset(&n->child_count, 0, end - middle);
  n->type = kind;
  n->list_entry = {nullptr, nullptr};
  n->parent = nullptr;
  n->refcount = 1;
  n->diff_hash = 0;
  write_key(key_behind(n), key);
  if (is_container(kind))
    make_container(n, kind);
  return n;
}

// Releases the node's key wherever it stands.
inline void release_key(node *n) {
  if (n->key != key_behind(n))
    std::free(n->key);
  n->key = nullptr;
}

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

// Takes a child out of its parent's list and count, but not out of the index. The key
// stays.
inline void unlink_child(node *child) {
  child->list_entry.prev->next = child->list_entry.next;
  child->list_entry.next->prev = child->list_entry.prev;
  child->list_entry = {nullptr, nullptr};
  child->parent->child_count--;
  child->parent = nullptr;
}

// Adds a free child as the last member of an object under `key`, which is stored behind the
// child or is consumed: true. False, with nothing changed, when the object has the key.
bool object_add_with_key(node *object, char *key, node *child);

// Moves a member of another object to the end of this one, with its key and reference.
// False when the object has the key; the child is then taken out too, and has no key.
bool move_member(node *object, node *child);

// Whether `n` is `container` or lies below it. O(depth).
bool is_inside(const node *n, const node *container);

// A new text for a number with too many digits for key_room; NULL when memory runs out.
char *long_label(std::size_t number);

// Gives the child a label, the number of elements before it was added. When memory runs out
// it has none.
inline void set_label(node *child, std::size_t number) {
  constexpr std::size_t short_labels = 10000000; // those of up to seven digits
  if (number >= short_labels) {
    child->key = long_label(number);
    return;
  }
  std::uint64_t digits = 0;
  auto rest = static_cast<std::uint32_t>(number);
  for (; rest > 9; rest /= 10)
    digits = (digits | ('0' + rest % 10)) << 8;
  digits = htole64(digits | ('0' + rest));
  child->key = key_behind(child);
  std::memcpy(child->key, &digits, key_room);
}

// Appends a free child to an array.
inline void array_append_free(node *array, node *child) {
  set_label(child, array->child_count);
  link_last(array, child);
}

} // namespace nodetree

#endif
