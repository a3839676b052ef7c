// Memory from malloc().
#ifndef NODETREE_SHARED_MEMORY_HPP
#define NODETREE_SHARED_MEMORY_HPP

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

namespace nodetree {

struct Free {
  void operator()(void *memory) const { std::free(memory); }
};

template <class T>
using MallocOwner = std::unique_ptr<T, Free>;
using Text = MallocOwner<char>;

// A copy that a NUL ends; NULL when memory runs out.
inline char *copy_text(std::string_view text) {
  auto *copy = static_cast<char *>(std::malloc(text.size() + 1));
  if (copy) {
    std::memcpy(copy, text.data(), text.size());
    copy[text.size()] = '\0';
  }
  return copy;
}

} // namespace nodetree

#endif
