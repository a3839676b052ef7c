// The first bytes of MessagePack values.
#ifndef NODETREE_CODEC_MPACK_FORM_HPP
#define NODETREE_CODEC_MPACK_FORM_HPP

#include "codec/mpack/mpack.h"
#include "shared/big_endian.hpp"

#include <array>

namespace nodetree {

// The meaning of a value's first byte.
struct Form {
  mpack_type_t type;
  std::uint8_t head;  // the number of bytes before the value's body or children
  std::uint8_t width; // how many of them hold its number or length
  std::int8_t number; // the number itself if the width is 0
};

inline constexpr Form long_forms[] = {
    {mpack_type_nil, 1, 0, 0},  {mpack_type_missing, 1, 0, 0}, {mpack_type_bool, 1, 0, 0},
    {mpack_type_bool, 1, 0, 1}, {mpack_type_bin, 2, 1, 0},     {mpack_type_bin, 3, 2, 0},
    {mpack_type_bin, 5, 4, 0},  {mpack_type_ext, 3, 1, 0},     {mpack_type_ext, 4, 2, 0},
    {mpack_type_ext, 6, 4, 0},  {mpack_type_float, 5, 4, 0},   {mpack_type_double, 9, 8, 0},
    {mpack_type_uint, 2, 1, 0}, {mpack_type_uint, 3, 2, 0},    {mpack_type_uint, 5, 4, 0},
    {mpack_type_uint, 9, 8, 0}, {mpack_type_int, 2, 1, 0},     {mpack_type_int, 3, 2, 0},
    {mpack_type_int, 5, 4, 0},  {mpack_type_int, 9, 8, 0},     {mpack_type_ext, 2, 0, 1},
    {mpack_type_ext, 2, 0, 2},  {mpack_type_ext, 2, 0, 4},     {mpack_type_ext, 2, 0, 8},
    {mpack_type_ext, 2, 0, 16}, {mpack_type_str, 2, 1, 0},     {mpack_type_str, 3, 2, 0},
    {mpack_type_str, 5, 4, 0},  {mpack_type_array, 3, 2, 0},   {mpack_type_array, 5, 4, 0},
    {mpack_type_map, 3, 2, 0},  {mpack_type_map, 5, 4, 0}};

constexpr Form form_of(unsigned tag) {
  auto short_form = [=](mpack_type_t type, unsigned mask) {
    return Form{type, 1, 0, static_cast<std::int8_t>(tag & mask)};
  };
  if (tag < 0x80)
    return short_form(mpack_type_uint, 0x7f);
  if (tag < 0x90)
    return short_form(mpack_type_map, 0x0f);
  if (tag < 0xa0)
    return short_form(mpack_type_array, 0x0f);
  if (tag < 0xc0)
    return short_form(mpack_type_str, 0x1f);
  if (tag < 0xe0)
    return long_forms[tag - 0xc0];
  return short_form(mpack_type_int, 0xff);
}

inline constexpr auto forms = [] {
  std::array<Form, 256> table{};
  for (unsigned tag = 0; tag < table.size(); tag++)
    table[tag] = form_of(tag);
  return table;
}();

// The number after a first byte, sign-extended to 64 bits if it is signed.
inline std::uint64_t number_at(const unsigned char *bytes, const Form &form) {
  if (form.width == 8) // as the bits of a real with 64 bits
    return load_big_endian<std::uint64_t>(bytes);
  bool sign = form.type == mpack_type_int;
  switch (form.width) {
  case 1:
    return sign ? static_cast<std::uint64_t>(static_cast<std::int8_t>(*bytes)) : *bytes;
  case 2: {
    auto number = load_big_endian<std::uint16_t>(bytes);
    return sign ? static_cast<std::uint64_t>(static_cast<std::int16_t>(number)) : number;
  }
  default: {
    auto number = load_big_endian<std::uint32_t>(bytes);
    return sign ? static_cast<std::uint64_t>(static_cast<std::int32_t>(number)) : number;
  }
  }
}

} // namespace nodetree

#endif
