#ifndef NODETREE_CODEC_YAJL_MEMORY_HPP
#define NODETREE_CODEC_YAJL_MEMORY_HPP

#include <csetjmp>
#include <cstddef>
#include <span>
#include <yajl/yajl_common.h>

namespace nodetree {

/* The memory of one yajl parser or generator. yajl does not check its allocations, so a
   failed one leaves the call by a jump. What yajl was working on is then inconsistent,
   so all its blocks are listed and released here. A zero-filled object holds nothing. */
class YajlMemory {
public:
  // Takes the first blocks from `room`, which must outlive this and be aligned for all
  // types. What is there is used only once.
  void begin_in(std::span<std::byte> room) {
    room_ = room.data();
    room_size_ = room.size();
  }

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
    Block **place;    // the pointer to this block; NULL for one in the room
    std::size_t size; // of one in the room
  };

  Block *take_room(std::size_t size);
  void *resize(Block *block, std::size_t size);
  static void *allocate(void *memory, std::size_t size);
  static void *reallocate(void *memory, void *bytes, std::size_t size);
  static void release_block(void *memory, void *bytes);

  std::jmp_buf exit_;
  Block *blocks_;
  std::byte *room_; // what is left of it
  std::size_t room_size_;
};

} // namespace nodetree

#endif
