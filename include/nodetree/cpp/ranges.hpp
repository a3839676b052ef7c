/*
 * The iterator over lists and trees, and the ranges over trees. Part of <nodetree.hpp>,
 * which says what holds for all of it.
 */
#ifndef NODETREE_CPP_RANGES_HPP
#define NODETREE_CPP_RANGES_HPP

#include <iterator>
#include <nodetree/cpp/owners.hpp>
#if defined(__cpp_lib_ranges) &&                                                           \
    !defined(__GLIBCXX__) // libstdc++ has what is needed in <iterator>
#include <ranges>
#endif

namespace nodetree {
namespace detail {

/// What `->` on an iterator returns: it holds the value that was made for the call.
template <class T>
struct Arrow {
  T value;
  T *operator->() noexcept { return &value; }
};

/// The one iterator. A Cursor says where it stands: value(), advance() and same(); a
/// default one is the end. A forward iterator in C++20. In C++17 an input iterator, because
/// its values are made on the way.
template <class Cursor>
class Iterator {
public:
  using iterator_category = std::input_iterator_tag;
#if defined(__cpp_lib_ranges)
  using iterator_concept = std::forward_iterator_tag;
#endif
  using difference_type = std::ptrdiff_t;
  using value_type = decltype(std::declval<const Cursor &>().value());
  using reference = value_type;
  using pointer = Arrow<value_type>;

  Iterator() noexcept = default;
  template <class Top>
  explicit Iterator(Top *top) noexcept : cursor_(top) {}
  value_type operator*() const noexcept {
    return cursor_.value();
  }
  pointer operator->() const noexcept {
    return {**this};
  }
  Iterator &operator++() noexcept {
    cursor_.advance();
    return *this;
  }
  Iterator operator++(int) noexcept {
    Iterator before = *this;
    ++*this;
    return before;
  }
  friend bool operator==(const Iterator &a, const Iterator &b) noexcept {
    return a.cursor_.same(b.cursor_);
  }
  friend bool operator!=(const Iterator &a, const Iterator &b) noexcept {
    return !(a == b);
  }

private:
  Cursor cursor_;
};

/// Goes from one place to the next as Step finds them; a null place is the end. The next
/// place is found before this one is handed out, so this one may be taken out of its
/// container.
/// @cond
template <class Step>
class Ahead {
public:
  using Top = typename Step::Top;
  Ahead() noexcept = default;
  explicit Ahead(Top top) noexcept : top_(top), next_(top ? Step::first(top) : nullptr) {
    advance();
  }
  auto value() const noexcept { return Step::value(at_); }
  void advance() noexcept {
    at_ = next_;
    next_ = at_ ? Step::next(top_, at_) : nullptr;
  }
  bool same(const Ahead &other) const noexcept { return at_ == other.at_; }

private:
  Top top_{}, at_{}, next_{};
};
/// @endcond

} // namespace detail

/// A member of an object, borrowed: Handle is View or Ref. Ranges make their members on the
/// way, so take them by value. A std::views::transform(&Member<View>::key) would return a
/// reference into a member that is gone; use a lambda.
template <class Handle>
struct Member {
  std::string_view key; ///< ends with a NUL
  Handle value;         ///< the member itself
};

/// A stop of a walk through a tree: Handle is View or Ref.
template <class Handle>
struct Visit {
  Handle node;       ///< the node, borrowed
  bool entering;     ///< false when the walk leaves a container, after its children
  std::size_t depth; ///< levels below the node where the walk began
};

namespace detail {

/// The children of an object or an array.
template <class Handle>
struct ChildStep {
  using Top = ::node *;
  static ::node *first(::node *top) noexcept {
    return ::node_is_container(top) ? ::node_container_first(top) : nullptr;
  }
  static ::node *next(::node *top, ::node *at) noexcept {
    return ::node_container_next(top, at);
  }
  static Handle value(::node *at) noexcept { return Handle(at); }
};

template <class Handle>
struct ElementStep : ChildStep<Handle> {
  static ::node *first(::node *top) noexcept { return ::node_array_first(top); }
};

template <class Handle>
struct MemberStep : ChildStep<Handle> {
  static ::node *first(::node *top) noexcept { return ::node_object_first(top); }
  static Member<Handle> value(::node *at) noexcept { return {view(at->key), Handle(at)}; }
};

/// Nodes without children. Never leaves the tree below top, so a step costs no more than
/// the levels that it passes.
template <class Handle>
struct LeafStep : ChildStep<Handle> {
  static ::node *first(::node *top) noexcept {
    for (::node *child = top; child; child = ChildStep<Handle>::first(top))
      top = child;
    return top;
  }
  static ::node *next(::node *top, ::node *at) noexcept {
    for (; at != top; at = at->parent)
      if (::node *sibling = ::node_container_next(at->parent, at))
        return first(sibling);
    return nullptr;
  }
};

/// Every node, and containers again after their children.
template <class Handle>
class WalkCursor {
public:
  WalkCursor() noexcept = default;
  explicit WalkCursor(::node *top) noexcept : top_(top), at_(top) {}
  Visit<Handle> value() const noexcept { return {Handle(at_), entering_, depth_}; }
  void advance() noexcept {
    ::node *child = entering_ ? ChildStep<Handle>::first(at_) : nullptr;
    if (child) {
      at_ = child;
      ++depth_;
    } else if (entering_ && ::node_is_container(at_)) {
      entering_ = false;
    } else if (at_ == top_) {
      *this = WalkCursor();
    } else if (::node *sibling = ::node_container_next(at_->parent, at_)) {
      at_ = sibling;
      entering_ = true;
    } else {
      at_ = at_->parent;
      entering_ = false;
      --depth_;
    }
  }
  bool same(const WalkCursor &other) const noexcept {
    return at_ == other.at_ && entering_ == other.entering_;
  }

private:
  ::node *top_ = nullptr, *at_ = nullptr;
  std::size_t depth_ = 0;
  bool entering_ = true;
};

/// The places below a node. A view to std::ranges; its iterators outlive it.
template <class Cursor>
class Range {
public:
  using I = Iterator<Cursor>;
  Range() noexcept = default;
  explicit Range(::node *top) noexcept : top_(top) {}
  I begin() const noexcept { return I(top_); }
  I end() const noexcept { return {}; }
  bool empty() const noexcept { return begin() == end(); }

private:
  ::node *top_ = nullptr;
};

template <class Handle>
using Children = Range<Ahead<ChildStep<Handle>>>;
template <class Handle>
using Elements = Range<Ahead<ElementStep<Handle>>>;
template <class Handle>
using Members = Range<Ahead<MemberStep<Handle>>>;
template <class Handle>
using Leaves = Range<Ahead<LeafStep<Handle>>>;
template <class Handle>
using Walk = Range<WalkCursor<Handle>>;

} // namespace detail
} // namespace nodetree

#if defined(__cpp_lib_ranges)
template <class Cursor>
inline constexpr bool std::ranges::enable_view<nodetree::detail::Range<Cursor>> = true;
template <class Cursor>
inline constexpr bool std::ranges::enable_borrowed_range<nodetree::detail::Range<Cursor>> =
    true;
#endif

#endif
