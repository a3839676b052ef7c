/*
 * Changing a node, and Ref, which borrows one to change it. Part of <nodetree.hpp>, which
 * says what holds for all of it.
 */
#ifndef NODETREE_CPP_REF_HPP
#define NODETREE_CPP_REF_HPP

#include <nodetree/cpp/view.hpp>

namespace nodetree {

class Ref;

/// Changes, for Ref and for a Node that is not const. A change that can fail returns a bool
/// that must not be ignored. False: the tree is unchanged, and a Node that was to be given
/// away still has its node. Without a node to change every change fails or does nothing.
template <class Self, class Node, class Ref>
class Changing {
public:
  /// @name References.
  /// @{
  /// node_ref(): another owner of the same node.
  Node share() noexcept {
    ::node_ref(target());
    return Node::adopt(target());
  }
  /// node_detach(): takes the node out of its container. The result owns the container's
  /// reference; ignoring it releases the node. For a root, does nothing and gives no node.
  /// O(log n) in an object's members.
  Node detach() noexcept {
    if (!target() || !::node_parent(target()))
      return Node();
    ::node_detach(target());
    return Node::adopt(target());
  }

  /// @}
  /// @name The value of this node.
  /// @{
  /// Replaces the value of the node, which keeps its key, place and owners; its children
  /// are released. Fails for a Node that stands in a container, is this node or contains
  /// it. If the Node has other owners, they are left with a null node when it was a
  /// container or a string. O(n) in both.
  [[nodiscard]] bool assign(const Value &value) noexcept {
    return settable(value) && put(target(), value);
  }
  /// node_clear(): makes the node null in its place. O(n).
  void set_null() noexcept {
    if (target())
      ::node_clear(target());
  }
  /// node_merge(): takes `source` out of its container and folds it into this node. Fails
  /// when either has no node, they are the same, or one lies inside the other.
  /// O(n log n) in the source and the depths.
  [[nodiscard]] bool merge(Node &&source) noexcept {
    if (!target() || !source || !::node_iterate_end(target(), source.get()) ||
        !::node_iterate_end(source.get(), target()))
      return false;
    source.detach(); // drops the container's reference; `source` has its own
    ::node_merge(target(), source.release());
    return true;
  }

  /// @}
  /// @name Members and elements. A Node as the value must be a root that does not contain
  /// this node, which takes O(depth) to check.
  /// @{
  /// node_object_add(): adds a member behind the others. Fails when the object has the key.
  /// O(log n).
  [[nodiscard]] bool add(const CString &key, const Value &value) noexcept {
    return is(NODE_OBJECT) && fresh(value) && key.get() &&
           taken(::node_object_add(target(), key.get(), value.get()), value);
  }
  /// Assigns to the node that a path names. Missing members on the way are made, as by
  /// node_lookup_create(); when that fails, the objects made before stay. For arbitrary
  /// keys use set_member(): a key is a path of one segment only if it contains no "/" and
  /// is not "", "." or "..". Costs a lookup and an assign().
  [[nodiscard]] bool set(const CString &path, const Value &value) noexcept {
    if (!settable(value) || !path.get())
      return false;
    ::node *at = ::node_lookup_create(target(), path.get());
    return at && put(at, value);
  }
  /// Assigns to the member with exactly this key, or adds it behind the others. O(log n).
  [[nodiscard]] bool set_member(const CString &key, const Value &value) noexcept {
    if (!is(NODE_OBJECT) || !key.get() || !settable(value))
      return false;
    ::node *at = ::node_object_get(target(), key.get());
    return at ? put(at, value) : add(key, value);
  }
  /// Assigns to the node that a path names. Fails where there is none.
  [[nodiscard]] bool replace(const CString &path, const Value &value) noexcept {
    ::node *at = target() && path.get() ? ::node_lookup(target(), path.get()) : nullptr;
    return at && settable(value) && put(at, value);
  }
  /// Assigns to the element at a position. Fails where there is none. O(n).
  template <class I, class = std::enable_if_t<detail::is_integer<I>>>
  [[nodiscard]] bool replace(I index, const Value &value) noexcept {
    ::node *at = self()[index].get();
    return at && settable(value) && put(at, value);
  }
  /// Adds an element at the end.
  [[nodiscard]] bool append(const Value &value) noexcept {
    return is(NODE_ARRAY) && fresh(value) &&
           taken(::node_array_append(target(), value.get()), value);
  }
  /// Adds an element at the front.
  [[nodiscard]] bool prepend(const Value &value) noexcept {
    return is(NODE_ARRAY) && fresh(value) &&
           taken(::node_array_prepend(target(), value.get()), value);
  }
  /// Adds an element before the one at the position, or at the end for size(). Fails for
  /// other positions. The elements behind it get new labels, as append() gives them. O(n).
  template <class I, class = std::enable_if_t<detail::is_integer<I>>>
  [[nodiscard]] bool insert_at(I index, const Value &value) noexcept {
    if (!is(NODE_ARRAY) || index < I{0} ||
        static_cast<std::uint64_t>(index) > self().size() || !fresh(value))
      return false;
    const std::size_t behind = self().size() - static_cast<std::size_t>(index);
    auto *tail = static_cast<::node **>(std::malloc((behind + 1) * sizeof(::node *)));
    if (!tail)
      return false;
    ::node *at = ::node_array_get(target(), static_cast<std::size_t>(index));
    for (std::size_t i = 0; i < behind; i++) {
      ::node *next = ::node_array_next(target(), at);
      tail[i] = at;
      ::node_detach(at);
      at = next;
    }
    const bool done = append(value);
    for (std::size_t i = 0; i < behind; i++)
      if (!::node_array_append(target(), tail[i]))
        ::node_unref(tail[i]); // unreachable: a detached element is always accepted
    std::free(tail);
    return done;
  }
  /// node_object_del(): releases the member with this key, if there is one. O(log n) and
  /// the member's subtree.
  void del(const CString &key) noexcept {
    if (target() && key.get())
      ::node_object_del(target(), key.get());
  }
  /// node_array_del(): releases the element at this position, if there is one. O(n) and the
  /// element's subtree.
  template <class I, class = std::enable_if_t<detail::is_integer<I>>>
  void del(I index) noexcept {
    if (target() && index >= I{0})
      ::node_array_del(target(), static_cast<std::size_t>(index));
  }
  /// Releases all children; the container stays. O(n) in the subtree.
  void clear() noexcept {
    if (target()) {
      ::node_object_clear(target());
      ::node_array_clear(target());
    }
  }
  /// node_object_move_children(): moves the members of `source` behind this object's own
  /// and makes `source` null. Does nothing where that function refuses. O(n log n).
  void move_children(Ref source) noexcept {
    if (target() && source)
      ::node_object_move_children(target(), source.get());
  }

