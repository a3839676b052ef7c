/*
 * Owners of texts and buffers, and texts as arguments. Part of <nodetree.hpp>, which says
 * what holds for all of it.
 */
#ifndef NODETREE_CPP_OWNERS_HPP
#define NODETREE_CPP_OWNERS_HPP

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <nodetree.h>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

/// Marks an object or argument that the result must not outlive. Compilers that know the
/// mark warn.
#if defined(__has_cpp_attribute)
#if __has_cpp_attribute(clang::lifetimebound)
#define NODETREE_LIFETIMEBOUND [[clang::lifetimebound]]
#endif
#endif
#ifndef NODETREE_LIFETIMEBOUND
#define NODETREE_LIFETIMEBOUND
#endif

namespace nodetree {

/// The parts of the public classes, not for use by programs.
namespace detail {

inline void dispose(::node *n) noexcept {
  ::node_unref(n);
}
inline void dispose(char *text) noexcept {
  std::free(text);
}
inline void dispose(char **list) noexcept {
  ::sl_free(list);
}
inline void dispose(void **list) noexcept {
  ::vl_free(list, nullptr);
}
inline void dispose(::stringstream *stream) noexcept {
  ::stringstream_free(stream);
}

inline std::string_view view(const char *text) noexcept {
  return text ? std::string_view(text) : std::string_view();
}

/// Owns a C object; the base of all owners.
template <class Self, class Raw>
class Owner {
public:
  Owner() noexcept = default;
  Owner(Owner &&other) noexcept : raw_(other.release()) {}
  Owner &operator=(Owner &&other) noexcept {
    Raw old = std::exchange(raw_, other.release());
    if (old)
      dispose(old);
    return *this;
  }
  ~Owner() {
    if (raw_)
      dispose(raw_);
  }

