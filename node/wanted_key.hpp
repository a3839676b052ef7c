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
    if (key.size() > key_room) {
      rest_ = key.data() + key_room;
      rest_size_ = key.size() - key_room;
    }
  }

  // The key of a child, as a whole.
  explicit WantedKey(const char *held)
      : start_(load_big_endian<Start>(held)), rest_(held + key_room), whole_(true) {}

  int compare(const void *held_key) const {
    auto *held = static_cast<const char *>(held_key);
    const auto held_start = load_big_endian<Start>(held);
    if (start_ == held_start)
      return (start_ & 0xff) == 0 ? 0 : compare_rest(held + key_room);
    return start_ < held_start ? -1 : 1;
  }

private:
  int compare_rest(const char *held) const {
    if (whole_)
      return std::strcmp(rest_, held);
    int result = std::strncmp(rest_, held, rest_size_);
    return result == 0 && held[rest_size_] ? -1 : result;
  }

  using Start = std::uint64_t;
  static_assert(sizeof(Start) == key_room);

  Start start_;
  const char *rest_ = "";
  std::size_t rest_size_ = 0;
  bool whole_ = false; // the rest ends with a NUL
};

// The place of a key in an object's index.
[[gnu::always_inline]] inline Descent place_of(const node *object, const WantedKey &key) {
  return avl_descend(&object->index,
                     [&key](const void *held) { return key.compare(held); });
}

inline node *find_member(const node *object, std::string_view key) {
  Descent found = place_of(object, WantedKey(key));
  return found.at && found.result == 0 ? node_of(found.at) : nullptr;
}

} // namespace nodetree

#endif
