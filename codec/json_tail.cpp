#include "codec/json_tail.hpp"

#include <algorithm>
#include <array>
#include <cstring>

namespace nodetree {
namespace {

// Rescanning a shorter token costs less than holding it back.
constexpr std::size_t long_token = 32;

bool is_digit(unsigned char byte) {
  return byte >= '0' && byte <= '9';
}

bool is_hex_digit(unsigned char byte) {
  const int lower = byte | 0x20;
  return is_digit(byte) || (lower >= 'a' && lower <= 'f');
}

// Bytes that only continue a string. A table, because most bytes that are held back are of
// this kind.
constexpr auto plain = [] {
  std::array<bool, 256> table{};
  for (unsigned byte = ' '; byte < table.size(); byte++)
    table[byte] = byte != '"' && byte != '\\';
  return table;
}();

bool is_plain(unsigned char byte) {
  return plain[byte];
}

} // namespace

bool JsonToken::enter(State next, bool goes_on) {
  state = next;
  return goes_on;
}

bool JsonToken::begin(unsigned char byte) {
  length = 1;
  if (byte == '"')
    return enter(State::string);
  if (byte == '/')
    return enter(State::slash);
  if (is_digit(byte) || byte == '-')
    return enter(State::number);
  length = 0;
  return enter(State::none, false);
}

bool JsonToken::read_in_string(unsigned char byte) {
  if (hex_digits != 0) {
    hex_digits--;
    return is_hex_digit(byte);
  }
  if (byte == '\\')
    return enter(State::escape);
  return is_plain(byte);
}

bool JsonToken::read_escape(unsigned char byte) {
  if (byte == 'u')
    hex_digits = 4;
  return enter(State::string, std::memchr("\"\\/bfnrtu", byte, 9) != nullptr);
}

bool JsonToken::read_byte(unsigned char byte) {
  length++;
  switch (state) {
  case State::none:
    return begin(byte);
  case State::string:
    return read_in_string(byte);
  case State::escape:
    return read_escape(byte);
  case State::number: // its few other bytes may be treated like its end
    return is_digit(byte);
  case State::slash:
    return enter(byte == '*' ? State::block_comment : State::line_comment);
  case State::line_comment:
    return byte != '\n' || begin(byte);
  case State::block_comment:
    return byte != '*' || enter(State::block_comment_star);
  case State::block_comment_star:
    if (byte == '/')
      return begin(' ');
    return byte == '*' || enter(State::block_comment);
  }
  return false;
}

std::size_t JsonToken::skip_plain(const unsigned char *bytes, std::size_t size) {
  if (state != State::string || hex_digits != 0)
    return 0;
  const unsigned char *end = std::find_if_not(bytes, bytes + size, is_plain);
  const auto skipped = static_cast<std::size_t>(end - bytes);
  length += skipped;
  return skipped;
}

bool JsonToken::read(const unsigned char *bytes, std::size_t size, bool all) {
  bool goes_on = true;
  std::size_t i = skip_plain(bytes, size);
  while (i < size && (goes_on || all)) {
    goes_on &= read_byte(bytes[i++]);
    i += skip_plain(bytes + i, size - i);
  }
  return goes_on;
}

bool JsonTail::hold_back(const unsigned char *bytes, std::size_t size) {
  if (token_.length < long_token)
    return false;
  const std::size_t fed = token_.length - held_size_;
  JsonToken next = token_;
  if (size > fed - held_size_ || !next.is_continued_by(bytes, size))
    return false;
  if (!held_)
    held_ = static_cast<unsigned char *>(std::malloc(fed));
  if (!held_)
    return false; // slower, but still correct
  std::copy_n(bytes, size, held_ + held_size_);
  held_size_ += size;
  token_ = next;
  return true;
}

JsonTail::Held JsonTail::take_held() {
  Held held{MallocOwner<unsigned char>(held_), held_size_};
  held_ = nullptr;
  held_size_ = 0;
  return held;
}

} // namespace nodetree
