#include "codec/yajl_memory.hpp"

#include <cstdint>
#include <cstdlib>

namespace nodetree {

// A block that cannot be resized stays in the list.
void *YajlMemory::resize(Block *block, std::size_t size) {
  void *resized = nullptr;
  if (size <= SIZE_MAX - sizeof(Block))
    resized = std::realloc(block, sizeof(Block) + size);
  if (!resized)
    run_out();
  auto *held = static_cast<Block *>(resized);
  if (!block) {
    held->next = blocks_;
    held->place = &blocks_;
  }
  *held->place = held;
  if (held->next)
    held->next->place = &held->next;
  return held + 1;
}

void *YajlMemory::allocate(void *memory, std::size_t size) {
  return static_cast<YajlMemory *>(memory)->resize(nullptr, size);
}

void *YajlMemory::reallocate(void *memory, void *bytes, std::size_t size) {
  Block *block = bytes ? static_cast<Block *>(bytes) - 1 : nullptr;
  return static_cast<YajlMemory *>(memory)->resize(block, size);
}

void YajlMemory::release_block(void *, void *bytes) {
  if (!bytes)
    return;
  Block *block = static_cast<Block *>(bytes) - 1;
  *block->place = block->next;
  if (block->next)
    block->next->place = block->place;
  std::free(block);
}

void YajlMemory::release() {
  while (Block *block = blocks_) {
    blocks_ = block->next;
    std::free(block);
  }
}

} // namespace nodetree
