// The segments of a path, one after the other, without splitting a text into a list, and
// the step that one of them is.
#ifndef NODETREE_NODE_SEGMENTS_HPP
#define NODETREE_NODE_SEGMENTS_HPP

#include <cstring>
#include <nodetree/node.h>
#include <string_view>

namespace nodetree {

// The child that a segment names in a container, NULL where there is none.
node *child_named(const node *container, std::string_view segment);

inline bool names_child(std::string_view segment) {
  return segment != ".." && segment != ".";
}

// One step of a path, which follows no link; NULL where it leads nowhere.
inline node *step(node *at, std::string_view segment) {
  if (names_child(segment))
    return child_named(at, segment);
  return segment.size() == 2 ? at->parent : at;
}

// Segments are followed in memory by "/" or NUL, in both kinds.
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

  // Takes an empty segment, if that is the next one.
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
