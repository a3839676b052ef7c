/*
 * What can be asked of a node, and View, which asks it of a borrowed one. Part of
 * <nodetree.hpp>, which says what holds for all of it.
 */
#ifndef NODETREE_CPP_VIEW_HPP
#define NODETREE_CPP_VIEW_HPP

#include <nodetree/cpp/lists.hpp>
#include <nodetree/cpp/value.hpp>

namespace nodetree {

template <class Node>
class Result;

/// What node_copy() does with links.
enum class CopyLinks : int {
  keep = 0,   ///< links stay links
  follow = 1, ///< each becomes a copy of what it leads to
  omit = 2    ///< they are left out
};

/// What type() says where there is no node.
inline constexpr node_type no_type = static_cast<node_type>(UINT32_MAX);

/// A node as an argument that is only read, for the call: a View, a Ref or a Node, which
/// may be a temporary.
class NodeArg {
public:
  template <class N, class = std::enable_if_t<detail::is_node<N>>>
  NodeArg(const N &n) noexcept : raw_(n.get()) {}
  /// The node, borrowed; may be null.
  const ::node *get() const noexcept { return raw_; }

private:
  const ::node *raw_;
};

/// The questions whose answers are values: Node, View and Ref have them all, temporaries
/// too. Asked of nothing they answer false, 0, or nothing.
template <class Self, class Node>
class Asking {
public:
  /// @name Kinds and values.
  /// @{
  /// The kind of node; no_type where there is none.
  node_type type() const noexcept { return raw() ? raw()->type : no_type; }
  /// The kind's name, a constant; "nothing" where there is no node.
  const char *type_to_string() const noexcept {
    return raw() ? ::node_type_to_string(raw()) : "nothing";
  }
  /// Whether it is a node of this kind; nothing is of no kind, null neither.
  bool is_null() const noexcept { return type() == NODE_NULL; }
  bool is_object() const noexcept { return type() == NODE_OBJECT; }
  bool is_array() const noexcept { return type() == NODE_ARRAY; }
  bool is_integer() const noexcept { return type() == NODE_INTEGER; }
  bool is_real() const noexcept { return type() == NODE_REAL; }
  bool is_string() const noexcept { return type() == NODE_STRING; }
  bool is_boolean() const noexcept { return type() == NODE_BOOLEAN; }
  bool is_link() const noexcept { return type() == NODE_LINK; }
  /// Whether it is an object or an array.
  bool is_container() const noexcept { return is_object() || is_array(); }
  /// The value of exactly this kind, otherwise 0, 0.0 or false; value<T>() converts.
  std::int64_t get_integer() const noexcept {
    return is_integer() ? ::node_get_integer(raw()) : 0;
  }
  double get_real() const noexcept { return is_real() ? ::node_get_real(raw()) : 0.0; }
  bool get_boolean() const noexcept { return is_boolean() && ::node_get_boolean(raw()); }
  /// expr_coerce_bool(): the node as a condition.
  bool coerce_bool() const noexcept { return raw() && ::expr_coerce_bool(raw()); }
  /// The number of children; 0 for other kinds.
  std::size_t size() const noexcept { return raw() ? raw()->child_count : 0; }
  /// Whether there are no children.
  bool empty() const noexcept { return size() == 0; }

  /// @}
  /// @name The place in the tree.
  /// @{
  /// node_path(): a new text for the caller.
  Text path() const noexcept { return Text::adopt(raw() ? ::node_path(raw()) : nullptr); }
  /// node_path_sl(): a new list of segments for the caller.
  StringList path_sl() const noexcept {
    return StringList::adopt(raw() ? ::node_path_sl(raw()) : nullptr);
  }

  /// @}
  /// @name Whole trees; those made are the caller's.
  /// @{
  /// A deep copy, empty when memory runs out.
  Node copy(CopyLinks links) const noexcept {
    return Node::adopt(::node_copy(raw(), static_cast<int>(links)));
  }
  /// A deep copy that keeps links, empty when memory runs out.
  Node clone() const noexcept { return Node::adopt(::node_clone(raw())); }
  /// Whether structure and values are the same; nothing equals only nothing. `==` is the
  /// same. O(n).
  bool equals(NodeArg other) const noexcept { return ::node_equals(raw(), other.get()); }
  /// node_equals_json(): false for a text that is no JSON, unless this is nothing.
  bool equals_json(const CString &text) const noexcept {
    return text.get() && ::node_equals_json(raw(), text.get());
  }
  /// Writes a line a leaf, "PATH=VALUE", for people to read.
  void fprint(FILE *stream) const noexcept { ::node_fprint(raw(), stream); }
  /// node_diff() from this node to the other; empty for no difference. Either may be
  /// nothing.
  Node diff(NodeArg to) const noexcept { return Node::adopt(::node_diff(raw(), to.get())); }
  /// expr_eval(): this node is the expression. See eval(), which is the same.
  Result<const Node> eval(NodeArg context) const noexcept;

