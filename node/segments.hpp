// The segments of a path, one after the other, without splitting a text into a list.
#ifndef NODETREE_NODE_SEGMENTS_HPP
#define NODETREE_NODE_SEGMENTS_HPP

#include <cstring>
#include <string_view>

namespace nodetree {

// Segments are followed in memory by "/" or NUL, in both kinds.
class ListSegments {
public:
  explicit ListSegments(char **list) : at_(list) {}

  bool empty() const { return !at_ || !*at_; }

  bool next(std::string_view &segment) {
    if (empty())
      return false;
    segment = *at_++;
    return true;
  }

private:
  char **at_;
};

class TextSegments {
public:
  explicit TextSegments(const char *text) : at_(text) {}

  bool empty() const { return !at_ || !*at_; }

  bool next(std::string_view &segment) {
    if (empty())
      return false;
    const char *end = strchrnul(at_, '/');
    segment = {at_, static_cast<std::size_t>(end - at_)};
    at_ = *end ? end + 1 : end;
    return true;
  }

private:
  const char *at_;
};

} // namespace nodetree

#endif
