// Slow checks of the public records of nodes and indexes, independent of the library's
// code. Each returns a text that names the fault, or NULL.
#ifndef NODETREE_TESTS_RECORD_HPP
#define NODETREE_TESTS_RECORD_HPP

#include <nodetree/node.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <vector>

namespace record {

// The height of a part of an index, -1 if it is broken. Adds its elements to those found so
// far, which may be `limit` at most.
inline int height(const avl_node *e, const avl_node *parent, std::size_t limit,
                  std::vector<const avl_node *> &found) {
  if (e == nullptr)
    return 0;
  if (e->parent != parent || found.size() > limit)
    return -1;
  const int left = height(e->left, e, limit, found);
  found.push_back(e);
  const int right = height(e->right, e, limit, found);
  const bool balanced = e->balance == right - left && std::abs(e->balance) < 2;
  return left < 0 || right < 0 || !balanced ? -1 : 1 + std::max(left, right);
}

inline const char *broken(const avl_tree *index) {
  const auto *anchor = reinterpret_cast<const avl_node *>(index), *before = anchor;
  std::vector<const avl_node *> leaders, inorder;
  std::size_t count = 0;
  for (const avl_node *e = index->next; e != anchor; before = e, e = e->next) {
    if (e->prev != before || count++ == index->count)
      return "an index's list";
    const int order =
        before == anchor ? -1 : index->compare(before->key, e->key, index->compare_arg);
    if (e->leader ? order >= 0 : order != 0 || !index->allow_duplicates)
      return "an index's order";
    if (e->leader)
      leaders.push_back(e);
    else if (e->parent || e->left || e->right || e->balance != 0)
      return "a follower";
  }
  if (index->prev != before || count != index->count)
    return "an index's end";
  if (height(index->root, nullptr, count, inorder) < 0 || inorder != leaders)
    return "an index's balance";
  return nullptr;
}

// Checks all but the reference counts.
inline const char *broken(const node *n) {
  const bool held = n->parent != nullptr, is_object = n->type == NODE_OBJECT;
  const bool member = held && n->parent->type == NODE_OBJECT;
  if ((n->key != nullptr) != held || n->index_entry.key != (member ? n->key : nullptr))
    return "a key";
  if ((n->list_entry.next != nullptr) != held || (n->list_entry.prev != nullptr) != held ||
      (n->index_entry.next != nullptr) != member ||
      (n->index_entry.prev != nullptr) != member)
    return "a place";
  if (n->type > NODE_LINK || (n->type == NODE_STRING && n->value.string == nullptr))
    return "a value";
  if (!is_object &&
      (n->index.next || n->index.prev || n->index.root || n->index.count != 0))
    return "an index without an object";
  if (!is_object && n->type != NODE_ARRAY)
    return n->child_count != 0 ? "a count without children" : nullptr;

  const node_list *head = &n->value.children, *before = head;
  std::vector<const avl_node *> members, indexed;
  std::size_t count = 0;
  for (const node_list *at = head->next; at != head; before = at, at = at->next) {
    const auto *child = reinterpret_cast<const node *>(reinterpret_cast<const char *>(at) -
                                                       offsetof(node, list_entry));
    if (at->prev != before || count++ == n->child_count || child->parent != n)
      return "a list of children";
    members.push_back(&child->index_entry);
  }
  if (head->prev != before || count != n->child_count)
    return "the number of children";
  if (!is_object)
    return nullptr;
  if (const char *fault = broken(&n->index))
    return fault;
  for (const avl_node *e = n->index.next; indexed.size() < n->index.count; e = e->next)
    indexed.push_back(e);
  std::sort(members.begin(), members.end());
  std::sort(indexed.begin(), indexed.end());
  return members != indexed || n->index.allow_duplicates ? "an object's index" : nullptr;
}

} // namespace record

#endif
