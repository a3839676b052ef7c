#ifndef NODETREE_CODEC_YAJL_MEMORY_HPP
#define NODETREE_CODEC_YAJL_MEMORY_HPP

#include <csetjmp>
#include <cstddef>
#include <yajl/yajl_common.h>

namespace nodetree {

/* The memory of one yajl parser or generator. yajl does not look whether it gets any, so
   where there is none its call is left by a jump, and as what it was working on is not
   whole then, everything it has is released here. Zero-filled holds nothing. */
class YajlMemory {
public:
  yajl_alloc_funcs functions() { return {allocate, reallocate, release_block, this}; }

  // Runs `enter`, which calls yajl: false when memory ran out. No frame between it and what
  // yajl calls may have to be left in order. yajl must not be called again then.
  template <class Enter>
  bool run(Enter enter) {
    if (setjmp(exit_) != 0)
      return false;
    enter();
    return true;
  }

  // For what yajl calls back: ends run(), where memory ran out.
  [[noreturn]] void run_out() { std::longjmp(exit_, 1); }

  // What yajl has is gone.
  void release();

private:
  struct alignas(std::max_align_t) Block {
    Block *next;
    Block **place; // what points to this block
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
