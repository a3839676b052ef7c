#ifndef NODETREE_CODEC_JSON_TAIL_HPP
#define NODETREE_CODEC_JSON_TAIL_HPP

#include "shared/memory.hpp"

#include <cstddef>
#include <cstdlib>

namespace nodetree {

/* The token or comment that stands unfinished where a text ends so far. What the parser
   reports is not looked at here: an end that it reports by an event (that of every number
   and string) or as an error is the caller's to tell. */
struct JsonToken {
  enum class State : unsigned char {
    none, // between tokens, or in a literal, which is never long
    string,
    escape,
    number,
    slash,
    line_comment,
    block_comment,
    block_comment_star
  };
  State state;
  unsigned char hex_digits; // still due of a \u escape
  std::size_t length;       // how much of it has come

  // Reads the bytes up to the first that may end or break the token: whether there is none.
  bool is_continued_by(const unsigned char *bytes, std::size_t size) {
    return read(bytes, size, false);
  }
  void read_all(const unsigned char *bytes, std::size_t size) { read(bytes, size, true); }

private:
  // Each says whether the token goes on, as far as the bytes have been read.
  bool read(const unsigned char *bytes, std::size_t size, bool all);
  bool read_byte(unsigned char byte);
  bool read_in_string(unsigned char byte);
  bool read_escape(unsigned char byte);
  bool begin(unsigned char byte);
  bool enter(State next, bool goes_on = true);

  std::size_t skip_plain(const unsigned char *bytes, std::size_t size);
};

/* Keeps a parser that scans an unfinished token again from its start with every chunk from
   taking quadratic time: bytes that only continue a long token are held back until they
   would double what the parser has of it. Such bytes can neither complete a value nor be
   an error, so nothing is reported later than it would have been. Zero-filled is empty. */
class JsonTail {
public:
  struct Held {
    MallocOwner<unsigned char> bytes;
    std::size_t size;
  };

  // Whether the bytes are held back. Otherwise the parser is to get what take_held() returns,
  // and then these bytes.
  bool hold_back(const unsigned char *bytes, std::size_t size);
  Held take_held();

  // Notes bytes that the parser was given and that brought no event.
  void note_fed(const unsigned char *bytes, std::size_t size) {
    token_.read_all(bytes, size);
  }
  // An event, or the end of all parsing: no token is open.
  void end_token() { token_ = {}; }

private:
  JsonToken token_;
  unsigned char *held_; // has room for as much as the parser has of the token
  std::size_t held_size_;
};

} // namespace nodetree

#endif
