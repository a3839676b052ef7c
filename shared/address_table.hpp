// Notes about objects in memory, found by their addresses.
#ifndef NODETREE_SHARED_ADDRESS_TABLE_HPP
#define NODETREE_SHARED_ADDRESS_TABLE_HPP

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <type_traits>

namespace nodetree {

// One or two addresses. The first is not NULL.
struct Address {
  const void *first;
  const void *second = nullptr;
  bool operator==(const Address &) const = default;
};

// A hash table with open addressing. It allocates with the first note. Notes are not
// removed.
template <class Note>
class AddressTable {
  static_assert(std::is_trivially_copyable_v<Note>);

public:
  AddressTable() = default;
  AddressTable(const AddressTable &) = delete;
  AddressTable &operator=(const AddressTable &) = delete;
  ~AddressTable() {
    if (slots_) // most tables are never used
      std::free(slots_);
  }

  bool empty() const { return count_ == 0; }

  // The note; NULL for none. Adding another note moves it.
  Note *find(Address key) const {
    if (count_ == 0)
      return nullptr;
    Slot *slot = place_of(key);
    return slot->key.first ? &slot->note : nullptr;
  }

  // Finds or adds a note. A new one is all zero. NULL when memory runs out.
  Note *add(Address key) {
    if (Note *known = find(key))
      return known;
    // At most two thirds are in use, so that searches are short and end.
    if (3 * (count_ + 1) > 2 * capacity_ && !grow())
      return nullptr;
    Slot *slot = place_of(key);
    slot->key = key;
    count_++;
    return &slot->note;
  }

private:
  struct Slot {
    Address key;
    [[no_unique_address]] Note note;
  };

  Slot *place_of(Address key) const {
    constexpr std::uint64_t odd = 0x9e3779b97f4a7c15; // spreads neighbours over all bits
    auto hash = reinterpret_cast<std::uintptr_t>(key.first) * odd;
    hash = ((hash >> 32) ^ reinterpret_cast<std::uintptr_t>(key.second)) * odd;
    for (auto at = static_cast<std::size_t>(hash >> 32);; at++) {
      Slot *slot = &slots_[at & (capacity_ - 1)];
      if (!slot->key.first || slot->key == key)
        return slot;
    }
  }

  bool grow() {
    Slot *old = slots_;
    const std::size_t old_capacity = capacity_;
    const std::size_t capacity = old_capacity ? 2 * old_capacity : 8;
    auto *slots = static_cast<Slot *>(std::calloc(capacity, sizeof(Slot)));
    if (!slots)
      return false;
    slots_ = slots;
    capacity_ = capacity;
    for (Slot *slot = old; slot != old + old_capacity; slot++)
      if (slot->key.first)
        *place_of(slot->key) = *slot;
    std::free(old);
    return true;
  }

  Slot *slots_ = nullptr;
  std::size_t count_ = 0;
  std::size_t capacity_ = 0; // a power of two
};

// A set of addresses or pairs.
class AddressSet {
public:
  bool empty() const { return table_.empty(); }
  bool contains(Address key) const { return table_.find(key); }

  enum class Result { added, known, failed };
  Result add(Address key) {
    if (contains(key))
      return Result::known;
    return table_.add(key) ? Result::added : Result::failed;
  }

private:
  struct Nothing {};
  AddressTable<Nothing> table_;
};

} // namespace nodetree

#endif
