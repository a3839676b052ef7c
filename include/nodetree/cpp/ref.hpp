/*
 * What changes a node, and Ref, which changes a borrowed one. Part of <nodetree.hpp>, which
 * says what holds for all of it.
 */
#ifndef NODETREE_CPP_REF_HPP
#define NODETREE_CPP_REF_HPP

#include <nodetree/cpp/view.hpp>

namespace nodetree {

class Ref;

/// The changes: Ref and a Node that is not const have them all. Where something can refuse,
/// the result says so and must be looked at: false, with the tree unchanged and a Node that
/// was to be given away still with its owner. What is to be changed may be nothing, which
/// refuses everything.
template <class Self, class Node, class Ref>
class Changing {
public:
  /// @name References.
  /// @{
  /// Another owner of the same node, which lives until both are gone.
  Node share() noexcept {
    ::node_ref(target());
    return Node::adopt(target());
  }
  /// Takes the node out of its container and gives the container's reference to the caller;
  /// an unused result releases it. Empty for a root, to which nothing happens, and for
  /// nothing.
  Node detach() noexcept {
    if (!target() || !::node_parent(target()))
      return Node();
    ::node_detach(target());
    return Node::adopt(target());
  }

  /// @}
  /// @name The value of this node.
  /// @{
  /// Gives the node another value where it stands: key, place, owners and views of it stay,
  /// children are released. Refused where the value would have to hold itself, or stands in
  /// a container. A Node that is shared is left null to the others. O(n) in both.
  [[nodiscard]] bool assign(const Value &value) noexcept {
    return settable(value) && put(target(), value);
  }
  /// node_clear(): the node becomes null where it stands.
  void set_null() noexcept {
    if (target())
      ::node_clear(target());
  }
  /// Folds `source` into this node, out of its own container: true; see node_merge().
  /// Refused when either is nothing or one lies inside the other. O(depth) on top.
  [[nodiscard]] bool merge(Node &&source) noexcept {
    if (!target() || !source || !::node_iterate_end(target(), source.get()) ||
        !::node_iterate_end(source.get(), target()))
      return false;
    source.detach(); // what its container held; the rest is this owner's
    ::node_merge(target(), source.release());
    return true;
  }

  /// @}
  /// @name Members and elements.
  /// @{
  /// Adds a member behind the others; refused for a key that is there. O(log n).
  [[nodiscard]] bool add(const CString &key, const Value &value) noexcept {
    return is(NODE_OBJECT) && fresh(value) && key.get() &&
           taken(::node_object_add(target(), key.get(), value.get()), value);
  }
  /// Sets what a path names, in its place as assign() does, or as a new member, which is
  /// added with the objects that are missing on the way. A key is a path of one segment
  /// unless it holds "/" or is "", ".", "..": for keys from outside use set_member().
  /// Refused where node_lookup_create() is; objects made until then stay.
  [[nodiscard]] bool set(const CString &path, const Value &value) noexcept {
    if (!settable(value) || !path.get())
      return false;
    ::node *at = ::node_lookup_create(target(), path.get());
    return at && put(at, value);
  }
  /// Sets the member with exactly this key, in its place, or adds it behind the others.
  [[nodiscard]] bool set_member(const CString &key, const Value &value) noexcept {
    if (!is(NODE_OBJECT) || !key.get() || !settable(value))
      return false;
    ::node *at = ::node_object_get(target(), key.get());
    return at ? put(at, value) : add(key, value);
  }
  /// Sets what a path names, if it is there: otherwise false.
  [[nodiscard]] bool replace(const CString &path, const Value &value) noexcept {
    ::node *at = target() && path.get() ? ::node_lookup(target(), path.get()) : nullptr;
    return at && settable(value) && put(at, value);
  }
  /// Sets the element at a position, if it is there: otherwise false.
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
  /// Adds an element before the one at the position, or at the end where `index` is
  /// size(). The elements behind it are taken out and put in again, so that their labels
  /// become what append() gives them. O(n).
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
        ::node_unref(tail[i]); // not met: nothing that was an element is refused
    std::free(tail);
    return done;
  }
  /// Releases the member with this key, if it is there.
  void del(const CString &key) noexcept {
    if (target() && key.get())
      ::node_object_del(target(), key.get());
  }
  /// Releases the element at this position, if it is there.
  template <class I, class = std::enable_if_t<detail::is_integer<I>>>
  void del(I index) noexcept {
    if (target() && index >= I{0})
      ::node_array_del(target(), static_cast<std::size_t>(index));
  }
  /// Releases all children; the container stays what it is.
  void clear() noexcept {
    if (target()) {
      ::node_object_clear(target());
      ::node_array_clear(target());
    }
  }
  /// Moves the members of `source` behind this object's own; `source` becomes null. Nothing
  /// happens where node_object_move_children() refuses.
  void move_children(Ref source) noexcept {
    if (target() && source)
      ::node_object_move_children(target(), source.get());
  }

