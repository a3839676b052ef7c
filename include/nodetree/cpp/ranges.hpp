/*
 * What iterates: one iterator for every list and tree, and the ranges over trees. Part of
 * <nodetree.hpp>, which says what holds for all of it.
 */
#ifndef NODETREE_CPP_RANGES_HPP
#define NODETREE_CPP_RANGES_HPP

#include <iterator>
#include <nodetree/cpp/owners.hpp>
#if defined(__cpp_lib_ranges) &&                                                           \
    !defined(__GLIBCXX__) // there <iterator> has what is needed
#include <ranges>
#endif

namespace nodetree {
namespace detail {

/// What `->` on an iterator leads to, which is made on the way.
template <class T>
struct Arrow {
  T value;
  T *operator->() noexcept { return &value; }
};

/// Goes from one place to the next as Step finds them; a null place is the end. The next
/// one is found before this one is handed out, so that this one may be taken out of its
/// container. A forward iterator to C++20; to C++17 an input iterator, because what it
/// points to is made on the way.
template <class Step>
class Iterator {
public:
  using iterator_category = std::input_iterator_tag;
#if defined(__cpp_lib_ranges)
  using iterator_concept = std::forward_iterator_tag;
#endif
  using difference_type = std::ptrdiff_t;
  using value_type = decltype(Step::value(nullptr));
  using reference = value_type;
  using pointer = Arrow<value_type>;
  using Top = typename Step::Top;

  Iterator() noexcept = default;
  explicit Iterator(Top top) noexcept : top_(top), next_(top ? Step::first(top) : nullptr) {
    ++*this;
  }
  value_type operator*() const noexcept {
    return Step::value(at_);
  }
  pointer operator->() const noexcept {
    return {**this};
  }
  Iterator &operator++() noexcept {
    at_ = next_;
    next_ = at_ ? Step::next(top_, at_) : nullptr;
    return *this;
  }
  Iterator operator++(int) noexcept {
    Iterator before = *this;
    ++*this;
    return before;
  }
  friend bool operator==(const Iterator &a, const Iterator &b) noexcept {
    return a.at_ == b.at_;
  }
  friend bool operator!=(const Iterator &a, const Iterator &b) noexcept {
    return a.at_ != b.at_;
  }

private:
  Top top_{}, at_{}, next_{};
};

} // namespace detail

/// A member of an object, borrowed: Handle is View or Ref.
template <class Handle>
struct Member {
  std::string_view key; ///< ends with a NUL
  Handle value;         ///< the member itself
};

/// A stop of a walk through a tree: Handle is View or Ref.
template <class Handle>
struct Visit {
  Handle node;       ///< where the walk is
  bool entering;     ///< false when a container is left, after its children
  std::size_t depth; ///< 0 where the walk began
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

/// Nodes without children; never leaves the tree below top, so that each step costs the
/// levels that it passes.
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
class WalkIterator {
public:
  using iterator_category = std::input_iterator_tag;
#if defined(__cpp_lib_ranges)
  using iterator_concept = std::forward_iterator_tag;
#endif
  using difference_type = std::ptrdiff_t;
  using value_type = Visit<Handle>;
  using reference = value_type;
  using pointer = Arrow<value_type>;

  WalkIterator() noexcept = default;
  explicit WalkIterator(::node *top) noexcept : top_(top), at_(top) {}
  value_type operator*() const noexcept {
    return {Handle(at_), entering_, depth_};
  }
  pointer operator->() const noexcept {
    return {**this};
  }
  WalkIterator &operator++() noexcept {
    ::node *child = entering_ ? ChildStep<Handle>::first(at_) : nullptr;
    if (child) {
      at_ = child;
      ++depth_;
    } else if (entering_ && ::node_is_container(at_)) {
      entering_ = false;
    } else if (at_ == top_) {
      *this = WalkIterator();
    } else if (::node *sibling = ::node_container_next(at_->parent, at_)) {
      at_ = sibling;
      entering_ = true;
    } else {
      at_ = at_->parent;
      entering_ = false;
      --depth_;
    }
    return *this;
  }
  WalkIterator operator++(int) noexcept {
    WalkIterator before = *this;
    ++*this;
    return before;
  }
  friend bool operator==(const WalkIterator &a, const WalkIterator &b) noexcept {
    return a.at_ == b.at_ && a.entering_ == b.entering_;
  }
  friend bool operator!=(const WalkIterator &a, const WalkIterator &b) noexcept {
    return !(a == b);
  }

private:
  ::node *top_ = nullptr, *at_ = nullptr;
  std::size_t depth_ = 0;
  bool entering_ = true;
};

/// From the first place in a tree to the end; a view to std::ranges, and its iterators
/// outlive it.
template <class I>
class Range {
public:
  Range() noexcept = default;
  explicit Range(::node *top) noexcept : top_(top) {}
  I begin() const noexcept { return I(top_); }
  I end() const noexcept { return {}; }
  bool empty() const noexcept { return begin() == end(); }

private:
  ::node *top_ = nullptr;
};

template <class Handle>
using Children = Range<Iterator<ChildStep<Handle>>>;
template <class Handle>
using Elements = Range<Iterator<ElementStep<Handle>>>;
template <class Handle>
using Members = Range<Iterator<MemberStep<Handle>>>;
template <class Handle>
using Leaves = Range<Iterator<LeafStep<Handle>>>;
template <class Handle>
using Walk = Range<WalkIterator<Handle>>;

} // namespace detail
} // namespace nodetree

#if defined(__cpp_lib_ranges)
template <class I>
inline constexpr bool std::ranges::enable_view<nodetree::detail::Range<I>> = true;
template <class I>
inline constexpr bool std::ranges::enable_borrowed_range<nodetree::detail::Range<I>> = true;
#endif

#endif