  /// @}
  /// @name Whole trees.
  /// @{
  /// node_filter(). The paths of dropped leaves are appended to `*removed`.
  void filter(StringsArg include, StringsArg exclude = {},
              StringList *removed = nullptr) noexcept {
    if (!target())
      return;
    char **paths = removed ? removed->release() : nullptr;
    ::node_filter(target(), include.get(), exclude.get(), removed ? &paths : nullptr);
    if (removed)
      *removed = StringList::adopt(paths);
  }
  /// node_prepare_diff_hash(); 0 without a node. O(n).
  std::uint32_t prepare_diff_hash() noexcept {
    return target() ? ::node_prepare_diff_hash(target()) : 0;
  }

  /// @}

private:
  Self &self() noexcept { return *static_cast<Self *>(this); }
  ::node *target() noexcept { return self().get(); }
  bool is(node_type type) noexcept { return target() && target()->type == type; }

  static bool taken(bool done, const Value &value) noexcept {
    if (done)
      (void)value.take();
    return done;
  }
  /// Whether there is a value that may be put below this node: a root that does not contain
  /// it. O(depth).
  bool fresh(const Value &value) noexcept {
    const ::node *given = value.get();
    return given && !::node_parent(given) &&
           given != (::node_is_container(given) ? ::node_root(target()) : target());
  }
  bool settable(const Value &value) noexcept { return target() && fresh(value); }

  /// Replaces the value of `at`, a node of the same tree, by a settable one.
  static bool put(::node *at, const Value &value) noexcept {
    if (::node_is_container(value.get()))
      ::node_clear(at); // or the merge would keep the old children
    if (!::node_is_link(value.get())) {
      ::node_merge(at, value.take());
      return true;
    }
    // Only a link needs memory. When that runs out, `at` keeps its value.
    char **const path = ::node_get_link_path(at);
    ::node_ref(value.get());
    ::node_merge(at, value.get());
    if (::node_get_link_path(value.get()) && ::node_get_link_path(at) == path)
      return false;
    ::node_unref(value.take());
    return true;
  }
};

/// Borrows a node to read and change it; an owner keeps the node alive. Otherwise like
/// View. A const Ref gives Views.
class Ref : public View, public Changing<Ref, Node, Ref> {
public:
  Ref() noexcept = default;
  /// Borrows the node, which may be null.
  explicit Ref(::node *n) noexcept : View(n) {}
  /// Borrows the node of an owner.
  Ref(Node &n NODETREE_LIFETIMEBOUND) noexcept;
  Ref(const Ref &) noexcept = default;
  /// Borrows another node from now on. Deleted for temporaries, where it would have no
  /// effect.
  Ref &operator=(const Ref &) &noexcept = default;
  /// Does not change the node: that can fail, so use assign() or set().
  template <class T, class = std::enable_if_t<detail::is_plain<T>>>
  Ref &operator=(const T &) = delete;

