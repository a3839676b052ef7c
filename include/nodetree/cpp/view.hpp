/*
 * Reading a node, and View, which borrows one to read it. Part of <nodetree.hpp>, which
 * says what holds for all of it.
 */
#ifndef NODETREE_CPP_VIEW_HPP
#define NODETREE_CPP_VIEW_HPP

#include <nodetree/cpp/lists.hpp>
#include <nodetree/cpp/value.hpp>

namespace nodetree {

template <class Node>
class Result;

/// What copy() does with links; see node_copy().
enum class CopyLinks : int {
  keep = 0,   ///< links stay links
  follow = 1, ///< each link is replaced by a copy of its final target
  omit = 2    ///< links are left out
};

/// The type() of a View, Ref or Node without a node.
inline constexpr node_type no_type = static_cast<node_type>(UINT32_MAX);

/// A node as an argument that is only read, for the call: a View, a Ref, or a Node, which
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

/// Questions that Node, View and Ref answer with a value, temporaries too. Without a node
/// the answer is false, 0 or an empty owner.
template <class Self, class Node>
class Asking {
public:
  /// @name Kinds and values.
  /// @{
  /// The kind of the node; no_type without a node.
  node_type type() const noexcept { return raw() ? raw()->type : no_type; }
  /// The name of the kind, a constant; "nothing" without a node.
  const char *type_to_string() const noexcept {
    return raw() ? ::node_type_to_string(raw()) : "nothing";
  }
  /// Whether there is a node of this kind.
  bool is_null() const noexcept { return type() == NODE_NULL; }
  bool is_object() const noexcept { return type() == NODE_OBJECT; }
  bool is_array() const noexcept { return type() == NODE_ARRAY; }
  bool is_integer() const noexcept { return type() == NODE_INTEGER; }
  bool is_real() const noexcept { return type() == NODE_REAL; }
  bool is_string() const noexcept { return type() == NODE_STRING; }
  bool is_boolean() const noexcept { return type() == NODE_BOOLEAN; }
  bool is_link() const noexcept { return type() == NODE_LINK; }
  /// Whether there is an object or an array.
  bool is_container() const noexcept { return is_object() || is_array(); }
  /// The value of a node of exactly this kind, otherwise 0, 0.0 or false. value<T>()
  /// converts between numbers.
  std::int64_t get_integer() const noexcept {
    return is_integer() ? ::node_get_integer(raw()) : 0;
  }
  double get_real() const noexcept { return is_real() ? ::node_get_real(raw()) : 0.0; }
  bool get_boolean() const noexcept { return is_boolean() && ::node_get_boolean(raw()); }
  /// expr_coerce_bool(): the truth of the node.
  bool coerce_bool() const noexcept { return raw() && ::expr_coerce_bool(raw()); }
  /// The number of children; 0 for scalars.
  std::size_t size() const noexcept { return raw() ? raw()->child_count : 0; }
  /// Whether there are no children.
  bool empty() const noexcept { return size() == 0; }

  /// @}
  /// @name The place in the tree.
  /// @{
  /// node_path(): a new text for the caller, empty when memory runs out. O(depth).
  Text path() const noexcept { return Text::adopt(raw() ? ::node_path(raw()) : nullptr); }
  /// node_path_sl(): a new list for the caller, empty when memory runs out. O(depth).
  StringList path_sl() const noexcept {
    return StringList::adopt(raw() ? ::node_path_sl(raw()) : nullptr);
  }

