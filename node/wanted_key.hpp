// Comparing keys.
#ifndef NODETREE_NODE_WANTED_KEY_HPP
#define NODETREE_NODE_WANTED_KEY_HPP

#include "avl/avl_internal.hpp"
#include "node/node_internal.hpp"
#include "shared/big_endian.hpp"

namespace nodetree {

// A key to search for, compared in the order of strcmp(). The first bytes, in which most
// keys differ, are compared as one number; see key_room for why they may be read.
class WantedKey {
public:
  explicit WantedKey(std::string_view key) {
    char start[key_room] = {};
    std::copy_n(key.begin(), std::min(key.size(), key_room), start);
    start_ = load_big_endian<Start>(start);
    if (key.size() > key_room)
      rest_ = key.substr(key_room);
  }

  // The key of a child, as a whole.
  explicit WantedKey(const char *held)
      : start_(load_big_endian<Start>(held)), rest_(held + key_room, whole) {}

  // The key with the start of a held one and that rest.
  WantedKey(const void *held, std::string_view rest)
      : start_(load_big_endian<Start>(static_cast<const char *>(held))), rest_(rest) {}

  int compare(const void *held_key) const {
    const int result = compare_start(held_key);
    return result == 0 && has_rest()
               ? compare_rest(static_cast<const char *>(held_key) + key_room)
               : result;
  }

  int compare_start(const void *held_key) const {
    const auto held_start = load_big_endian<Start>(static_cast<const char *>(held_key));
    return start_ == held_start ? 0 : start_ < held_start ? -1 : 1;
  }

  // Whether equal starts leave anything to compare.
  bool has_rest() const { return (start_ & 0xff) != 0; }
  std::string_view rest() const { return rest_; }

private:
  int compare_rest(const char *held) const {
    if (rest_.size() == whole)
      return std::strcmp(rest_.data(), held);
    int result = std::strncmp(rest_.data(), held, rest_.size());
    return result == 0 && held[rest_.size()] ? -1 : result;
  }

  static constexpr std::size_t whole = std::string_view::npos; // a NUL ends the rest

  using Start = std::uint64_t;
  static_assert(sizeof(Start) == key_room);

  Start start_;
  std::string_view rest_ = "";
};

// The place of a key below an entry of the same start.
[[gnu::noinline]] inline Descent place_below(avl_node *same, std::string_view rest) {
  const WantedKey key(same->key, rest);
  return avl_descend(same, [&key](const void *held) { return key.compare(held); });
}

// The place of a key in an object's index. Most are found by their starts, with no call.
[[gnu::always_inline]] inline Descent place_of(const node *object, const WantedKey &key) {
  Descent found = avl_descend(object->index.root,
                              [&key](const void *held) { return key.compare_start(held); });
  return found.at && found.result == 0 && key.has_rest() ? place_below(found.at, key.rest())
                                                         : found;
}

inline node *find_member(const node *object, std::string_view key) {
  Descent found = place_of(object, WantedKey(key));
  return found.at && found.result == 0 ? node_of(found.at) : nullptr;
}

} // namespace nodetree

#endif