  /// @name As View has them, but giving Refs.
  /// @{
  using View::get;
  /// The node, borrowed, for calls in C; may be null.
  ::node *get() noexcept { return pointer(); }
  using View::parent;
  /// The container; no node for a root.
  Ref parent() noexcept { return as_ref(View::parent()); }
  using View::root;
  /// The top of the tree. O(depth).
  Ref root() noexcept { return as_ref(View::root()); }
  using View::operator[];
  /// The member with exactly this key. O(log n).
  Ref operator[](const CString &key) noexcept { return as_ref(View::operator[](key)); }
  /// The element at this position; no node at a negative one. O(n).
  template <class I, class = std::enable_if_t<detail::is_integer<I>>>
  Ref operator[](I index) noexcept {
    return as_ref(View::operator[](index));
  }
  using View::get_child;
  /// The child that one segment of a path names.
  Ref get_child(const CString &segment) noexcept {
    return as_ref(View::get_child(segment));
  }
  using View::lookup;
  /// The node that a path names.
  Ref lookup(const CString &path) noexcept { return as_ref(View::lookup(path)); }
  using View::lookup_sl;
  /// The same for a path as a list of segments.
  Ref lookup_sl(StringsArg path) noexcept { return as_ref(View::lookup_sl(path)); }
  using View::try_lookup_sl;
  /// The lenient lookup: where a step fails, the last node before it.
  Ref try_lookup_sl(StringsArg path) noexcept { return as_ref(View::try_lookup_sl(path)); }
  using View::follow_link;
  /// The target of a link.
  Ref follow_link() noexcept { return as_ref(View::follow_link()); }
  using View::try_follow_link;
  /// The target of a link by the lenient lookup.
  Ref try_follow_link() noexcept { return as_ref(View::try_follow_link()); }
  /// node_lookup_create(): makes the objects that are missing on the way.
  Ref lookup_create(const CString &path) noexcept {
    return Ref(pointer() ? ::node_lookup_create(pointer(), path.get()) : nullptr);
  }
  /// The same for a path as a list of segments.
  Ref lookup_create_sl(StringsArg path) noexcept {
    return Ref(pointer() ? ::node_lookup_create_sl(pointer(), path.get()) : nullptr);
  }
  using View::lookup_glob;
  /// All nodes that a glob path matches. The caller owns the list; the nodes are borrowed.
  ValueList<Ref> lookup_glob(const CString &path) noexcept {
    return ValueList<Ref>::adopt(View::lookup_glob(path).release());
  }
  using View::lookup_glob_sl;
  /// The same for a path as a list of segments.
  ValueList<Ref> lookup_glob_sl(StringsArg path) noexcept {
    return ValueList<Ref>::adopt(View::lookup_glob_sl(path).release());
  }

  /// @}
  /// @name Ranges as View has them. During the iteration the current node may be taken out
  /// of its container, except in a walk(); the one after it may not.
  /// @{
  using View::members;
  /// The members of an object: `for (auto [key, value] : n.members())`.
  detail::Members<Ref> members() noexcept { return detail::Members<Ref>(pointer()); }
  using View::elements;
  /// The elements of an array: `for (Ref r : n.elements())`.
  detail::Elements<Ref> elements() noexcept { return detail::Elements<Ref>(pointer()); }
  using View::children;
  /// The children of an object or an array.
  detail::Children<Ref> children() noexcept { return detail::Children<Ref>(pointer()); }
  using View::leaves;
  /// The nodes without children below this one, or this one if it has none. O(n) in all.
  detail::Leaves<Ref> leaves() noexcept { return detail::Leaves<Ref>(pointer()); }
  using View::walk;
  /// This node and all below it; see View::walk(). O(n) in all.
  detail::Walk<Ref> walk() noexcept { return detail::Walk<Ref>(pointer()); }
  /// @}

private:
  static Ref as_ref(View found) noexcept { return Ref(const_cast<::node *>(found.get())); }
};

} // namespace nodetree

#endif
