/*
 * Node, the owner. Part of <nodetree.hpp>, which says what holds for all of it.
 */
#ifndef NODETREE_CPP_NODE_HPP
#define NODETREE_CPP_NODE_HPP

#include <nodetree/cpp/ref.hpp>

namespace nodetree {

/// @cond What a Node lends must not outlive it, so temporaries lend nothing. A const Node
/// lends Views, any other Refs.
#define NODETREE_LENDS_VIEW(name)                                                          \
  template <class... Args>                                                                 \
  auto name(Args &&...args) const &noexcept NODETREE_LIFETIMEBOUND {                       \
    return view().name(std::forward<Args>(args)...);                                       \
  }                                                                                        \
  template <class... Args>                                                                 \
  void name(Args &&...) const && = delete;
#define NODETREE_LENDS(name)                                                               \
  NODETREE_LENDS_VIEW(name)                                                                \
  template <class... Args>                                                                 \
  auto name(Args &&...args) &noexcept NODETREE_LIFETIMEBOUND {                             \
    return ref().name(std::forward<Args>(args)...);                                        \
  }

/// @endcond

/// Owns one reference to a node and drops it by node_unref(). Reads and looks up as View
/// does and, unless const, changes as Ref does. A temporary lends nothing: lookups, ranges
/// and borrowed texts are deleted for it.
class Node : public detail::Owner<Node, ::node *>,
             public Asking<Node, Node>,
             public Changing<Node, Node, Ref> {
public:
  Node() noexcept = default;
  /// An object: `Node config{{"port", 8080}, {"tags", {1, 2}}};`. Holds no node on failure;
  /// see Value.
  Node(std::initializer_list<Entry> members) noexcept : Node(object(members)) {}

  /// @name Making nodes. New roots; no node when memory runs out.
  /// @{
  /// A null.
  static Node null() noexcept { return adopt(::node_new_null()); }
  /// A node of any Value: `Node::of({1, "two", nullptr})`. No node where that is none.
  static Node of(const Value &value) noexcept { return adopt(value.take()); }
  /// An object without members.
  static Node object() noexcept { return adopt(::node_new_object()); }
  /// An object with these members. No node when one of them cannot be made or added.
  static Node object(std::initializer_list<Entry> members) noexcept {
    Node object = Node::object();
    for (const Entry &member : members)
      if (!object.add(member.key, member.value))
        return {};
    return object;
  }
  /// An array without elements.
  static Node array() noexcept { return adopt(::node_new_array()); }
  /// An array of these elements. No node when one of them cannot be made.
  static Node array(std::initializer_list<Value> elements) noexcept {
    return adopt(Value::array(elements).release());
  }
  /// An integer. No node for a number above INT64_MAX. Other types do not compile.
  template <class T, std::enable_if_t<detail::is_integer<T>, int> = 0>
  static Node integer(T value) noexcept {
    return of(value);
  }
  template <class T, std::enable_if_t<!detail::is_integer<T>, int> = 0>
  static Node integer(T) = delete;
  /// A real. No node for an integer that a double cannot hold exactly.
  template <class T, std::enable_if_t<detail::is_real<T> || detail::is_integer<T>, int> = 0>
  static Node real(T value) noexcept {
    const double real = static_cast<double>(value);
    if constexpr (detail::is_integer<T>)
      if (detail::exact<T>(real) != value)
        return {};
    return of(real);
  }
  template <class T,
            std::enable_if_t<!detail::is_real<T> && !detail::is_integer<T>, int> = 0>
  static Node real(T) = delete;
  /// A boolean. Other types, pointers included, do not compile.
  static Node boolean(bool value) noexcept { return adopt(::node_new_boolean(value)); }
  template <class T, std::enable_if_t<!std::is_same_v<T, bool>, int> = 0>
  static Node boolean(T) = delete;
  /// A string with a copy of the text. No node for NULL and for a text with a NUL inside.
  static Node string(Chars text) noexcept {
    return adopt(text.is_text() ? ::node_new_stringn(text.data(), text.size()) : nullptr);
  }
  /// A link with a copy of the path.
  static Node link(StringsArg path) noexcept { return adopt(::node_new_link(path.get())); }

  /// @}
  /// @name Decoding. No node on failure; parse_json(), read_json() and parse_msgpack() also
  /// tell the reason. O(n).
  /// @{
  /// json_parse_buffer(): the tree of the one JSON value in the text.
  static Node from_json(Chars text) noexcept {
    return adopt(::json_parse_buffer(text.data(), text.size()));
  }
  /// json_parse_filename(): the tree of the one JSON value in the file.
  static Node read_json(const CString &path) noexcept {
    return adopt(path.get() ? ::json_parse_filename(path.get()) : nullptr);
  }
  /// msgpack_decode(): the tree of the first message. `*used` is set to what
  /// msgpack_decode() leaves in `*size`.
  static Node from_msgpack(Chars bytes, std::size_t *used = nullptr) noexcept {
    std::size_t size = bytes.size();
    Node n = adopt(::msgpack_decode(bytes.data(), &size));
    if (used)
      *used = size;
    return n;
  }

  /// @}
  /// The node, borrowed, for calls in C; null without a node.
  ::node *get() noexcept NODETREE_LIFETIMEBOUND { return Owner::get(); }
  const ::node *get() const noexcept NODETREE_LIFETIMEBOUND { return Owner::get(); }

  /// @name As View and Ref have them
  /// Deleted for temporaries where the result borrows from the node. The same holds for
  /// get_string(), c_str(), get_link_path(), key(), parent(), root(), get_child(), all
  /// lookups, follow_link(), try_follow_link(), members(), elements(), children(), leaves()
  /// and walk().
  /// @{
  /// View::value().
  template <class T, std::enable_if_t<!detail::is_borrowed<T>, int> = 0>
  [[nodiscard]] std::optional<T> value() const noexcept(!std::is_same_v<T, std::string>) {
    return detail::read<T>(get());
  }
  /// The same for a borrowed text.
  template <class T, detail::if_borrowed<T> = 0>
  [[nodiscard]] std::optional<T> value() const &noexcept NODETREE_LIFETIMEBOUND {
    return detail::read<T>(get());
  }
  template <class T, detail::if_borrowed<T> = 0>
  std::optional<T> value() const && = delete;
  /// View::value_or().
  template <class T, detail::if_copied<T> = 0>
  [[nodiscard]] T value_or(const T &otherwise) const
      noexcept(!std::is_same_v<T, std::string>) {
    return view().value_or(otherwise);
  }
  /// The same for a borrowed text.
  template <class T, detail::if_borrowed<T> = 0>
  [[nodiscard]] std::string_view value_or(
      const T &otherwise NODETREE_LIFETIMEBOUND) const &noexcept NODETREE_LIFETIMEBOUND {
    return view().value_or(otherwise);
  }
  template <class T, detail::if_borrowed<T> = 0>
  void value_or(const T &) const && = delete;
  template <class T, detail::if_owning<T> = 0>
  void value_or(const T &&) const & = delete;
  /// The member with exactly this key. O(log n).
  View operator[](const CString &key) const &noexcept NODETREE_LIFETIMEBOUND {
    return view()[key];
  }
  /// The same, as a Ref.
  Ref operator[](const CString &key) &noexcept NODETREE_LIFETIMEBOUND { return ref()[key]; }
  void operator[](const CString &) const && = delete;
  /// The element at this position; no node at a negative one. O(n).
  template <class I, class = std::enable_if_t<detail::is_integer<I>>>
  View operator[](I index) const &noexcept NODETREE_LIFETIMEBOUND {
    return view()[index];
  }
  /// The same, as a Ref.
  template <class I, class = std::enable_if_t<detail::is_integer<I>>>
  Ref operator[](I index) &noexcept NODETREE_LIFETIMEBOUND {
    return ref()[index];
  }
  template <class I, class = std::enable_if_t<detail::is_integer<I>>>
  void operator[](I) const && = delete;
  /// @cond
  NODETREE_LENDS_VIEW(get_string)
  NODETREE_LENDS_VIEW(c_str)
  NODETREE_LENDS_VIEW(get_link_path)
  NODETREE_LENDS_VIEW(key)
  NODETREE_LENDS(parent)
  NODETREE_LENDS(root)
  NODETREE_LENDS(get_child)
  NODETREE_LENDS(lookup)
  NODETREE_LENDS(lookup_sl)
  NODETREE_LENDS(try_lookup_sl)
  NODETREE_LENDS(follow_link)
  NODETREE_LENDS(try_follow_link)
  NODETREE_LENDS(lookup_glob)
  NODETREE_LENDS(lookup_glob_sl)
  NODETREE_LENDS(members)
  NODETREE_LENDS(elements)
  NODETREE_LENDS(children)
  NODETREE_LENDS(leaves)
  NODETREE_LENDS(walk)
  /// @endcond
  /// node_lookup_create(): makes the objects that are missing on the way.
  Ref lookup_create(const CString &path) &noexcept NODETREE_LIFETIMEBOUND {
    return ref().lookup_create(path);
  }
  /// The same for a path as a list of segments.
  Ref lookup_create_sl(StringsArg path) &noexcept NODETREE_LIFETIMEBOUND {
    return ref().lookup_create_sl(path);
  }
  /// @}

private:
  View view() const noexcept { return View(get()); }
  Ref ref() noexcept { return Ref(get()); }
};

#undef NODETREE_LENDS
#undef NODETREE_LENDS_VIEW

/// @cond
inline View::View(const Node &n) noexcept : raw_(n.get()) {}
inline Ref::Ref(Node &n) noexcept : Ref(n.get()) {}

inline ::node *Value::get() const noexcept {
  return lender_ ? lender_->get() : own_.get();
}
inline ::node *Value::take() const noexcept {
  return lender_ ? lender_->release() : own_.release();
}
/// @endcond

} // namespace nodetree

#endif
