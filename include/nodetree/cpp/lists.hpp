/*
 * String lists and value lists. Part of <nodetree.hpp>, which says what holds for all of
 * it.
 */
#ifndef NODETREE_CPP_LISTS_HPP
#define NODETREE_CPP_LISTS_HPP

#include <initializer_list>
#include <nodetree/cpp/ranges.hpp>

namespace nodetree {
namespace detail {

/// The items of an array that ends with a null pointer.
template <class Item, class Raw>
struct ListStep {
  using Top = Raw *;
  static Raw *first(Raw *list) noexcept { return *list ? list : nullptr; }
  static Raw *next(Raw *, Raw *at) noexcept { return at[1] ? at + 1 : nullptr; }
  static Item value(Raw *at) noexcept {
    if constexpr (std::is_constructible_v<Item, Raw>)
      return Item(*at);
    else if constexpr (std::is_pointer_v<Item>)
      return static_cast<Item>(*at);
    else
      return Item(static_cast<::node *>(*at));
  }
};

} // namespace detail

class StringsArg;
class StringList;

/// The questions that Strings and StringList share. Iterating gives borrowed
/// std::string_views.
template <class Self, class StringsArg, class StringList>
class StringsInterface {
public:
  using iterator =
      detail::Iterator<detail::Ahead<detail::ListStep<std::string_view, char *>>>;
  /// The strings in order, borrowed. Deleted for temporaries.
  iterator begin() const &noexcept NODETREE_LIFETIMEBOUND { return iterator(raw()); }
  iterator begin() const && = delete;
  iterator end() const noexcept { return {}; }
  /// sl_len(). O(n).
  std::size_t size() const noexcept { return ::sl_len(raw()); }
  bool empty() const noexcept { return ::sl_empty(raw()); }
  /// Whether the list holds the string. O(n).
  bool contains(const CString &string) const noexcept {
    return ::sl_contains(raw(), string.get());
  }
  /// sl_equals(): NULL equals NULL and nothing else. O(n).
  bool equals(StringsArg other) const noexcept { return ::_sl_equals(raw(), other.get()); }
  /// sl_join(): a new text for the caller, empty when memory runs out. O(n).
  Text join(const CString &separator) const noexcept {
    return Text::adopt(separator.get() ? ::sl_join(raw(), separator.get()) : nullptr);
  }
  /// sl_copy(): a new list for the caller. O(n).
  StringList copy() const noexcept { return StringList::adopt(::sl_copy(raw())); }

private:
  char **raw() const noexcept { return static_cast<const Self *>(this)->get(); }
};

/// Owns a string list.
class StringList : public detail::Owner<StringList, char **>,
                   public StringsInterface<StringList, StringsArg, StringList> {
public:
  StringList() noexcept = default;
  /// A list of copies. Holds no list when memory ran out. That reads like an empty list, so
  /// test it before it is used as a filter.
  explicit StringList(std::initializer_list<const char *> strings) noexcept {
    *this = adopt(strings.size() ? ::sl_appendn(nullptr, strings.begin(), strings.size())
                                 : ::_sl_new(nullptr));
  }
  /// sl_split(): the fields as a new list for the caller. O(n).
  static StringList split(const CString &text, char separator) noexcept {
    return adopt(::sl_split(text.get(), separator));
  }
  /// Appends a copy. False, with the list unchanged, for an argument that names nothing and
  /// when memory runs out. O(n).
  [[nodiscard]] bool append(const CString &string) noexcept {
    const char *text = string.get();
    char **grown = text ? ::sl_appendn(get(), &text, 1) : nullptr;
    if (grown) {
      (void)release();
      *this = adopt(grown);
    }
    return grown != nullptr;
  }
  /// sl_sort(): by byte values. O(n log n).
  void sort() noexcept { ::sl_sort(get()); }
  /// sl_reverse(). O(n).
  void reverse() noexcept { ::sl_reverse(get()); }
};

/// A borrowed string list, which may be NULL.
class Strings : public StringsInterface<Strings, StringsArg, StringList> {
public:
  Strings() noexcept = default;
  Strings(char **list) noexcept : raw_(list) {}
  /// Borrows the list. Deleted for temporaries.
  Strings(const StringList &list NODETREE_LIFETIMEBOUND) noexcept : raw_(list.get()) {}
  Strings(const StringList &&) = delete;
  char **get() const noexcept { return raw_; }
  /// Whether the list is not NULL; an empty list is not NULL.
  explicit operator bool() const noexcept { return raw_ != nullptr; }

private:
  char **raw_ = nullptr;
};

/// A string list as an argument that is only read, for the call: Strings, a `char **`, or a
/// StringList, which may be a temporary.
class StringsArg {
public:
  /// NULL, an empty list.
  StringsArg() noexcept = default;
  /// The list, which may be NULL.
  StringsArg(char **list) noexcept : raw_(list) {}
  StringsArg(Strings list) noexcept : raw_(list.get()) {}
  StringsArg(const StringList &list) noexcept : raw_(list.get()) {}
  /// The list, borrowed; may be null.
  char **get() const noexcept { return raw_; }

private:
  char **raw_ = nullptr;
};

/// Owns a value list but not what its elements point to. Item is a pointer, View or Ref.
template <class Item>
class ValueList : public detail::Owner<ValueList<Item>, void **> {
public:
  using iterator = detail::Iterator<detail::Ahead<detail::ListStep<Item, void *>>>;
  /// The elements in order, borrowed. Deleted for temporaries.
  iterator begin() const &noexcept NODETREE_LIFETIMEBOUND { return iterator(this->get()); }
  iterator begin() const && = delete;
  iterator end() const noexcept { return {}; }
  /// vl_len(). O(n).
  std::size_t size() const noexcept { return ::vl_len(this->get()); }
  bool empty() const noexcept { return ::vl_empty(this->get()); }
};

} // namespace nodetree

#if defined(__cpp_lib_ranges)
template <>
inline constexpr bool std::ranges::enable_view<nodetree::Strings> = true;
template <>
inline constexpr bool std::ranges::enable_borrowed_range<nodetree::Strings> = true;
#endif

#endif