  /// @}
  /// @name Whole trees. New ones belong to the caller; O(n).
  /// @{
  /// node_copy(): a deep copy. Empty when memory runs out or links lead to too many nodes,
  /// and for a link that is not copied.
  Node copy(CopyLinks links) const noexcept {
    return Node::adopt(::node_copy(raw(), static_cast<int>(links)));
  }
  /// node_clone(): a deep copy that keeps links. Empty when memory runs out.
  Node clone() const noexcept { return Node::adopt(::node_clone(raw())); }
  /// node_equals(): whether both have the same structure and values, or both have no node.
  /// `==` does the same.
  bool equals(NodeArg other) const noexcept { return ::node_equals(raw(), other.get()); }
  /// node_equals_json(). Without a node, true for a text that is not JSON.
  bool equals_json(const CString &text) const noexcept {
    return text.get() && ::node_equals_json(raw(), text.get());
  }
  /// node_fprint(): one line "PATH=VALUE" for each leaf, for diagnostics.
  void fprint(FILE *stream) const noexcept { ::node_fprint(raw(), stream); }
  /// node_diff() from this node to the other; empty for no difference. Either may have no
  /// node.
  Node diff(NodeArg to) const noexcept { return Node::adopt(::node_diff(raw(), to.get())); }
  /// expr_eval() with this node as the expression; see nodetree::eval().
  Result<const Node> eval(NodeArg context) const noexcept;

  /// @}
  /// @name Codecs. O(n).
  /// @{
  /// json_stringify(): a new text for the caller, empty on failure.
  Text to_json(bool compact = true) const noexcept {
    return Text::adopt(raw() ? ::json_stringify(raw(), compact) : nullptr);
  }
  /// json_stringify_filename(): whether the file was written.
  [[nodiscard]] bool write_json(const CString &path, bool compact = true) const noexcept {
    return raw() && path.get() && ::json_stringify_filename(path.get(), raw(), compact);
  }
  /// msgpack_encode(): a new buffer for the caller, empty on failure.
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

/// Borrows a node to read it; an owner keeps the node alive. There may be no node: lookups
/// then find no node either, so they can be chained without tests.
class View : public Asking<View, Node> {
public:
  View() noexcept = default;
  /// Borrows the node, which may be null.
  explicit View(const ::node *n) noexcept : raw_(n) {}
  /// Borrows the node of an owner. Deleted for temporaries.
  View(const Node &n NODETREE_LIFETIMEBOUND) noexcept;
  View(const Node &&) = delete;
  View(const View &) noexcept = default;
  /// Borrows another node from now on. Deleted for temporaries, where it would have no
  /// effect.
  View &operator=(const View &) &noexcept = default;
  /// The node, borrowed, for calls in C; may be null.
  const ::node *get() const noexcept { return raw_; }
  /// Whether there is a node.
  explicit operator bool() const noexcept { return raw_ != nullptr; }

  /// @name Values, with a conversion. Links are not followed: use follow_link() first.
  /// @{
  /// The value as a T, or std::nullopt if it is none. T is
  ///  - an integer type of up to 64 bits, for an integer in its range, or a real that is
  ///    whole and in its range;
  ///  - float or double, for a number of either kind, rounded to the nearest T; a real
  ///    outside the range of float is no float;
  ///  - bool, for a boolean;
  ///  - std::string_view or const char *, borrowed, or std::string, a copy, for a string.
  template <class T>
  [[nodiscard]] std::optional<T> value() const noexcept(!std::is_same_v<T, std::string>) {
    return detail::read<T>(raw_);
  }
  /// value<T>(), or `otherwise` if there is none.
  template <class T, detail::if_copied<T> = 0>
  [[nodiscard]] T value_or(const T &otherwise) const
      noexcept(!std::is_same_v<T, std::string>) {
    return detail::read<T>(raw_).value_or(otherwise);
  }
  /// value<std::string_view>(), or a view of `otherwise` if there is none. Deleted for a
  /// temporary that owns its bytes, such as a Text.
  template <class T, detail::if_borrowed<T> = 0>
  [[nodiscard]] std::string_view
  value_or(const T &otherwise NODETREE_LIFETIMEBOUND) const noexcept {
    const auto found = detail::read<std::string_view>(raw_);
    return found ? *found : Chars(otherwise).view();
  }
  template <class T, detail::if_owning<T> = 0>
  void value_or(const T &&) const = delete;
  /// The text of a string, borrowed; data() is null for other kinds. O(n), unlike c_str().
  std::string_view get_string() const noexcept { return detail::view(c_str()); }
  /// The text of a string, borrowed; null for other kinds.
  const char *c_str() const noexcept {
    return is_string() ? ::node_get_string(raw_) : nullptr;
  }
  /// The path of a link, borrowed; NULL for other kinds.
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
  /// The container; no node for a root.
  View parent() const noexcept { return View(raw_ ? ::node_parent(raw_) : nullptr); }
  /// The top of the tree. O(depth).
  View root() const noexcept { return View(::node_root(raw_)); }

