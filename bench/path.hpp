// Taking the path text of a lookup apart, for libraries that have no lookup by path.
#pragma once

#include <charconv>
#include <cstddef>
#include <string_view>

namespace bench {

// Takes the first segment, behind its slash, off the path.
inline std::string_view next_segment(std::string_view &path) {
  path.remove_prefix(1);
  std::string_view segment = path.substr(0, path.find('/'));
  path.remove_prefix(segment.size());
  return segment;
}

inline std::size_t to_index(std::string_view segment) {
  std::size_t index = 0;
  std::from_chars(segment.data(), segment.data() + segment.size(), index);
  return index;
}

} // namespace bench
