/*
 * What can be done with a node, and its ranges. Part of <nodetree.hpp>, which says what holds
 * for all of it.
 */
#ifndef NODETREE_CPP_NODE_INTERFACE_HPP
#define NODETREE_CPP_NODE_INTERFACE_HPP

#include <cstdint>
#include <cstdio>
#include <nodetree/cpp/lists.hpp>

namespace nodetree {

class Node;
class View;

namespace detail {

template <class Step>
class NodeRange {
public:
  explicit NodeRange(::node *top) noexcept : top_(top) {}
  Iterator<Step> begin() const noexcept { return Iterator<Step>(top_); }
  Iterator<Step> end() const noexcept { return {}; }

private:
  ::node *top_;
};

struct ChildStep;
struct ElementStep;
struct MemberStep;
struct LeafStep;

} // namespace detail

/// What node_copy() does with links.
enum class CopyLinks : int {
  keep = 0,   ///< links stay links
  follow = 1, ///< each becomes a copy of what it leads to
  omit = 2    ///< they are left out
};

/// What Node and View do alike. Nodes found are borrowed (View), nodes made are the
/// caller's (Node).
template <class Self, class View, class Node>
class NodeInterface {
public:
  /// @name Kinds and values; texts and lists are borrowed, null for another kind.
  /// @{
  node_type type() const noexcept { return raw()->type; }
  const char *type_to_string() const noexcept { return ::node_type_to_string(raw()); }
  bool is_null() const noexcept { return ::node_is_null(raw()); }
  bool is_object() const noexcept { return ::node_is_object(raw()); }
  bool is_array() const noexcept { return ::node_is_array(raw()); }
  bool is_integer() const noexcept { return ::node_is_integer(raw()); }
  bool is_real() const noexcept { return ::node_is_real(raw()); }
  bool is_string() const noexcept { return ::node_is_string(raw()); }
  bool is_boolean() const noexcept { return ::node_is_boolean(raw()); }
  bool is_link() const noexcept { return ::node_is_link(raw()); }
  bool is_container() const noexcept { return ::node_is_container(raw()); }
  std::int64_t get_integer() const noexcept { return ::node_get_integer(raw()); }
  double get_real() const noexcept { return ::node_get_real(raw()); }
  bool get_boolean() const noexcept { return ::node_get_boolean(raw()); }
  /// The text; O(n), c_str() is not.
  std::string_view get_string() const noexcept { return detail::view(c_str()); }
  const char *c_str() const noexcept { return ::node_get_string(raw()); }
  Strings get_link_path() const noexcept { return ::node_get_link_path(raw()); }
  /// expr_coerce_bool(): the node as a condition.
  bool coerce_bool() const noexcept { return ::expr_coerce_bool(raw()); }

  /// @}
  /// @name The place in the tree.
  /// @{
  /// The key, borrowed; null for a root.
  std::string_view key() const noexcept { return detail::view(::node_key(raw())); }
  /// Borrowed; parent() is false for a root.
  View parent() const noexcept { return View(::node_parent(raw())); }
  View root() const noexcept { return View(::node_root(raw())); }
  /// A new text, or list of segments, for the caller.
  Text path() const noexcept { return Text::adopt(::node_path(raw())); }
  StringList path_sl() const noexcept { return StringList::adopt(::node_path_sl(raw())); }

  /// @}
  /// @name References.
  /// @{
  /// Another owner of the same node, which lives until both are gone.
  Node share() const noexcept {
    ::node_ref(raw());
    return Node::adopt(raw());
  }
  /// Takes the node out of its container and gives the container's reference to the caller;
  /// an unused result releases it. Empty for a root, to which nothing happens, and for
  /// nothing.
  Node detach() const noexcept {
    if (!raw() || !::node_parent(raw()))
      return Node();
    ::node_detach(raw());
    return Node::adopt(raw());
  }
  /// node_clear(): the node becomes null where it stands.
  void set_null() const noexcept { ::node_clear(raw()); }

  /// @}
  /// @name Lookup; the nodes found are borrowed.
  /// @{
  /// The member with this key, the element at this position.
  View operator[](const CString &key) const noexcept {
    return View(raw() && key.get() ? ::node_object_get(raw(), key.get()) : nullptr);
  }
  View operator[](std::size_t index) const noexcept {
    return View(raw() ? ::node_array_get(raw(), index) : nullptr);
  }
  View get_child(const CString &segment) const noexcept {
    return View(raw() && segment.get() ? ::node_get_child(raw(), segment.get()) : nullptr);
  }
  View lookup(const CString &path) const noexcept {
    return View(raw() ? ::node_lookup(raw(), path.get()) : nullptr);
  }
  View lookup_sl(Strings path) const noexcept {
    return View(raw() ? ::node_lookup_sl(raw(), path.get()) : nullptr);
  }
  View try_lookup_sl(Strings path) const noexcept {
    return View(raw() ? ::node_try_lookup_sl(raw(), path.get()) : nullptr);
  }
  View follow_link() const noexcept { return View(::node_follow_link(raw())); }
  View try_follow_link() const noexcept { return View(::node_try_follow_link(raw())); }
  /// node_lookup_create(): what is missing on the way is made.
  View lookup_create(const CString &path) const noexcept {
    return View(raw() ? ::node_lookup_create(raw(), path.get()) : nullptr);
  }
  View lookup_create_sl(Strings path) const noexcept {
    return View(raw() ? ::node_lookup_create_sl(raw(), path.get()) : nullptr);
  }
  /// The matches; the list is the caller's, the nodes are borrowed.
  ValueList<View> lookup_glob(const CString &path) const noexcept {
    return ValueList<View>::adopt(raw() ? ::node_lookup_glob(raw(), path.get()) : nullptr);
  }
  ValueList<View> lookup_glob_sl(Strings path) const noexcept {
    return ValueList<View>::adopt(raw() ? ::node_lookup_glob_sl(raw(), path.get())
                                        : nullptr);
  }