  /// @}
  /// @name Lookup. Found nodes are borrowed; a lookup that finds nothing gives no node.
  /// @{
  /// node_object_get(): the member with exactly this key. O(log n).
  View operator[](const CString &key) const noexcept {
    return View(raw_ && key.get() ? ::node_object_get(raw_, key.get()) : nullptr);
  }
  /// node_array_get(): the element at this position; no node at a negative one. O(n).
  template <class I, class = std::enable_if_t<detail::is_integer<I>>>
  View operator[](I index) const noexcept {
    if (!raw_ || index < I{0})
      return {};
    return View(::node_array_get(raw_, static_cast<std::size_t>(index)));
  }
  /// node_get_child(): the child that one segment of a path names.
  View get_child(const CString &segment) const noexcept {
    return View(raw_ && segment.get() ? ::node_get_child(raw_, segment.get()) : nullptr);
  }
  /// node_lookup(): the node that a path names.
  View lookup(const CString &path) const noexcept {
    return View(raw_ ? ::node_lookup(raw_, path.get()) : nullptr);
  }
  /// The same for a path as a list of segments.
  View lookup_sl(StringsArg path) const noexcept {
    return View(raw_ ? ::node_lookup_sl(raw_, path.get()) : nullptr);
  }
  /// node_try_lookup_sl(): where a step fails, the last node before it.
  View try_lookup_sl(StringsArg path) const noexcept {
    return View(raw_ ? ::node_try_lookup_sl(raw_, path.get()) : nullptr);
  }
  /// node_follow_link(): the target of a link.
  View follow_link() const noexcept {
    return View(raw_ ? ::node_follow_link(raw_) : nullptr);
  }
  /// node_try_follow_link(): the same by the lenient lookup.
  View try_follow_link() const noexcept {
    return View(raw_ ? ::node_try_follow_link(raw_) : nullptr);
  }
  /// node_lookup_glob(): all nodes that a glob path matches. The caller owns the list; the
  /// nodes are borrowed.
  ValueList<View> lookup_glob(const CString &path) const noexcept {
    return ValueList<View>::adopt(raw_ ? ::node_lookup_glob(raw_, path.get()) : nullptr);
  }
  /// The same for a path as a list of segments.
  ValueList<View> lookup_glob_sl(StringsArg path) const noexcept {
    return ValueList<View>::adopt(raw_ ? ::node_lookup_glob_sl(raw_, path.get()) : nullptr);
  }

  /// @}
  /// @name Ranges. Borrowed; empty for other kinds and without a node.
  /// @{
  /// The members of an object: `for (auto [key, value] : n.members())`.
  detail::Members<View> members() const noexcept {
    return detail::Members<View>(pointer());
  }
  /// The elements of an array: `for (View v : n.elements())`.
  detail::Elements<View> elements() const noexcept {
    return detail::Elements<View>(pointer());
  }
  /// The children of an object or an array.
  detail::Children<View> children() const noexcept {
    return detail::Children<View>(pointer());
  }
  /// The nodes without children below this one, or this one if it has none. O(n) in all.
  detail::Leaves<View> leaves() const noexcept { return detail::Leaves<View>(pointer()); }
  /// This node and all below it, depth first. Containers are visited again after their
  /// children; see Visit. O(n) in all.
  detail::Walk<View> walk() const noexcept { return detail::Walk<View>(pointer()); }

  /// @}

protected:
  /// For derived classes that change the node, and for C functions without const.
  ::node *pointer() const noexcept { return const_cast<::node *>(raw_); }

private:
  const ::node *raw_ = nullptr;
};

/// Whether the node has a value<T>() that is equal: `n["mode"] == "auto"`,
/// `n["port"] == 443`.
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
/// equals(): compares structure and values. To ask for the same node, compare get().
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
