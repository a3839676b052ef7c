/*
 * String lists, value lists and what iterates. Part of <nodetree.hpp>, which says what
 * holds for all of it.
 */
#ifndef NODETREE_CPP_LISTS_HPP
#define NODETREE_CPP_LISTS_HPP

#include <initializer_list>
#include <nodetree/cpp/ranges.hpp>

namespace nodetree {
namespace detail {

/// The items of an array that a null pointer ends.
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

class Strings;
class StringList;

/// What Strings and StringList read alike; iterating gives std::string_view, borrowed.
template <class Self, class Strings, class StringList>
class StringsInterface {
public:
  using iterator = detail::Iterator<detail::ListStep<std::string_view, char *>>;
  /// The strings in order, borrowed; not from a temporary.
  iterator begin() const &noexcept NODETREE_LIFETIMEBOUND { return iterator(raw()); }
  iterator begin() const && = delete;
  iterator end() const noexcept { return {}; }
  /// sl_len(). O(n).
  std::size_t size() const noexcept { return ::sl_len(raw()); }
  bool empty() const noexcept { return ::sl_empty(raw()); }
  /// Whether the list has the string.
  bool contains(const CString &string) const noexcept {
    return ::sl_contains(raw(), string.get());
  }
  /// sl_equals(): a list that is NULL equals no other.
  bool equals(Strings other) const noexcept { return ::_sl_equals(raw(), other.get()); }
  /// A new text for the caller.
  Text join(const CString &separator) const noexcept {
    return Text::adopt(separator.get() ? ::sl_join(raw(), separator.get()) : nullptr);
  }
  /// sl_copy(): a new list for the caller.
  StringList copy() const noexcept { return StringList::adopt(::sl_copy(raw())); }

private:
  char **raw() const noexcept { return static_cast<const Self *>(this)->get(); }
};

/// Owns a string list.
class StringList : public detail::Owner<StringList, char **>,
                   public StringsInterface<StringList, Strings, StringList> {
public:
  StringList() noexcept = default;
  /// A list of copies; false when memory ran out, which reads like an empty list: test it
  /// before it is used as a filter.
  explicit StringList(std::initializer_list<const char *> strings) noexcept {
    *this = adopt(strings.size() ? ::sl_appendn(nullptr, strings.begin(), strings.size())
                                 : ::_sl_new(nullptr));
  }
  /// sl_split(): the fields as a new list for the caller.
  static StringList split(const CString &text, char separator) noexcept {
    return adopt(::sl_split(text.get(), separator));
  }
  /// Appends a copy; false, with the list as it was, for no memory and what names nothing.
  /// O(n).
  [[nodiscard]] bool append(const CString &string) noexcept {
    const char *text = string.get();
    char **grown = text ? ::sl_appendn(get(), &text, 1) : nullptr;
    if (grown) {
      (void)release();
      *this = adopt(grown);
    }
    return grown != nullptr;
  }
  void sort() noexcept { ::sl_sort(get()); }
  void reverse() noexcept { ::sl_reverse(get()); }
};

/// A borrowed string list, which may be NULL.
class Strings : public StringsInterface<Strings, Strings, StringList> {
public:
  Strings() noexcept = default;
  Strings(char **list) noexcept : raw_(list) {}
  Strings(const StringList &list NODETREE_LIFETIMEBOUND) noexcept : raw_(list.get()) {}
  char **get() const noexcept { return raw_; }
  explicit operator bool() const noexcept { return raw_ != nullptr; }

private:
  char **raw_ = nullptr;
};

/// Owns a value list but not what its elements point to. Item is a pointer, View or Ref.
template <class Item>
class ValueList : public detail::Owner<ValueList<Item>, void **> {
public:
  using iterator = detail::Iterator<detail::ListStep<Item, void *>>;
  /// The elements in order, borrowed.
  iterator begin() const &noexcept NODETREE_LIFETIMEBOUND { return iterator(this->get()); }
  iterator begin() const && = delete;
  iterator end() const noexcept { return {}; }
  /// vl_len(). O(n).
  std::size_t size() const noexcept { return ::vl_len(this->get()); }
  bool empty() const noexcept { return ::vl_empty(this->get()); }
};

} // namespace nodetree

#endif
