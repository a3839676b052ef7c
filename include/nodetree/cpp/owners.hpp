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

/// Marks what must not outlive the object or argument that it stands behind; compilers that
/// know the mark warn.
#if defined(__has_cpp_attribute)
#if __has_cpp_attribute(clang::lifetimebound)
#define NODETREE_LIFETIMEBOUND [[clang::lifetimebound]]
#endif
#endif
#ifndef NODETREE_LIFETIMEBOUND
#define NODETREE_LIFETIMEBOUND
#endif

namespace nodetree {

/// What the public classes are made of; not to be named by users.
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

/// The one owner of a C object.
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

  /// Takes over what the caller owned; null makes an empty owner.
  [[nodiscard]] static Self adopt(Raw raw) noexcept {
    Self owner;
    static_cast<Owner &>(owner).raw_ = raw;
    return owner;
  }
  /// Gives the object up to the caller, who releases it; nothing is held afterwards.
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

/// Owns a text that the library made (or any from malloc()). A text that could not be made
/// is nothing: false, and "" wherever it is read. The view of a temporary Text does not
/// compile: keep the Text, or take str().
class Text : public detail::Owner<Text, char *> {
public:
  /// The text, borrowed; null when there is none.
  const char *c_str() const noexcept NODETREE_LIFETIMEBOUND { return get(); }
  /// The text, borrowed. O(n), as is size().
  operator std::string_view() const &noexcept NODETREE_LIFETIMEBOUND {
    return detail::view(get());
  }
  operator std::string_view() const && = delete;
  /// A copy, made by std::string, which may throw what it throws.
  std::string str() const { return std::string(detail::view(get())); }
  /// The length in bytes.
  std::size_t size() const noexcept { return detail::view(get()).size(); }
  /// Whether there is no text, or one without a byte.
  bool empty() const noexcept { return ::string_empty(get()); }
};

/// Compares the bytes; nothing is as "".
inline bool operator==(const Text &a, std::string_view b) noexcept {
  return detail::view(a.c_str()) == b;
}
/// Not `==`.
inline bool operator!=(const Text &a, std::string_view b) noexcept {
  return !(a == b);
}
/// Compares the bytes of both.
inline bool operator==(const Text &a, const Text &b) noexcept {
  return a == detail::view(b.c_str());
}
/// Not `==`.
inline bool operator!=(const Text &a, const Text &b) noexcept {
  return !(a == b);
}

/// Owns a buffer of bytes from malloc(), which may hold NULs.
class Bytes : public detail::Owner<Bytes, char *> {
public:
  /// Takes `size` bytes over.
  [[nodiscard]] static Bytes adopt(char *data, std::size_t size) noexcept {
    Bytes bytes = Owner::adopt(data);
    bytes.size_ = size;
    return bytes;
  }
  /// The bytes, borrowed; null when there are none.
  const char *data() const noexcept NODETREE_LIFETIMEBOUND { return get(); }
  /// How many there are.
  std::size_t size() const noexcept { return get() ? size_ : 0; }
  /// The bytes, borrowed; not of a temporary.
  operator std::string_view() const &noexcept NODETREE_LIFETIMEBOUND {
    return {get(), size()};
  }
  operator std::string_view() const && = delete;
  /// A copy, made by std::string, which may throw what it throws.
  std::string str() const { return get() ? std::string(get(), size_) : std::string(); }

private:
  std::size_t size_ = 0;
};

/// Bytes as an argument, for the call: a C string (NULL for none), or anything else that a
/// std::string_view can be made of.
class Chars {
public:
  /// A C string, NULL for none.
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
  /// How many there are.
  std::size_t size() const noexcept { return view_.size(); }
  /// Whether this is a C string: not NULL and without a NUL among the bytes.
  bool is_text() const noexcept {
    return !null_ && (view_.empty() || !std::memchr(view_.data(), '\0', view_.size()));
  }

private:
  std::string_view view_;
  bool null_ = false;
};

/// A text as an argument: a C string or a std::string as it stands, any other string view
/// copied to end it with a NUL, up to 127 bytes without an allocation. A NULL, a Text that
/// is nothing, a text with a NUL inside and one for which there is no memory name nothing:
/// the call then finds nothing or fails. Lives for the call.
class CString {
public:
  CString(const char *text) noexcept : text_(text) {}
  /// The text, which names nothing where there is none.
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

} // namespace nodetree

#endif
