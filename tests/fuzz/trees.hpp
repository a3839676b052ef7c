// Makes trees, paths and patterns from the lines of an input, for the targets that work on
// whole trees.
#ifndef NODETREE_TESTS_FUZZ_TREES_HPP
#define NODETREE_TESTS_FUZZ_TREES_HPP

#include "fuzz.hpp"

#include <algorithm>
#include <string>

namespace fuzz {

// Takes the text before the first `end`, and `end` itself, from the rest.
inline std::string_view take(std::string_view &rest, char end) {
  const std::string_view taken = rest.substr(0, rest.find(end));
  rest.remove_prefix(std::min(rest.size(), taken.size() + 1));
  return taken;
}

using strings = std::vector<std::string>;

inline strings split(std::string_view rest, char separator = '/') {
  strings parts;
  while (!rest.empty())
    parts.emplace_back(take(rest, separator));
  return parts;
}

// A string list for one call.
class list {
public:
  explicit list(strings texts) : texts_(std::move(texts)) {
    for (std::string &one : texts_)
      entries_.push_back(one.data());
    entries_.push_back(nullptr);
  }
  list(const list &) = delete;
  char **get() { return entries_.data(); }

private:
  strings texts_;
  std::vector<char *> entries_;
};

// The input of a run, line by line; after the last line, empty ones.
class lines {
public:
  lines(const std::uint8_t *data, std::size_t size)
      : rest_(reinterpret_cast<const char *>(data), size) {}
  std::string next() { return std::string(take(rest_, '\n')).c_str(); }

private:
  std::string_view rest_;
};

inline node *new_value(char first, std::string_view &rest) {
  switch (first) {
  case '{':
    return node_new_object();
  case '[':
    return node_new_array();
  case '"':
    return node_new_string(std::string(take(rest, '"')).c_str());
  case '<':
    return node_new_link(list(split(take(rest, '>'))).get());
  case 'n':
    return node_new_null();
  case 't':
  case 'f':
    return node_new_boolean(first == 't');
  case 'r':
    return node_new_real(0.5);
  case 'z':
    return node_new_real(-0.0);
  case 'N':
    return node_new_real(NAN);
  case 'W':
    return node_new_integer(INT64_MAX);
  default:
    return node_new_integer(first - '0');
  }
}

// The tree of a text like {a1b["text"tn^2]"key"</a>}: integers have a digit, links stand in
// angle brackets, keys other than a single byte in quotes, and "^" puts an element at the
// front. Every text makes a tree, of 8 levels at most.
inline tree grow(std::string_view rest) {
  auto byte = [&] {
    const char first = rest.empty() ? '0' : rest.front();
    rest.remove_prefix(!rest.empty());
    return first;
  };
  tree top(new_value(byte(), rest));
  node *at = node_is_container(top.get()) ? top.get() : nullptr;
  for (int depth = 1; at != nullptr && !rest.empty();) {
    char first = byte();
    if (first == '}' || first == ']') {
      at = at->parent;
      depth--;
      continue;
    }
    std::string key(1, first);
    bool front = false;
    if (node_is_object(at)) {
      if (first == '"')
        key = take(rest, '"');
      first = byte();
    } else if (first == '^') {
      front = true;
      first = byte();
    }
    node *made = new_value(first, rest);
    if (!(node_is_object(at) ? node_object_add(at, key.c_str(), made)
          : front            ? node_array_prepend(at, made)
                             : node_array_append(at, made)))
      node_free(made);
    else if (node_is_container(made) && depth < 8) {
      at = made;
      depth++;
    }
  }
  return top;
}

// All nodes of a tree, containers before their children.
inline std::vector<node *> all(const tree &top) {
  std::vector<node *> found;
  any(top.get(), [&](const node *n) {
    found.push_back(const_cast<node *>(n));
    return false;
  });
  return found;
}

inline std::vector<node *> matches(const node *start, const std::string &pattern) {
  std::vector<node *> found;
  void **list = node_lookup_glob(start, pattern.c_str());
  require(list == nullptr || *list != nullptr, "no match is NULL");
  for (void **n = list; n != nullptr && *n != nullptr; n++)
    found.push_back(static_cast<node *>(*n));
  vl_free(list, nullptr);
  return found;
}

// Whether a path consisting of this key names exactly this key.
inline bool is_plain(const std::string &key) {
  return !key.empty() && key != "." && key != ".." && key != "*" &&
         key.find('/') == std::string::npos;
}

// Whether a node's path leads to it: every key can be written in a path, and labels are
// positions.
inline bool names_itself(const node *n) {
  for (; n->parent != nullptr; n = n->parent)
    if (!is_plain(n->key) || node_get_child(n->parent, n->key) != n)
      return false;
  return true;
}

inline std::string path_of(const node *n) {
  return text(node_path(n)).get();
}

// Every node has one reference, that of its container or of the owner of the top.
inline void require_unshared(const tree &top) {
  for (const node *n : all(top))
    require(n->refcount == 1, "no reference is left");
}

} // namespace fuzz

#endif
