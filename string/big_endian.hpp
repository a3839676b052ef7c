// Numbers whose most significant byte comes first, as messages hold them and texts compare.
#ifndef NODETREE_STRING_BIG_ENDIAN_HPP
#define NODETREE_STRING_BIG_ENDIAN_HPP

#include <bit>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace nodetree {

// The same number for use in memory, or back again.
template <class Unsigned>
Unsigned swap_big_endian(Unsigned number) {
  static_assert(std::is_unsigned_v<Unsigned>);
  if constexpr (std::endian::native == std::endian::big || sizeof number == 1)
    return number;
  else if constexpr (sizeof number == 2)
    return __builtin_bswap16(number);
  else if constexpr (sizeof number == 4)
    return __builtin_bswap32(number);
  else
    return __builtin_bswap64(number);
}

template <class Unsigned>
Unsigned load_big_endian(const void *bytes) {
  Unsigned number;
  std::memcpy(&number, bytes, sizeof number);
  return swap_big_endian(number);
}

template <class Unsigned>
void store_big_endian(void *bytes, Unsigned number) {
  number = swap_big_endian(number);
  std::memcpy(bytes, &number, sizeof number);
}

} // namespace nodetree

#endif
