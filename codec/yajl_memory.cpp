#include "codec/yajl_memory.hpp"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

namespace nodetree {

// A block of so many bytes from the room; NULL where too little is left.
YajlMemory::Block *YajlMemory::take_room(std::size_t size) {
  if (room_size_ < sizeof(Block) || size > room_size_ - sizeof(Block))
    return nullptr;
  auto *block = ::new (room_) Block{nullptr, nullptr, size};
  const std::size_t whole = (sizeof(Block) + size + alignof(Block) - 1) & -alignof(Block);
  const std::size_t taken = std::min(whole, room_size_);
  room_ += taken;
  room_size_ -= taken;
  return block;
}

// A new block in the list, or the same with another size. One that cannot be resized stays
// in the list.
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
  auto *self = static_cast<YajlMemory *>(memory);
  Block *block = self->take_room(size);
  return block ? block + 1 : self->resize(nullptr, size);
}

void *YajlMemory::reallocate(void *memory, void *bytes, std::size_t size) {
  Block *block = bytes ? static_cast<Block *>(bytes) - 1 : nullptr;
  if (block && block->place)
    return static_cast<YajlMemory *>(memory)->resize(block, size);
  void *moved = allocate(memory, size);
  if (block)
    std::memcpy(moved, bytes, std::min(block->size, size));
  return moved;
}

void YajlMemory::release_block(void *, void *bytes) {
  Block *block = bytes ? static_cast<Block *>(bytes) - 1 : nullptr;
  if (!block || !block->place) // nothing, or in the room
    return;
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
