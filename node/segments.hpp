// Iterating over the segments of a path, without splitting a text into a list, and the step
// that a segment takes.
#ifndef NODETREE_NODE_SEGMENTS_HPP
#define NODETREE_NODE_SEGMENTS_HPP

#include <cstring>
#include <nodetree/node.h>
#include <string_view>

namespace nodetree {

// The child of a container that a segment names; NULL for none.
node *child_named(const node *container, std::string_view segment);

inline bool names_child(std::string_view segment) {
  return segment != ".." && segment != ".";
}

// One step of a path, without following links. NULL for none.
inline node *step(node *at, std::string_view segment) {
  if (names_child(segment))
    return child_named(at, segment);
  return segment.size() == 2 ? at->parent : at;
}

// In both classes a segment is followed by "/" or NUL in memory.
class ListSegments {
public:
  explicit ListSegments(char **list) : at_(list) {}

  bool empty() const { return !at_ || !*at_; }
  const void *position() const { return at_; }

  bool next(std::string_view &segment) {
    if (empty())
      return false;
    segment = *at_++;
    return true;
  }

  // Takes the next segment if it is empty.
  bool take_empty() {
    bool is_empty = !empty() && !**at_;
    at_ += is_empty;
    return is_empty;
  }

private:
  char **at_;
};

class TextSegments {
public:
  explicit TextSegments(const char *text) : at_(text) {}

  bool empty() const { return !at_ || !*at_; }
  const void *position() const { return at_; }

  bool next(std::string_view &segment) {
    if (empty())
      return false;
    const char *end = strchrnul(at_, '/');
    segment = {at_, static_cast<std::size_t>(end - at_)};
    at_ = *end ? end + 1 : end;
    return true;
  }

  bool take_empty() {
    bool is_empty = at_ && *at_ == '/';
    at_ += is_empty;
    return is_empty;
  }

private:
  const char *at_;
};

} // namespace nodetree

#endif
