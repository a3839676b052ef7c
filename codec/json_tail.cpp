#include "codec/json_tail.hpp"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace nodetree {
namespace {

// Scanning a shorter token again costs less than holding would.
constexpr std::size_t long_token = 32;

bool is_digit(unsigned char byte) {
  return byte >= '0' && byte <= '9';
}

bool is_hex_digit(unsigned char byte) {
  const int lower = byte | 0x20;
  return is_digit(byte) || (lower >= 'a' && lower <= 'f');
}

bool is_plain(unsigned char byte) {
  return byte != '"' && byte != '\\' && byte >= ' ';
}

constexpr std::uint64_t ones = 0x0101010101010101;

// Not 0 where any byte of the word is below the limit, which is at most 128.
std::uint64_t any_below(std::uint64_t word, unsigned limit) {
  return (word - ones * limit) & ~word & (ones << 7);
}

// A string's plain bytes are looked at eight at a time.
constexpr std::size_t block_size = sizeof(std::uint64_t);

bool is_plain_block(const unsigned char *bytes) {
  std::uint64_t word;
  std::memcpy(&word, bytes, sizeof word);
  return (any_below(word ^ ones * '"', 1) | any_below(word ^ ones * '\\', 1) |
          any_below(word, ' ')) == 0;
}

} // namespace

bool JsonToken::go_to(State next, bool goes_on) {
  state = next;
  return goes_on;
}

bool JsonToken::start(unsigned char byte) {
  length = 1;
  if (byte == '"')
    return go_to(State::string);
  if (byte == '/')
    return go_to(State::slash);
  if (is_digit(byte) || byte == '-')
    return go_to(State::number);
  length = 0;
  return go_to(State::none, false);
}

bool JsonToken::read_in_string(unsigned char byte) {
  if (hex_digits != 0) {
    hex_digits--;
    return is_hex_digit(byte);
  }
  if (byte == '\\')
    return go_to(State::escape);
  return is_plain(byte);
}

bool JsonToken::read_escape(unsigned char byte) {
  if (byte == 'u')
    hex_digits = 4;
  return go_to(State::string, std::memchr("\"\\/bfnrtu", byte, 9) != nullptr);
}

bool JsonToken::read(unsigned char byte) {
  length++;
  switch (state) {
  case State::none:
    return start(byte);
  case State::string:
    return read_in_string(byte);
  case State::escape:
    return read_escape(byte);
  case State::number: // its few other bytes are not worth telling from its end
    return is_digit(byte);
  case State::slash:
    return go_to(byte == '*' ? State::block_comment : State::line_comment);
  case State::line_comment:
    return byte != '\n' || start(byte);
  case State::block_comment:
    return byte != '*' || go_to(State::block_comment_star);
  case State::block_comment_star:
    if (byte == '/')
      return start(' ');
    return byte == '*' || go_to(State::block_comment);
  }
  return false;
}

std::size_t JsonToken::skip_plain(const unsigned char *bytes, std::size_t size) {
  std::size_t skipped = 0;
  if (state == State::string && hex_digits == 0) {
    while (size - skipped >= block_size && is_plain_block(bytes + skipped))
      skipped += block_size;
  }
  length += skipped;
  return skipped;
}

bool JsonToken::read(const unsigned char *bytes, std::size_t size, bool to_the_end) {
  bool goes_on = true;
  std::size_t i = 0;
  while (i < size && (goes_on || to_the_end)) {
    i += skip_plain(bytes + i, size - i);
    for (std::size_t stop = std::min(size, i + block_size); i < stop; i++)
      goes_on &= read(bytes[i]);
  }
  return goes_on;
}

bool JsonTail::hold(const unsigned char *bytes, std::size_t size) {
  if (token_.length < long_token)
    return false;
  const std::size_t fed = token_.length - held_size_;
  JsonToken next = token_;
  if (size > fed - held_size_ || !next.goes_on(bytes, size))
    return false;
  if (!held_)
    held_ = static_cast<unsigned char *>(std::malloc(fed));
  if (!held_)
    return false; // slower, but it goes on
  std::copy_n(bytes, size, held_ + held_size_);
  held_size_ += size;
  token_ = next;
  return true;
}

JsonTail::Held JsonTail::take_held() {
  Held held{std::unique_ptr<unsigned char, Free>(held_), held_size_};
  held_ = nullptr;
  held_size_ = 0;
  return held;
}

} // namespace nodetree