  /// @}
  /// @name Ranges; borrowed, empty for other kinds. The current node may be taken out.
  /// @{
  /// Of an object: `for (auto [key, value] : n.members())`.
  detail::NodeRange<detail::MemberStep> members() const noexcept {
    return detail::NodeRange<detail::MemberStep>(raw());
  }
  /// Of an array: `for (View v : n.elements())`.
  detail::NodeRange<detail::ElementStep> elements() const noexcept {
    return detail::NodeRange<detail::ElementStep>(raw());
  }
  /// Of either.
  detail::NodeRange<detail::ChildStep> children() const noexcept {
    return detail::NodeRange<detail::ChildStep>(raw());
  }
  /// The walk of node_iterate() through the subtree, this node first.
  detail::NodeRange<detail::LeafStep> leaves() const noexcept {
    return detail::NodeRange<detail::LeafStep>(raw());
  }

  /// @}
  /// @name Containers.
  /// @{
  /// The number of children; 0 for other kinds.
  std::size_t size() const noexcept { return raw()->child_count; }
  bool empty() const noexcept { return size() == 0; }
  /// Takes the child over: true. False when C refuses it; it is still the caller's then.
  bool add(const CString &key, Node &&child) const noexcept {
    return taken(::node_object_add(raw(), key.get(), child.get()), child);
  }
  bool append(Node &&child) const noexcept {
    return taken(::node_array_append(raw(), child.get()), child);
  }
  bool prepend(Node &&child) const noexcept {
    return taken(::node_array_prepend(raw(), child.get()), child);
  }
  /// Releases one child, if it is there; clear() all. The container stays what it is.
  void del(const CString &key) const noexcept {
    if (key.get())
      ::node_object_del(raw(), key.get());
  }
  void del(std::size_t index) const noexcept { ::node_array_del(raw(), index); }
  void clear() const noexcept {
    ::node_object_clear(raw());
    ::node_array_clear(raw());
  }
  /// Moves the members of `source` behind this object's own; `source` becomes null.
  void move_children(View source) const noexcept {
    ::node_object_move_children(raw(), source.get());
  }

  /// @}
  /// @name Whole trees; those made are the caller's.
  /// @{
  Node copy(CopyLinks links) const noexcept {
    return Node::adopt(::node_copy(raw(), static_cast<int>(links)));
  }
  Node clone() const noexcept { return Node::adopt(::node_clone(raw())); }
  /// Whether structure and values are the same.
  bool equals(View other) const noexcept { return ::node_equals(raw(), other.get()); }
  bool equals_json(const CString &text) const noexcept {
    return text.get() && ::node_equals_json(raw(), text.get());
  }
  void fprint(FILE *stream) const noexcept { ::node_fprint(raw(), stream); }
  /// Takes `source` over and folds it in, also out of its container: true. False when
  /// either is nothing or one lies inside the other; it is still the caller's then.
  /// O(depth) on top.
  bool merge(Node &&source) const noexcept {
    if (!raw() || !source || !::node_iterate_end(raw(), source.get()) ||
        !::node_iterate_end(source.get(), raw()))
      return false;
    source.detach(); // what its container held; the rest is this owner's
    ::node_merge(raw(), source.release());
    return true;
  }
  /// The paths of what was dropped are appended to `*removed`.
  void filter(Strings include, Strings exclude = {},
              StringList *removed = nullptr) const noexcept {
    char **paths = removed ? removed->release() : nullptr;
    ::node_filter(raw(), include.get(), exclude.get(), removed ? &paths : nullptr);
    if (removed)
      *removed = StringList::adopt(paths);
  }
  /// node_diff() from this node to the other; empty for no difference. Either may be
  /// nothing.
  Node diff(View to) const noexcept { return Node::adopt(::node_diff(raw(), to.get())); }
  std::uint32_t prepare_diff_hash() const noexcept {
    return ::node_prepare_diff_hash(raw());
  }
  /// expr_eval(): this node is the expression. The result is not to be changed: it may be a
  /// part of either tree. `*error` becomes the message, or empty where there is none.
  Node eval(View context, Text *error = nullptr) const noexcept {
    char *message = nullptr;
    Node result =
        Node::adopt(::expr_eval(raw(), context.get(), error ? &message : nullptr));
    if (error)
      *error = Text::adopt(message);
    return result;
  }

  /// @}
  /// @name Codecs.
  /// @{
  /// json_stringify(): a new text for the caller.
  Text to_json(bool compact = true) const noexcept {
    return Text::adopt(::json_stringify(raw(), compact));
  }
  /// json_stringify_filename().
  bool write_json(const CString &path, bool compact = true) const noexcept {
    return path.get() && ::json_stringify_filename(path.get(), raw(), compact);
  }
  /// msgpack_encode(): a new buffer for the caller.
  Bytes to_msgpack() const noexcept {
    char *data = nullptr;
    std::size_t size = 0;
    ::msgpack_encode(raw(), &data, &size);
    return Bytes::adopt(data, size);
  }

  /// @}

private:
  static bool taken(bool done, Node &child) noexcept {
    if (done)
      (void)child.release();
    return done;
  }
  ::node *raw() const noexcept { return static_cast<const Self *>(this)->get(); }
};

} // namespace nodetree

#endif
