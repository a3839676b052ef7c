#include "codec/mpack/mpack.h"
#include "shared/big_endian.hpp"

#include <bit>
#include <cstdlib>

using namespace nodetree;

namespace {

constexpr std::size_t smallest_buffer = 256;
constexpr std::size_t largest_head = 9;

bool grow(mpack_writer_t *writer, std::size_t count) {
  std::size_t written = static_cast<std::size_t>(writer->end - writer->start);
  std::size_t room = static_cast<std::size_t>(writer->limit - writer->start) * 2;
  if (room < smallest_buffer)
    room = smallest_buffer;
  if (room < written + count)
    room = written + count;
  void *buffer = std::realloc(writer->start, room);
  if (!buffer) {
    mpack_writer_flag_error(writer, mpack_error_memory);
    return false;
  }
  writer->start = static_cast<char *>(buffer);
  writer->end = writer->start + written;
  writer->limit = writer->start + room;
  return true;
}

// Makes room for `size` more bytes. Always false after an error.
bool reserve(mpack_writer_t *writer, std::size_t count) {
  if (writer->error != mpack_ok)
    return false;
  return static_cast<std::size_t>(writer->limit - writer->end) >= count ||
         grow(writer, count);
}

void put_byte(mpack_writer_t *writer, unsigned byte) {
  *writer->end++ = static_cast<char>(byte);
}

// Writes the first byte of a form and the number after it.
template <class Unsigned>
void put(mpack_writer_t *writer, unsigned tag, Unsigned number) {
  put_byte(writer, tag);
  store_big_endian(writer->end, number);
  writer->end += sizeof number;
}

// The first bytes of the forms for a length. `shortest` contains lengths below `limit`;
// `byte` is 0 if there is no such form.
struct LengthForms {
  unsigned shortest, limit, byte, two_bytes, four_bytes;
};
constexpr LengthForms text_forms{0xa0, 32, 0xd9, 0xda, 0xdb};
constexpr LengthForms array_forms{0x90, 16, 0, 0xdc, 0xdd};
constexpr LengthForms map_forms{0x80, 16, 0, 0xde, 0xdf};

// There must be room for the largest head.
void put_length(mpack_writer_t *writer, const LengthForms &forms, std::uint32_t length) {
  if (length < forms.limit)
    put_byte(writer, forms.shortest | length);
  else if (forms.byte && length <= UINT8_MAX)
    put(writer, forms.byte, static_cast<std::uint8_t>(length));
  else if (length <= UINT16_MAX)
    put(writer, forms.two_bytes, static_cast<std::uint16_t>(length));
  else
    put(writer, forms.four_bytes, length);
}

void put_natural(mpack_writer_t *writer, std::uint64_t value) {
  if (value < 0x80)
    put_byte(writer, static_cast<unsigned>(value));
  else if (value <= UINT8_MAX)
    put(writer, 0xcc, static_cast<std::uint8_t>(value));
  else if (value <= UINT16_MAX)
    put(writer, 0xcd, static_cast<std::uint16_t>(value));
  else if (value <= UINT32_MAX)
    put(writer, 0xce, static_cast<std::uint32_t>(value));
  else
    put(writer, 0xcf, value);
}

void put_negative(mpack_writer_t *writer, std::int64_t value) {
  if (value >= -32)
    put_byte(writer, static_cast<std::uint8_t>(value));
  else if (value >= INT8_MIN)
    put(writer, 0xd0, static_cast<std::uint8_t>(value));
  else if (value >= INT16_MIN)
    put(writer, 0xd1, static_cast<std::uint16_t>(value));
  else if (value >= INT32_MIN)
    put(writer, 0xd2, static_cast<std::uint32_t>(value));
  else
    put(writer, 0xd3, static_cast<std::uint64_t>(value));
}

} // namespace

void mpack_writer_init_growable(mpack_writer_t *writer, char **data, std::size_t *size) {
  *data = nullptr;
  *size = 0;
  *writer = {};
  writer->data = data;
  writer->size = size;
}

mpack_error_t mpack_writer_destroy(mpack_writer_t *writer) {
  if (writer->error != mpack_ok || writer->start == writer->end) {
    std::free(writer->start);
    return writer->error;
  }
  *writer->size = static_cast<std::size_t>(writer->end - writer->start);
  void *fitted = std::realloc(writer->start, *writer->size);
  *writer->data = fitted ? static_cast<char *>(fitted) : writer->start;
  return mpack_ok;
}

void mpack_write_nil(mpack_writer_t *writer) {
  if (reserve(writer, 1))
    put_byte(writer, 0xc0);
}

void mpack_write_bool(mpack_writer_t *writer, bool value) {
  if (reserve(writer, 1))
    put_byte(writer, value ? 0xc3 : 0xc2);
}

void mpack_write_i64(mpack_writer_t *writer, std::int64_t value) {
  if (!reserve(writer, largest_head))
    return;
  if (value >= 0)
    put_natural(writer, static_cast<std::uint64_t>(value));
  else
    put_negative(writer, value);
}

void mpack_write_double(mpack_writer_t *writer, double value) {
  if (reserve(writer, largest_head))
    put(writer, 0xcb, std::bit_cast<std::uint64_t>(value));
}

void mpack_write_cstr(mpack_writer_t *writer, const char *text) {
  std::size_t length = std::strlen(text);
  if (length > UINT32_MAX) {
    mpack_writer_flag_error(writer, mpack_error_too_big);
    return;
  }
  if (!reserve(writer, largest_head + length))
    return;
  put_length(writer, text_forms, static_cast<std::uint32_t>(length));
  std::memcpy(writer->end, text, length);
  writer->end += length;
}

void mpack_start_array(mpack_writer_t *writer, std::uint32_t count) {
  if (reserve(writer, largest_head))
    put_length(writer, array_forms, count);
}

void mpack_start_map(mpack_writer_t *writer, std::uint32_t count) {
  if (reserve(writer, largest_head))
    put_length(writer, map_forms, count);
}
