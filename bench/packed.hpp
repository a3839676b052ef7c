// The least that reading MessagePack takes: the forms that trees of JSON's values are
// written in, one value after another.
#pragma once

#include "floor.hpp"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <endian.h>
#include <stdexcept>
#include <string_view>

namespace bench {

// A value; of a container or a text what comes before its content.
struct packed_value {
  floor_kind kind;
  union {
    bool boolean;
    std::int64_t integer;
    double real;
    std::uint64_t count; // bytes of a text, children of a container
  };
};

class packed_reader {
public:
  explicit packed_reader(std::string_view bytes) : rest_(bytes) {}

  std::string_view take(std::uint64_t count) {
    if (count > rest_.size())
      throw std::runtime_error("MessagePack ends early");
    std::string_view result = rest_.substr(0, count);
    rest_.remove_prefix(count);
    return result;
  }

  packed_value next() {
    auto tag = static_cast<std::uint8_t>(take(1).front());
    if (tag < 0x80 || tag >= 0xe0)
      return integer(static_cast<std::int8_t>(tag));
    if (tag < 0x90)
      return sized(floor_kind::object, tag & 0x0f);
    if (tag < 0xa0)
      return sized(floor_kind::array, tag & 0x0f);
    if (tag < 0xc0)
      return sized(floor_kind::string, tag & 0x1f);
    return long_form(tag);
  }

private:
  packed_value long_form(std::uint8_t tag) {
    switch (tag) {
    case 0xc0:
      return {floor_kind::null, {}};
    case 0xc2:
    case 0xc3:
      return {floor_kind::boolean, {tag == 0xc3}};
    case 0xcb:
      return {floor_kind::real, {.real = std::bit_cast<double>(number<std::uint64_t>())}};
    case 0xcc:
      return integer(number<std::uint8_t>());
    case 0xcd:
      return integer(number<std::uint16_t>());
    case 0xce:
      return integer(number<std::uint32_t>());
    case 0xcf:
    case 0xd3:
      return integer(static_cast<std::int64_t>(number<std::uint64_t>()));
    case 0xd0:
      return integer(static_cast<std::int8_t>(number<std::uint8_t>()));
    case 0xd1:
      return integer(static_cast<std::int16_t>(number<std::uint16_t>()));
    case 0xd2:
      return integer(static_cast<std::int32_t>(number<std::uint32_t>()));
    case 0xd9:
      return sized(floor_kind::string, number<std::uint8_t>());
    case 0xda:
      return sized(floor_kind::string, number<std::uint16_t>());
    case 0xdb:
      return sized(floor_kind::string, number<std::uint32_t>());
    case 0xdc:
      return sized(floor_kind::array, number<std::uint16_t>());
    case 0xdd:
      return sized(floor_kind::array, number<std::uint32_t>());
    case 0xde:
      return sized(floor_kind::object, number<std::uint16_t>());
    case 0xdf:
      return sized(floor_kind::object, number<std::uint32_t>());
    default:
      throw std::runtime_error("not a form of MessagePack that JSON needs");
    }
  }

  static packed_value integer(std::int64_t value) {
    return {floor_kind::integer, {.integer = value}};
  }

  static packed_value sized(floor_kind kind, std::uint64_t count) {
    return {kind, {.count = count}};
  }

  template <typename Unsigned>
  Unsigned number() {
    Unsigned result;
    std::memcpy(&result, take(sizeof result).data(), sizeof result);
    if constexpr (sizeof result == 2)
      return be16toh(result);
    else if constexpr (sizeof result == 4)
      return be32toh(result);
    else if constexpr (sizeof result == 8)
      return be64toh(result);
    else
      return result;
  }

  std::string_view rest_;
};

} // namespace bench