  /// @}
  /// @name Codecs.
  /// @{
  /// json_stringify(): a new text for the caller; none on failure.
  Text to_json(bool compact = true) const noexcept {
    return Text::adopt(raw() ? ::json_stringify(raw(), compact) : nullptr);
  }
  /// json_stringify_filename(): whether the file was written.
  [[nodiscard]] bool write_json(const CString &path, bool compact = true) const noexcept {
    return raw() && path.get() && ::json_stringify_filename(path.get(), raw(), compact);
  }
  /// msgpack_encode(): a new buffer for the caller; none on failure.
  Bytes to_msgpack() const noexcept {
    char *data = nullptr;
    std::size_t size = 0;
    if (raw())
      ::msgpack_encode(raw(), &data, &size);
    return Bytes::adopt(data, size);
  }

  /// @}

private:
  const ::node *raw() const noexcept { return static_cast<const Self *>(this)->get(); }
};

/// Borrows a node, which somebody else keeps alive, to read it; may be nothing. Looking for
/// something below nothing finds nothing, so that lookups chain.
class View : public Asking<View, Node> {
public:
  View() noexcept = default;
  /// Borrows the node, which may be null.
  explicit View(const ::node *n) noexcept : raw_(n) {}
  /// Borrows what the Node holds; not from a temporary.
  View(const Node &n NODETREE_LIFETIMEBOUND) noexcept;
  View(const Node &&) = delete;
  View(const View &) noexcept = default;
  /// Another node from now on; not for temporaries, where it would change nothing.
  View &operator=(const View &) &noexcept = default;
  /// The node, borrowed, for calls in C; may be null.
  const ::node *get() const noexcept { return raw_; }
  /// Whether there is a node.
  explicit operator bool() const noexcept { return raw_ != nullptr; }

  /// @name Values, with a conversion. A link is no value: follow_link() first.
  /// @{
  /// The value as a T, if it is one: an integer of any width if it fits, from a real only
  /// when it is whole; float and double from numbers of either kind, rounded where need be;
  /// bool; std::string_view and const char *, borrowed; std::string, a copy.
  template <class T>
  [[nodiscard]] std::optional<T> value() const noexcept(!std::is_same_v<T, std::string>) {
    return detail::read<T>(raw_);
  }
  /// value<T>() or else what is given, T being its type; std::string_view for a text other
  /// than a std::string.
  template <class T, class = std::enable_if_t<detail::is_plain<T>>>
  [[nodiscard]] auto value_or(const T &otherwise NODETREE_LIFETIMEBOUND) const
      noexcept(!std::is_same_v<T, std::string>) {
    constexpr bool borrows = detail::is_text<T> && !std::is_same_v<T, std::string>;
    using Read = std::conditional_t<borrows, std::string_view, T>;
    const std::optional<Read> found = value<Read>();
    if constexpr (std::is_same_v<Read, std::string_view>)
      return found ? *found : Chars(otherwise).view();
    else
      return found ? *found : otherwise;
  }
  /// The text of a string, borrowed, otherwise one whose data() is null. O(n), c_str() is
  /// not.
  std::string_view get_string() const noexcept { return detail::view(c_str()); }
  /// The text of a string, borrowed, otherwise null.
  const char *c_str() const noexcept {
    return is_string() ? ::node_get_string(raw_) : nullptr;
  }
  /// The path of a link, borrowed.
  Strings get_link_path() const noexcept {
    return is_link() ? ::node_get_link_path(raw_) : nullptr;
  }

  /// @}
  /// @name The place in the tree, borrowed.
  /// @{
  /// The key in its container; data() is null for a root.
  std::string_view key() const noexcept {
    return detail::view(raw_ ? ::node_key(raw_) : nullptr);
  }
  /// The container; false for a root.
  View parent() const noexcept { return View(raw_ ? ::node_parent(raw_) : nullptr); }
  /// The top of the tree. O(depth).
  View root() const noexcept { return View(::node_root(raw_)); }

