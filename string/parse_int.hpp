/* The text-to-integer conversions behind string_to_int() and behind array positions in
   paths. */
#ifndef NODETREE_STRING_PARSE_INT_HPP
#define NODETREE_STRING_PARSE_INT_HPP

#include <cctype>
#include <climits>
#include <cstdlib>

namespace nodetree {

/* The base that `text` asks for. strtol() could tell by itself, but newer C libraries also
   accept 0b there, and a text must mean the same on all of them. */
inline int number_base(const char *text) {
  while (isspace(static_cast<unsigned char>(*text)))
    ++text;
  if (*text == '-' || *text == '+')
    ++text;
  if (*text != '0')
    return 10;
  return text[1] == 'x' || text[1] == 'X' ? 16 : 8;
}

/* Stores the number at the beginning of `text` (0 if there is none, the nearest limit if it
   is out of range) and where it ends. Returns whether there is one. */
inline bool parse_int32(const char *text, const char **end, int *value) {
  char *stop;
  const long number = strtol(text, &stop, number_base(text));
  *value = number > INT_MAX   ? INT_MAX
           : number < INT_MIN ? INT_MIN
                              : static_cast<int>(number);
  *end = stop;
  return stop != text;
}

} // namespace nodetree

#endif
