// Big-endian numbers, as in messages and as texts are compared.
#ifndef NODETREE_SHARED_BIG_ENDIAN_HPP
#define NODETREE_SHARED_BIG_ENDIAN_HPP

#include <cstdint>
#include <cstring>
#include <endian.h>
#include <type_traits>

namespace nodetree {

// Converts between big-endian and the machine's order, in both directions.
template <class Unsigned>
Unsigned swap_big_endian(Unsigned number) {
  static_assert(std::is_unsigned_v<Unsigned>);
  if constexpr (sizeof number == 1)
    return number;
  else if constexpr (sizeof number == 2)
    return be16toh(number);
  else if constexpr (sizeof number == 4)
    return be32toh(number);
  else
    return be64toh(number);
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
