// A growing array for pending work and for results.
#ifndef NODETREE_SHARED_STACK_HPP
#define NODETREE_SHARED_STACK_HPP

#include <cstddef>
#include <cstdlib>
#include <type_traits>

namespace nodetree {

template <class T>
class Stack {
  static_assert(std::is_trivially_copyable_v<T>);

public:
  Stack() = default;
  Stack(const Stack &) = delete;
  Stack &operator=(const Stack &) = delete;
  ~Stack() { std::free(items_); }

  bool empty() const { return size_ == 0; }
  std::size_t size() const { return size_; }
  const T &operator[](std::size_t i) const { return items_[i]; }
  T &back() { return items_[size_ - 1]; }
  const T &back() const { return items_[size_ - 1]; }
  void pop() { size_--; }

  // False, with nothing changed, when memory runs out.
  bool push(const T &item) {
    if (size_ == capacity_ && !grow())
      return false;
    items_[size_++] = item;
    return true;
  }

  // Hands the items over as an array from malloc() of exactly their size.
  T *take() {
    T *items = items_;
    if (void *fitted = std::realloc(items_, size_ * sizeof(T)))
      items = static_cast<T *>(fitted);
    items_ = nullptr;
    size_ = capacity_ = 0;
    return items;
  }

private:
  [[gnu::noinline]] bool grow() {
    std::size_t capacity = capacity_ ? capacity_ * 2 : 8;
    // NOLINTNEXTLINE(bugprone-sizeof-expression): T may be a pointer
    void *items = std::realloc(items_, capacity * sizeof(T));
    if (!items)
      return false;
    items_ = static_cast<T *>(items);
    capacity_ = capacity;
    return true;
  }

  T *items_ = nullptr;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

} // namespace nodetree

#endif
