// The owner of memory from malloc().
#ifndef NODETREE_SHARED_MEMORY_HPP
#define NODETREE_SHARED_MEMORY_HPP

#include <cstdlib>
#include <memory>

namespace nodetree {

struct Free {
  void operator()(void *memory) const { std::free(memory); }
};

template <class T>
using MallocOwner = std::unique_ptr<T, Free>;
using Text = MallocOwner<char>;

} // namespace nodetree

#endif