  /// @}
  /// @name Lookup; what is found is borrowed.
  /// @{
  /// The member with exactly this key.
  View operator[](const CString &key) const noexcept {
    return View(raw_ && key.get() ? ::node_object_get(raw_, key.get()) : nullptr);
  }
  /// The element at this position; none at a negative one.
  template <class I, class = std::enable_if_t<detail::is_integer<I>>>
  View operator[](I index) const noexcept {
    if (!raw_ || index < I{0})
      return {};
    return View(::node_array_get(raw_, static_cast<std::size_t>(index)));
  }
  /// The child that one segment of a path names.
  View get_child(const CString &segment) const noexcept {
    return View(raw_ && segment.get() ? ::node_get_child(raw_, segment.get()) : nullptr);
  }
  /// The node that a path names.
  View lookup(const CString &path) const noexcept {
    return View(raw_ ? ::node_lookup(raw_, path.get()) : nullptr);
  }
  /// The same of a path as a list of segments.
  View lookup_sl(Strings path) const noexcept {
    return View(raw_ ? ::node_lookup_sl(raw_, path.get()) : nullptr);
  }
  /// The lenient lookup: where a step fails, the last node before it.
  View try_lookup_sl(Strings path) const noexcept {
    return View(raw_ ? ::node_try_lookup_sl(raw_, path.get()) : nullptr);
  }
  /// What a link leads to.
  View follow_link() const noexcept {
    return View(raw_ ? ::node_follow_link(raw_) : nullptr);
  }
  /// What a link leads to by the lenient lookup.
  View try_follow_link() const noexcept {
    return View(raw_ ? ::node_try_follow_link(raw_) : nullptr);
  }
  /// All that a glob path matches; the list is the caller's, the nodes are borrowed.
  ValueList<View> lookup_glob(const CString &path) const noexcept {
    return ValueList<View>::adopt(raw_ ? ::node_lookup_glob(raw_, path.get()) : nullptr);
  }
  /// The same of a path as a list of segments.
  ValueList<View> lookup_glob_sl(Strings path) const noexcept {
    return ValueList<View>::adopt(raw_ ? ::node_lookup_glob_sl(raw_, path.get()) : nullptr);
  }

  /// @}
  /// @name Ranges; borrowed, empty for other kinds.
  /// @{
  /// Of an object: `for (auto [key, value] : n.members())`.
  detail::Members<View> members() const noexcept {
    return detail::Members<View>(pointer());
  }
  /// Of an array: `for (View v : n.elements())`.
  detail::Elements<View> elements() const noexcept {
    return detail::Elements<View>(pointer());
  }
  /// Of either.
  detail::Children<View> children() const noexcept {
    return detail::Children<View>(pointer());
  }
  /// The nodes without children below this one, or this one. O(n) in all.
  detail::Leaves<View> leaves() const noexcept { return detail::Leaves<View>(pointer()); }
  /// Every node from this one down, containers again when they are left; see Visit. O(n).
  detail::Walk<View> walk() const noexcept { return detail::Walk<View>(pointer()); }

  /// @}

protected:
  /// For what may change the node, and for C, which asks with plain pointers.
  ::node *pointer() const noexcept { return const_cast<::node *>(raw_); }

private:
  const ::node *raw_ = nullptr;
};

/// Whether value<T>() is there and equal: `n["mode"] == "auto"`, `n["port"] == 443`.
template <class N, class T,
          std::enable_if_t<detail::is_node<N> && detail::is_plain<T>, int> = 0>
bool operator==(const N &n, const T &value) noexcept {
  if constexpr (detail::is_text<T>) {
    const Chars text(value);
    const auto found = detail::read<std::string_view>(n.get());
    return found && text.is_text() && *found == text.view();
  } else {
    return detail::read<T>(n.get()) == value;
  }
}
/// The same, written the other way round.
template <class T, class N,
          std::enable_if_t<detail::is_node<N> && detail::is_plain<T>, int> = 0>
bool operator==(const T &value, const N &n) noexcept {
  return n == value;
}
/// equals(): the same structure and values, not the same node; compare get() for that.
template <class A, class B,
          std::enable_if_t<detail::is_node<A> && detail::is_node<B>, int> = 0>
bool operator==(const A &a, const B &b) noexcept {
  return a.equals(b);
}
/// Not `==`.
template <class A, class B,
          std::enable_if_t<(detail::is_node<A> && detail::is_node<B>) ||
                               (detail::is_node<A> && detail::is_plain<B>) ||
                               (detail::is_plain<A> && detail::is_node<B>),
                           int> = 0>
bool operator!=(const A &a, const B &b) noexcept {
  return !(a == b);
}

} // namespace nodetree

#endif
