#ifndef NODETREE_CODEC_YAJL_MEMORY_HPP
#define NODETREE_CODEC_YAJL_MEMORY_HPP

#include <csetjmp>
#include <cstddef>
#include <yajl/yajl_common.h>

namespace nodetree {

/* The memory of one yajl parser or generator. yajl does not check its allocations, so a
   failed one leaves the call by a jump. What yajl was working on is then inconsistent,
   so all its blocks are listed and released here. A zero-filled object holds nothing. */
class YajlMemory {
public:
  yajl_alloc_funcs functions() { return {allocate, reallocate, release_block, this}; }

  // Runs `enter`, which calls yajl. False when memory ran out: yajl must not be called
  // again. A jump skips all frames between this one and yajl's callbacks, so none may need
  // a destructor.
  template <class Enter>
  bool run(Enter enter) {
    if (setjmp(exit_) != 0)
      return false;
    enter();
    return true;
  }

  // For yajl's callbacks: leaves run() because memory ran out.
  [[noreturn]] void run_out() { std::longjmp(exit_, 1); }

  // Releases all blocks of yajl.
  void release();

private:
  struct alignas(std::max_align_t) Block {
    Block *next;
    Block **place; // the pointer to this block
  };

  void *resize(Block *block, std::size_t size);
  static void *allocate(void *memory, std::size_t size);
  static void *reallocate(void *memory, void *bytes, std::size_t size);
  static void release_block(void *memory, void *bytes);

  std::jmp_buf exit_;
  Block *blocks_;
};

} // namespace nodetree

#endif
