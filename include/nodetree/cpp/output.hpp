/*
 * Output streams, std::format and std::hash for nodes and texts. A node is hashed by its
 * value, as `==` compares it, in O(n), and formatted as compact JSON. Without a node or a
 * text nothing is written. Part of <nodetree.hpp>, which says what holds for all of it.
 */
#ifndef NODETREE_CPP_OUTPUT_HPP
#define NODETREE_CPP_OUTPUT_HPP

#include <iosfwd>
#include <nodetree/cpp/node.hpp>
#if defined(__has_include)
#if __cplusplus >= 202002L && __has_include(<format>)
#include <format>
#endif
#endif

namespace nodetree {

/// Writes the node as compact JSON. A node without a JSON form sets failbit, as does a lack
/// of memory.
template <class Traits, class N, std::enable_if_t<detail::is_node<N>, int> = 0>
std::basic_ostream<char, Traits> &operator<<(std::basic_ostream<char, Traits> &out,
                                             const N &n) {
  const Text text = n.to_json();
  if (text)
    out << std::string_view(text);
  else if (n)
    out.setstate(std::basic_ostream<char, Traits>::failbit);
  return out;
}

/// Writes the text.
template <class Traits>
std::basic_ostream<char, Traits> &operator<<(std::basic_ostream<char, Traits> &out,
                                             const Text &text) {
  return out << std::string_view(text);
}

namespace detail {

/// A hash of what equals() compares; the order of members does not count. O(n).
inline std::size_t hash(View top) noexcept {
  constexpr std::hash<std::string_view> of_text;
  const auto name = [&](View v) {
    return v.parent().is_object() ? of_text(v.key()) : std::size_t{0};
  };
  std::size_t sum = 0;
  for (const Visit<View> &at : top.walk()) {
    if (!at.entering)
      continue;
    const View v = at.node;
    std::size_t one = at.depth * 31 + v.type();
    const auto mix = [&one](std::size_t more) {
      one ^= more + 0x9e3779b9U + (one << 6) + (one >> 2);
    };
    if (at.depth > 0)
      mix(name(v));
    if (at.depth > 1)
      mix(name(v.parent()));
    if (v.is_string())
      mix(of_text(v.get_string()));
    else if (v.is_real())
      mix(std::hash<double>()(v.get_real()));
    else if (v.is_integer() || v.is_boolean())
      mix(static_cast<std::size_t>(v.get_integer() + v.get_boolean()));
    for (const std::string_view segment : v.get_link_path())
      mix(of_text(segment));
    sum += one;
  }
  return sum;
}

#if defined(__cpp_lib_format)
/// Nodes as compact JSON, and texts, with the format specifications of strings.
template <class T>
struct Formatter : std::formatter<std::string_view, char> {
  template <class Context>
  auto format(const T &value, Context &context) const {
    const std::string_view nothing;
    if constexpr (is_node<T>) {
      const Text text = value.to_json();
      return std::formatter<std::string_view, char>::format(
          text ? std::string_view(text) : nothing, context);
    } else {
      return std::formatter<std::string_view, char>::format(std::string_view(value),
                                                            context);
    }
  }
};
#endif

} // namespace detail
} // namespace nodetree

/// @cond
template <>
struct std::hash<nodetree::View> {
  std::size_t operator()(nodetree::View n) const noexcept {
    return nodetree::detail::hash(n);
  }
};
template <>
struct std::hash<nodetree::Ref> : std::hash<nodetree::View> {};
template <>
struct std::hash<nodetree::Node> : std::hash<nodetree::View> {};
template <>
struct std::hash<nodetree::Text> {
  std::size_t operator()(const nodetree::Text &text) const noexcept {
    return std::hash<std::string_view>()(text);
  }
};

#if defined(__cpp_lib_format)
template <>
struct std::formatter<nodetree::View, char> : nodetree::detail::Formatter<nodetree::View> {
};
template <>
struct std::formatter<nodetree::Ref, char> : nodetree::detail::Formatter<nodetree::Ref> {};
template <>
struct std::formatter<nodetree::Node, char> : nodetree::detail::Formatter<nodetree::Node> {
};
template <>
struct std::formatter<nodetree::Text, char> : nodetree::detail::Formatter<nodetree::Text> {
};
#endif
/// @endcond

#endif
