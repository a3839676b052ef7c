#include "node/node_internal.hpp"

#include <cstring>
#include <nodetree/stringlist.h>

using namespace nodetree;

node *node_parent(const node *n) {
  return n ? n->parent : nullptr;
}

node *node_root(const node *n) {
  while (n && n->parent)
    n = n->parent;
  return const_cast<node *>(n);
}

char *node_path(const node *n) {
  if (!n)
    return nullptr;
  if (!n->parent)
    return strdup("/");
  size_t length = 0;
  for (const node *at = n; at->parent && at->key; at = at->parent)
    length += 1 + std::strlen(at->key);
  auto *path = static_cast<char *>(std::malloc(length + 1));
  if (!path)
    return nullptr;
  char *begin = path + length;
  *begin = '\0';
  for (const node *at = n; at->parent && at->key; at = at->parent) {
    size_t key_length = std::strlen(at->key);
    begin -= key_length;
    std::memcpy(begin, at->key, key_length);
    *--begin = '/';
  }
  return path;
}

char **node_path_sl(const node *n) {
  if (!n)
    return nullptr;
  size_t depth = 0;
  for (const node *at = n; at->parent && at->key; at = at->parent)
    depth++;
  auto **path = static_cast<char **>(std::malloc((depth + 2) * sizeof(char *)));
  if (!path)
    return nullptr;
  // Filled from the end, so that the filled part is always a complete list.
  char **begin = path + depth + 1;
  *begin = nullptr;
  for (const node *at = n; begin != path; at = at->parent) {
    char *key = strdup(begin == path + 1 ? "" : at->key);
    if (!key) {
      for (char **entry = begin; *entry; entry++)
        std::free(*entry);
      std::free(path);
      return nullptr;
    }
    *--begin = key;
  }
  return path;
}
