/*
 * Node, the owner. Part of <nodetree.hpp>, which says what holds for all of it.
 */
#ifndef NODETREE_CPP_NODE_HPP
#define NODETREE_CPP_NODE_HPP

#include <nodetree/cpp/ref.hpp>

namespace nodetree {

/// @cond What a Node lends has to end before the Node: a temporary lends nothing. A const
/// Node lends Views, another one Refs.
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
  /// A null.
  static Node null() noexcept { return adopt(::node_new_null()); }
  /// Of anything that Value is made of: `Node::of({1, "two", nullptr})`.
  static Node of(const Value &value) noexcept { return adopt(value.take()); }
  /// An object without members.
  static Node object() noexcept { return adopt(::node_new_object()); }
  /// With these members.
  static Node object(std::initializer_list<Entry> members) noexcept {
    Node object = Node::object();
    for (const Entry &member : members)
      if (!object.add(member.key, member.value))
        return {};
    return object;
  }
  /// An array without elements.
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
  /// Of a bool alone: pointers and numbers do not compile.
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
  /// @name Reading texts
  /// Empty on failure; parse_json(), read_json() and parse_msgpack() also say why.
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

  /// @name As View and Ref have them, deleted for temporaries
  /// So are get_string(), c_str(), get_link_path(), key(), parent(), root(), get_child(),
  /// lookup(), follow_link(), lookup_glob() and their kin, members(), elements(),
  /// children(), leaves() and walk().
  /// @{
  template <class T>
  [[nodiscard]] std::optional<T>
  value() const &noexcept(!std::is_same_v<T, std::string>) NODETREE_LIFETIMEBOUND {
    return detail::read<T>(get());
  }
  template <class T>
  std::optional<T> value() const && = delete;
  /// value<T>() or else what is given; see View::value_or().
  template <class T>
  [[nodiscard]] auto value_or(const T &otherwise NODETREE_LIFETIMEBOUND) const &noexcept(
      !std::is_same_v<T, std::string>) NODETREE_LIFETIMEBOUND {
    return view().value_or(otherwise);
  }
  template <class T>
  void value_or(const T &) const && = delete;
  /// The member with exactly this key.
  View operator[](const CString &key) const &noexcept NODETREE_LIFETIMEBOUND {
    return view()[key];
  }
  /// The same, to be changed.
  Ref operator[](const CString &key) &noexcept NODETREE_LIFETIMEBOUND { return ref()[key]; }
  void operator[](const CString &) const && = delete;
  /// The element at this position; none at a negative one.
  template <class I, class = std::enable_if_t<detail::is_integer<I>>>
  View operator[](I index) const &noexcept NODETREE_LIFETIMEBOUND {
    return view()[index];
  }
  /// The same, to be changed.
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
  /// node_lookup_create(): what is missing on the way is made.
  Ref lookup_create(const CString &path) &noexcept NODETREE_LIFETIMEBOUND {
    return ref().lookup_create(path);
  }
  /// The same of a path as a list of segments.
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
