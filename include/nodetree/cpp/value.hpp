/*
 * Values that calls put into a tree, and values read as C++ types. Part of <nodetree.hpp>,
 * which says what holds for all of it.
 */
#ifndef NODETREE_CPP_VALUE_HPP
#define NODETREE_CPP_VALUE_HPP

#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <limits>
#include <nodetree/cpp/owners.hpp>
#include <optional>

namespace nodetree {

class Node;
class View;

namespace detail {

/// Whether T is one of the others.
template <class T, class... Us>
inline constexpr bool is_one_of = (std::is_same_v<T, Us> || ...);

/// Integers of up to 64 bits; bool and characters are none.
template <class T>
inline constexpr bool is_integer = std::is_integral_v<T> &&
                                   sizeof(T) <= sizeof(std::int64_t) &&
                                   !is_one_of<T, bool, char, wchar_t, char16_t, char32_t
#if defined(__cpp_char8_t)
                                              ,
                                              char8_t
#endif
                                              >;
/// Floating-point types that a node can hold.
template <class T>
inline constexpr bool is_real = is_one_of<T, float, double>;
/// Texts that are read as a view into the node; a std::string is a copy.
template <class T>
inline constexpr bool is_borrowed = is_text<T> && !std::is_same_v<T, std::string>;
/// What a node without children can hold.
template <class T>
inline constexpr bool is_plain =
    is_integer<T> || is_real<T> || std::is_same_v<T, bool> || is_text<T>;
/// Overloads of value() and value_or() for results that are copies, for those that borrow
/// from the node or the argument, and for arguments that would take their bytes with them.
template <class T>
using if_copied = std::enable_if_t<is_plain<T> && !is_borrowed<T>, int>;
template <class T>
using if_borrowed = std::enable_if_t<is_borrowed<T>, int>;
template <class T>
using if_owning = std::enable_if_t<is_borrowed<T> && !std::is_trivially_copyable_v<T>, int>;
/// Node, View and Ref.
template <class T>
inline constexpr bool is_node =
    std::is_same_v<std::remove_cv_t<T>, Node> || std::is_base_of_v<View, T>;

/// Containers of the standard library and the like.
template <class R, class = void>
inline constexpr bool is_range = false;
template <class R>
inline constexpr bool
    is_range<R, std::void_t<decltype(*std::begin(std::declval<const R &>()),
                                     std::end(std::declval<const R &>()))>> = !is_plain<R>;
/// Containers of pairs of a text and a value.
template <class R, class = void>
inline constexpr bool is_range_of_pairs = false;
template <class R>
inline constexpr bool is_range_of_pairs<
    R, std::void_t<decltype(std::begin(std::declval<const R &>())->first)>> =
    is_text<decltype(std::begin(std::declval<const R &>())->first)>;

/// Whether a node can hold the integer.
template <class T>
constexpr bool fits_int64(T value) noexcept {
  if constexpr (std::is_unsigned_v<T>)
    return value <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
  else
    return true;
}

/// The integer as a T, if T can hold it.
template <class T>
std::optional<T> narrow(std::int64_t value) noexcept {
  const T narrowed = static_cast<T>(value);
  if ((std::is_unsigned_v<T> && value < 0) ||
      (sizeof(T) < sizeof value && static_cast<std::int64_t>(narrowed) != value))
    return std::nullopt;
  return narrowed;
}

/// The real as a T, if it is whole and T can hold it.
template <class T>
std::optional<T> exact(double value) noexcept {
  constexpr int bits = std::numeric_limits<T>::digits;
  constexpr double end = static_cast<double>(std::uint64_t{1} << (bits - 1)) * 2;
  if (!(value >= static_cast<double>(std::numeric_limits<T>::min()) && value < end))
    return std::nullopt;
  const T whole = static_cast<T>(value);
  return static_cast<double>(whole) == value ? std::optional<T>(whole) : std::nullopt;
}

/// The value of a node, which may be null, as a T; nothing if it is no T.
template <class T>
std::optional<T> read(const ::node *n) noexcept(!std::is_same_v<T, std::string>) {
  static_assert(is_one_of<T, bool, const char *, std::string_view, std::string> ||
                    is_integer<T> || is_real<T>,
                "value<T>() reads integers, float, double, bool and texts");
  const node_type type = n ? n->type : NODE_NULL;
  if constexpr (std::is_same_v<T, bool>) {
    if (type == NODE_BOOLEAN)
      return ::node_get_boolean(n);
  } else if constexpr (is_integer<T>) {
    if (type == NODE_INTEGER)
      return narrow<T>(::node_get_integer(n));
    if (type == NODE_REAL)
      return exact<T>(::node_get_real(n));
  } else if constexpr (is_real<T>) {
    if (type == NODE_INTEGER)
      return static_cast<T>(::node_get_integer(n));
    constexpr double most = static_cast<double>(std::numeric_limits<T>::max());
    const double real = type == NODE_REAL ? ::node_get_real(n) : 0;
    const bool fits = (real >= -most && real <= most) || real - real != 0; // NaN, infinity
    if (type == NODE_REAL && fits)
      return static_cast<T>(real);
  } else if (type == NODE_STRING) {
    return T(::node_get_string(n));
  }
  return std::nullopt;
}

/// Owns a node below the public owners.
class Held : public Owner<Held, ::node *> {};

} // namespace detail

/// The argument of calls that put something into a tree. Made from
///  - nullptr, bool, integers, float and double;
///  - texts: anything a std::string_view can be made of;
///  - a Node that is given away: `std::move(n)`, a new one, or a copy by `n.clone()`;
///  - a container of these (a vector, an array, a StringList), which becomes an array;
///  - a container of pairs that begin with a text (a map), which becomes an object;
///  - a list in braces. It becomes an object if every entry is a list of two that begins
///    with a text, as in `{{"port", 8080}, {"tags", {1, 2}}}`, otherwise an array.
///    Node::array() and Node::object() choose the kind and also make empty ones.
///
/// Other types, characters included, do not compile. There is no value, and the call fails,
/// for an integer above INT64_MAX, a NULL text, a text with a NUL inside, a repeated name,
/// a Node without a node, and when memory runs out. A Node inside braces is released when
/// the list is refused.
class Value {
public:
  Value() = delete;
  Value(const Value &) = delete;
  Value &operator=(const Value &) = delete;
  /// Null.
  Value(std::nullptr_t) noexcept : own_(detail::Held::adopt(::node_new_null())) {}
  /// A number, a boolean or a text.
  template <class T, std::enable_if_t<detail::is_plain<T>, int> = 0>
  Value(const T &value) noexcept : own_(detail::Held::adopt(make(value))) {}
  /// A text.
  Value(const char *text) noexcept : own_(detail::Held::adopt(make(text))) {}
  /// A node, which stays with its owner until the call takes it.
  template <class N, std::enable_if_t<std::is_same_v<N, Node>, int> = 0>
  Value(N &&given) noexcept : lender_(&given) {}
  /// Nodes are not copied implicitly: use std::move() or clone().
  template <class N, std::enable_if_t<detail::is_node<N>, int> = 0>
  Value(const N &) = delete;
  template <class N, std::enable_if_t<std::is_same_v<N, Node>, int> = 0>
  Value(N &) = delete;
  /// A container.
  template <class R, std::enable_if_t<detail::is_range<R>, int> = 0>
  Value(const R &items) noexcept
      : own_(detail::Held::adopt(detail::is_range_of_pairs<R> ? ::node_new_object()
                                                              : ::node_new_array())) {
    using Item = typename std::iterator_traits<decltype(std::begin(items))>::value_type;
    for (const Item &item : items) {
      if constexpr (detail::is_range_of_pairs<R>) {
        if (!add(CString(item.first), Value(item.second)))
          return;
      } else if (!append(Value(item))) {
        return;
      }
    }
  }
  /// A list in braces.
  Value(std::initializer_list<Value> list) noexcept
      : is_pair_(list.size() == 2 && list.begin()->is_text()), own_(array(list)) {
    bool object = list.size() != 0;
    for (const Value &value : list)
      object = object && value.is_pair_;
    if (object && own_)
      own_ = object_of_pairs(own_.get());
  }

