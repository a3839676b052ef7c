#ifndef NODETREE_CODEC_JSON_TAIL_HPP
#define NODETREE_CODEC_JSON_TAIL_HPP

#include "shared/memory.hpp"

#include <cstddef>
#include <cstdlib>

namespace nodetree {

/* The token or comment that is unfinished at the end of the text so far. The parser's
   results are not known here: the caller reports the ends that the parser signals by an
   event, as for every number and string, and errors. */
struct JsonToken {
  enum class State : unsigned char {
    none, // between tokens, or in a literal, which is always short
    string,
    escape,
    number,
    slash,
    line_comment,
    block_comment,
    block_comment_star
  };
  State state;
  unsigned char hex_digits; // still missing from a \u escape
  std::size_t length;       // the bytes of the token so far

  // Reads bytes until one may end or break the token; true if none does.
  bool is_continued_by(const unsigned char *bytes, std::size_t size) {
    return read(bytes, size, false);
  }
  void read_all(const unsigned char *bytes, std::size_t size) { read(bytes, size, true); }

private:
  // Each returns whether the token goes on after the bytes that it read.
  bool read(const unsigned char *bytes, std::size_t size, bool all);
  bool read_byte(unsigned char byte);
  bool read_in_string(unsigned char byte);
  bool read_escape(unsigned char byte);
  bool begin(unsigned char byte);
  bool enter(State next, bool goes_on = true);

  std::size_t skip_plain(const unsigned char *bytes, std::size_t size);
};

/* With every chunk the parser scans an unfinished token again from its start. To avoid
   quadratic time, bytes that only continue a long token are held back until they would
   double the part that the parser has. Such bytes can neither complete a value nor be an
   error, so nothing is reported later than it would have been. Zero-filled is empty. */
class JsonTail {
public:
  struct Held {
    MallocOwner<unsigned char> bytes;
    std::size_t size;
  };

  // Whether the bytes are held back. Otherwise feed the parser what take_held() returns,
  // and then these bytes.
  bool hold_back(const unsigned char *bytes, std::size_t size);
  Held take_held();

  // Records bytes that the parser has read without an event.
  void note_fed(const unsigned char *bytes, std::size_t size) {
    token_.read_all(bytes, size);
  }
  // After an event, or at the end of parsing: no token is open.
  void end_token() { token_ = {}; }

private:
  JsonToken token_;
  unsigned char *held_; // as large as the part of the token that the parser has
  std::size_t held_size_;
};

} // namespace nodetree

#endif