  /// @}
  /// @name Whole trees.
  /// @{
  /// node_filter(). The paths of what was dropped are appended to `*removed`.
  void filter(Strings include, Strings exclude = {},
              StringList *removed = nullptr) noexcept {
    if (!target())
      return;
    char **paths = removed ? removed->release() : nullptr;
    ::node_filter(target(), include.get(), exclude.get(), removed ? &paths : nullptr);
    if (removed)
      *removed = StringList::adopt(paths);
  }
  /// node_prepare_diff_hash(): 0 for nothing.
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
  /// Whether the value can come below this node: it does not hold it. O(depth).
  bool fresh(const Value &value) noexcept {
    const ::node *given = value.get();
    return given && !::node_parent(given) &&
           given != (::node_is_container(given) ? ::node_root(target()) : target());
  }
  bool settable(const Value &value) noexcept { return target() && fresh(value); }

  /// A settable value instead of that of `at`, a node of the same tree.
  static bool put(::node *at, const Value &value) noexcept {
    if (::node_is_container(value.get()))
      ::node_clear(at); // rather than fold one into the other
    if (!::node_is_link(value.get())) {
      ::node_merge(at, value.take());
      return true;
    }
    // Only a link takes memory: where there is none, `at` keeps its value.
    char **const path = ::node_get_link_path(at);
    ::node_ref(value.get());
    ::node_merge(at, value.get());
    if (::node_get_link_path(value.get()) && ::node_get_link_path(at) == path)
      return false;
    ::node_unref(value.take());
    return true;
  }
};

/// Borrows a node, which somebody else keeps alive, to read and change it; may be nothing.
/// A View in all else; a const Ref gives Views.
class Ref : public View, public Changing<Ref, Node, Ref> {
public:
  Ref() noexcept = default;
  /// Borrows the node, which may be null.
  explicit Ref(::node *n) noexcept : View(n) {}
  /// Borrows what the Node holds.
  Ref(Node &n NODETREE_LIFETIMEBOUND) noexcept;
  Ref(const Ref &) noexcept = default;
  /// Another node from now on; not for temporaries, where it would change nothing.
  Ref &operator=(const Ref &) &noexcept = default;
  /// Not a way to change the node: that can be refused, so say assign() or set().
  template <class T, class = std::enable_if_t<detail::is_plain<T>>>
  Ref &operator=(const T &) = delete;

  /// @name As View has them, but what is found may be changed.
  /// @{
  using View::get;
  /// The node, borrowed, for calls in C; may be null.
  ::node *get() noexcept { return pointer(); }
  using View::parent;
  /// The container; false for a root.
  Ref parent() noexcept { return as_ref(View::parent()); }
  using View::root;
  /// The top of the tree. O(depth).
  Ref root() noexcept { return as_ref(View::root()); }
  using View::operator[];
  /// The member with exactly this key.
  Ref operator[](const CString &key) noexcept { return as_ref(View::operator[](key)); }
  /// The element at this position; none at a negative one.
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
  /// The same of a path as a list of segments.
  Ref lookup_sl(Strings path) noexcept { return as_ref(View::lookup_sl(path)); }
  using View::try_lookup_sl;
  /// The lenient lookup: where a step fails, the last node before it.
  Ref try_lookup_sl(Strings path) noexcept { return as_ref(View::try_lookup_sl(path)); }
  using View::follow_link;
  /// What a link leads to.
  Ref follow_link() noexcept { return as_ref(View::follow_link()); }
  using View::try_follow_link;
  /// What a link leads to by the lenient lookup.
  Ref try_follow_link() noexcept { return as_ref(View::try_follow_link()); }
  /// node_lookup_create(): what is missing on the way is made.
  Ref lookup_create(const CString &path) noexcept {
    return Ref(pointer() ? ::node_lookup_create(pointer(), path.get()) : nullptr);
  }
  /// The same of a path as a list of segments.
  Ref lookup_create_sl(Strings path) noexcept {
    return Ref(pointer() ? ::node_lookup_create_sl(pointer(), path.get()) : nullptr);
  }
  using View::lookup_glob;
  /// All that a glob path matches; the list is the caller's, the nodes are borrowed.
  ValueList<Ref> lookup_glob(const CString &path) noexcept {
    return ValueList<Ref>::adopt(View::lookup_glob(path).release());
  }
  using View::lookup_glob_sl;
  /// The same of a path as a list of segments.
  ValueList<Ref> lookup_glob_sl(Strings path) noexcept {
    return ValueList<Ref>::adopt(View::lookup_glob_sl(path).release());
  }

  /// @}
  /// @name Ranges as View has them. The current node may be taken out; but in a walk().
  /// @{
  using View::members;
  /// Of an object: `for (auto [key, value] : n.members())`.
  detail::Members<Ref> members() noexcept { return detail::Members<Ref>(pointer()); }
  using View::elements;
  /// Of an array: `for (Ref r : n.elements())`.
  detail::Elements<Ref> elements() noexcept { return detail::Elements<Ref>(pointer()); }
  using View::children;
  /// Of either.
  detail::Children<Ref> children() noexcept { return detail::Children<Ref>(pointer()); }
  using View::leaves;
  /// The nodes without children below this one, or this one. O(n) in all.
  detail::Leaves<Ref> leaves() noexcept { return detail::Leaves<Ref>(pointer()); }
  using View::walk;
  /// Every node from this one down, containers again when they are left. O(n).
  detail::Walk<Ref> walk() noexcept { return detail::Walk<Ref>(pointer()); }
  /// @}

private:
  static Ref as_ref(View found) noexcept { return Ref(const_cast<::node *>(found.get())); }
};

} // namespace nodetree

#endif