  /// Takes an object over from the caller. Null makes an owner that holds nothing.
  [[nodiscard]] static Self adopt(Raw raw) noexcept {
    Self owner;
    static_cast<Owner &>(owner).raw_ = raw;
    return owner;
  }
  /// Gives the object up to the caller, who releases it. The owner then holds nothing.
  [[nodiscard]] Raw release() noexcept { return std::exchange(raw_, nullptr); }
  /// Releases the object now.
  void reset() noexcept { *this = Owner(); }
  /// The object, borrowed, for calls in C; null when there is none.
  Raw get() const noexcept NODETREE_LIFETIMEBOUND { return raw_; }
  /// Whether an object is held.
  explicit operator bool() const noexcept { return raw_ != nullptr; }

private:
  Raw raw_ = nullptr;
};

} // namespace detail

/// Owns a text from malloc(), as the library makes them. A Text without one is false and
/// reads as "". A view of a temporary Text does not compile: keep the Text, or copy it with
/// str().
class Text : public detail::Owner<Text, char *> {
public:
  /// The text, borrowed; null without one.
  const char *c_str() const noexcept NODETREE_LIFETIMEBOUND { return get(); }
  /// The text, borrowed. Deleted for temporaries. O(n).
  operator std::string_view() const &noexcept NODETREE_LIFETIMEBOUND {
    return detail::view(get());
  }
  operator std::string_view() const && = delete;
  /// A copy, which may throw std::bad_alloc.
  std::string str() const { return std::string(detail::view(get())); }
  /// The length in bytes. O(n).
  std::size_t size() const noexcept { return detail::view(get()).size(); }
  /// Whether there is no text or an empty one.
  bool empty() const noexcept { return ::string_empty(get()); }
};

/// Owns a buffer from malloc(), which may contain NULs.
class Bytes : public detail::Owner<Bytes, char *> {
public:
  /// Takes over a buffer of `size` bytes.
  [[nodiscard]] static Bytes adopt(char *data, std::size_t size) noexcept {
    Bytes bytes = Owner::adopt(data);
    bytes.size_ = size;
    return bytes;
  }
  /// The bytes, borrowed; null without a buffer.
  const char *data() const noexcept NODETREE_LIFETIMEBOUND { return get(); }
  /// The number of bytes.
  std::size_t size() const noexcept { return get() ? size_ : 0; }
  /// The bytes, borrowed. Deleted for temporaries.
  operator std::string_view() const &noexcept NODETREE_LIFETIMEBOUND {
    return {get(), size()};
  }
  operator std::string_view() const && = delete;
  /// A copy, which may throw std::bad_alloc.
  std::string str() const { return get() ? std::string(get(), size_) : std::string(); }

private:
  std::size_t size_ = 0;
};

namespace detail {

/// Anything that converts to std::string_view, without the null pointer constant.
template <class T>
inline constexpr bool is_text = std::is_convertible_v<const T &, std::string_view> &&
                                !std::is_same_v<T, std::nullptr_t>;
template <class T>
using if_other_text = std::enable_if_t<is_text<T> && !std::is_same_v<T, Text>, int>;

} // namespace detail

/// Bytes as an argument, for the call: a C string, which may be NULL, or anything that
/// converts to std::string_view. A char array counts as a C string and ends at its first
/// NUL; bytes that may contain NULs are passed as std::string_view(bytes, size).
class Chars {
public:
  /// A C string; NULL is no text.
  Chars(const char *text) noexcept : view_(detail::view(text)), null_(!text) {}
  /// Any other text or run of bytes.
  template <class T,
            class = std::enable_if_t<std::is_convertible_v<const T &, std::string_view> &&
                                     !std::is_convertible_v<const T &, const char *>>>
  Chars(const T &text) noexcept : view_(text) {}
  /// The bytes, borrowed.
  std::string_view view() const noexcept { return view_; }
  /// Never null.
  const char *data() const noexcept { return view_.empty() ? "" : view_.data(); }
  /// The number of bytes.
  std::size_t size() const noexcept { return view_.size(); }
  /// Whether this is a text: not NULL and without a NUL among the bytes. O(n).
  bool is_text() const noexcept {
    return !null_ && (view_.empty() || !std::memchr(view_.data(), '\0', view_.size()));
  }

private:
  std::string_view view_;
  bool null_ = false;
};

/// A C string as an argument, for the call. C strings, std::string and Text are passed on;
/// other string views are copied to add the final NUL, without an allocation up to 127
/// bytes. NULL, a Text without a text, a text with a NUL inside, and any text when memory
/// runs out name nothing: the call then finds nothing or fails.
class CString {
public:
  CString(const char *text) noexcept : text_(text) {}
  /// The text as it is.
  CString(const Text &text) noexcept : text_(text.c_str()) {}
  template <class T,
            class = std::enable_if_t<std::is_convertible_v<const T &, std::string_view> &&
                                     !std::is_convertible_v<const T &, const char *>>>
  CString(const T &text) noexcept {
    const Chars given(text);
    if (given.size() == 0)
      text_ = "";
    else if (given.is_text())
      text_ = ended(text, 0);
  }
  CString(const CString &) = delete;
  CString &operator=(const CString &) = delete;
  ~CString() {
    if (heap_)
      std::free(heap_);
  }
  /// The C string, borrowed; null when it names nothing.
  const char *get() const noexcept { return text_; }

private:
  template <class T>
  auto ended(const T &text, int) noexcept -> decltype(text.c_str()) {
    return text.c_str();
  }
  const char *ended(std::string_view text, long) noexcept {
    char *own = text.size() < sizeof room_
                    ? room_
                    : heap_ = static_cast<char *>(std::malloc(text.size() + 1));
    if (own) {
      std::memcpy(own, text.data(), text.size());
      own[text.size()] = '\0';
    }
    return own;
  }
  const char *text_ = nullptr;
  char *heap_ = nullptr;
  char room_[128];
};

/// Compares the bytes. A Text without a text and a NULL C string count as "".
inline bool operator==(const Text &a, const Text &b) noexcept {
  return detail::view(a.c_str()) == detail::view(b.c_str());
}
/// The same for any other text.
template <class T, detail::if_other_text<T> = 0>
bool operator==(const Text &a, const T &b) noexcept {
  return detail::view(a.c_str()) == Chars(b).view();
}
/// The same, written the other way round.
template <class T, detail::if_other_text<T> = 0>
bool operator==(const T &a, const Text &b) noexcept {
  return b == a;
}
/// Not `==`.
inline bool operator!=(const Text &a, const Text &b) noexcept {
  return !(a == b);
}
/// Not `==`.
template <class T, detail::if_other_text<T> = 0>
bool operator!=(const Text &a, const T &b) noexcept {
  return !(a == b);
}
/// Not `==`.
template <class T, detail::if_other_text<T> = 0>
bool operator!=(const T &a, const Text &b) noexcept {
  return !(b == a);
}

} // namespace nodetree

#endif