  /// The node, borrowed; null for no value.
  ::node *get() const noexcept;
  /// Gives the node up to the caller.
  [[nodiscard]] ::node *take() const noexcept;
  /// An array of the values; empty when one of them is no value.
  static detail::Held array(std::initializer_list<Value> list) noexcept {
    const Value array(list, ::node_new_array());
    return std::move(array.own_);
  }

private:
  Value(std::initializer_list<Value> list, ::node *array) noexcept
      : own_(detail::Held::adopt(array)) {
    for (const Value &value : list)
      if (!append(value))
        return;
  }
  /// Puts a value into this container. If that fails this is no value from then on.
  bool append(const Value &value) noexcept {
    return keep(::node_array_append(own_.get(), value.get()), value);
  }
  bool add(const CString &key, const Value &value) noexcept {
    return keep(key.get() && ::node_object_add(own_.get(), key.get(), value.get()), value);
  }
  bool keep(bool taken, const Value &value) noexcept {
    if (taken)
      (void)value.take();
    else
      own_.reset();
    return taken;
  }
  bool is_text() const noexcept { return own_ && ::node_is_string(own_.get()); }

  template <class T>
  static ::node *make(const T &value) noexcept {
    if constexpr (std::is_same_v<T, bool>) {
      return ::node_new_boolean(value);
    } else if constexpr (detail::is_integer<T>) {
      return detail::fits_int64(value)
                 ? ::node_new_integer(static_cast<std::int64_t>(value))
                 : nullptr;
    } else if constexpr (detail::is_real<T>) {
      return ::node_new_real(static_cast<double>(value));
    } else {
      const Chars text(value);
      return text.is_text() ? ::node_new_stringn(text.data(), text.size()) : nullptr;
    }
  }

  /// Makes members of the pairs, which lose their values.
  static detail::Held object_of_pairs(::node *pairs) noexcept {
    detail::Held object = detail::Held::adopt(::node_new_object());
    for (::node *pair = ::node_array_first(pairs); pair;
         pair = ::node_array_next(pairs, pair)) {
      ::node *key = ::node_array_first(pair);
      ::node *value = ::node_array_next(pair, key);
      ::node_detach(value);
      if (!object || !::node_object_add(object.get(), ::node_get_string(key), value)) {
        ::node_unref(value);
        return {};
      }
    }
    return object;
  }

  bool is_pair_ = false; // a list of two that begins with a text
  mutable detail::Held own_;
  Node *lender_ = nullptr; // owns the node in place of own_
};

/// A member to be made.
struct Entry {
  CString key; ///< its name
  Value value; ///< its value
};

} // namespace nodetree

#endif
