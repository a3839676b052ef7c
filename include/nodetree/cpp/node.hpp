/*
 * Node, the owner. Part of <nodetree.hpp>, which says what holds for all of it.
 */
#ifndef NODETREE_CPP_NODE_HPP
#define NODETREE_CPP_NODE_HPP

#include <nodetree/cpp/ref.hpp>

namespace nodetree {

/// What a Node lends has to end before the Node: a temporary lends nothing. A const Node
/// lends Views, another one Refs.
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

/// Owns one reference to a node; releasing it is node_unref(). Reads and finds what View
/// does and, unless const, changes what Ref does; a temporary neither lends nor finds.
class Node : public detail::Owner<Node, ::node *>,
             public Asking<Node, Node>,
             public Changing<Node, Node, Ref> {
public:
  Node() noexcept = default;
  /// An object: `Node config{{"port", 8080}, {"tags", {1, 2}}};`. Empty, as all below, when
  /// memory runs out or a value is none; see Value.
  Node(std::initializer_list<Entry> members) noexcept : Node(object(members)) {}

  /// @name Making nodes: new roots; empty when memory runs out.
  /// @{
  static Node null() noexcept { return adopt(::node_new_null()); }
  /// Of anything that Value is made of: `Node::of({1, "two", nullptr})`.
  static Node of(const Value &value) noexcept { return adopt(value.take()); }
  static Node object() noexcept { return adopt(::node_new_object()); }
  /// With these members.
  static Node object(std::initializer_list<Entry> members) noexcept {
    Node object = Node::object();
    for (const Entry &member : members)
      if (!object.add(member.key, member.value))
        return {};
    return object;
  }
  static Node array() noexcept { return adopt(::node_new_array()); }
  /// With these elements.
  static Node array(std::initializer_list<Value> elements) noexcept {
    return adopt(Value::array(elements).release());
  }
  /// Empty also for a number above INT64_MAX; other types than integers do not compile.
  template <class T, std::enable_if_t<detail::is_integer<T>, int> = 0>
  static Node integer(T value) noexcept {
    return of(value);
  }
  template <class T, std::enable_if_t<!detail::is_integer<T>, int> = 0>
  static Node integer(T) = delete;
  /// From an integer where it is exact, otherwise empty.
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
  static Node boolean(bool value) noexcept { return adopt(::node_new_boolean(value)); }
  template <class T, std::enable_if_t<!std::is_same_v<T, bool>, int> = 0>
  static Node boolean(T) = delete;
  /// A copy of the text; empty also for a NULL and a text with a NUL inside.
  static Node string(Chars text) noexcept {
    return adopt(text.is_text() ? ::node_new_stringn(text.data(), text.size()) : nullptr);
  }
  /// A copy of the path.
  static Node link(Strings path) noexcept { return adopt(::node_new_link(path.get())); }

  /// @}
  /// @name Reading texts; empty on failure. parse_json(), read_json() and parse_msgpack()
  /// also say why.
  /// @{
  /// The tree of the one JSON value in the text.
  static Node from_json(Chars text) noexcept {
    return adopt(::json_parse_buffer(text.data(), text.size()));
  }
  /// The tree of the one JSON value in the file.
  static Node read_json(const CString &path) noexcept {
    return adopt(path.get() ? ::json_parse_filename(path.get()) : nullptr);
  }
  /// The tree of the first message; `*used` becomes what msgpack_decode() leaves in
  /// `*size`.
  static Node from_msgpack(Chars bytes, std::size_t *used = nullptr) noexcept {
    std::size_t size = bytes.size();
    Node n = adopt(::msgpack_decode(bytes.data(), &size));
    if (used)
      *used = size;
    return n;
  }

  /// @}
  /// The node, borrowed, for calls in C; null when there is none.
  ::node *get() noexcept NODETREE_LIFETIMEBOUND { return Owner::get(); }
  const ::node *get() const noexcept NODETREE_LIFETIMEBOUND { return Owner::get(); }

  /// @name As View and Ref have them. Deleted for temporaries.
  /// @{
  template <class T>
  [[nodiscard]] std::optional<T>
  value() const &noexcept(!std::is_same_v<T, std::string>) NODETREE_LIFETIMEBOUND {
    return detail::read<T>(get());
  }
  template <class T>
  std::optional<T> value() const && = delete;
  template <class T>
  [[nodiscard]] auto value_or(const T &otherwise NODETREE_LIFETIMEBOUND) const &noexcept(
      !std::is_same_v<T, std::string>) NODETREE_LIFETIMEBOUND {
    return view().value_or(otherwise);
  }
  template <class T>
  void value_or(const T &) const && = delete;
  View operator[](const CString &key) const &noexcept NODETREE_LIFETIMEBOUND {
    return view()[key];
  }
  Ref operator[](const CString &key) &noexcept NODETREE_LIFETIMEBOUND { return ref()[key]; }
  void operator[](const CString &) const && = delete;
  template <class I, class = std::enable_if_t<detail::is_integer<I>>>
  View operator[](I index) const &noexcept NODETREE_LIFETIMEBOUND {
    return view()[index];
  }
  template <class I, class = std::enable_if_t<detail::is_integer<I>>>
  Ref operator[](I index) &noexcept NODETREE_LIFETIMEBOUND {
    return ref()[index];
  }
  template <class I, class = std::enable_if_t<detail::is_integer<I>>>
  void operator[](I) const && = delete;
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
  /// node_lookup_create(): what is missing on the way is made.
  Ref lookup_create(const CString &path) &noexcept NODETREE_LIFETIMEBOUND {
    return ref().lookup_create(path);
  }
  Ref lookup_create_sl(Strings path) &noexcept NODETREE_LIFETIMEBOUND {
    return ref().lookup_create_sl(path);
  }
  /// @}

private:
  View view() const noexcept { return View(get()); }
  Ref ref() noexcept { return Ref(get()); }
};

#undef NODETREE_LENDS
#undef NODETREE_LENDS_VIEW

inline View::View(const Node &n) noexcept : raw_(n.get()) {}
inline Ref::Ref(Node &n) noexcept : Ref(n.get()) {}

inline ::node *Value::get() const noexcept {
  return lender_ ? lender_->get() : own_.get();
}
inline ::node *Value::take() const noexcept {
  return lender_ ? lender_->release() : own_.release();
}

} // namespace nodetree

#endif
