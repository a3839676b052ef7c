/* Reading integers, for string_to_int() and for array positions in paths. */
#ifndef NODETREE_STRING_PARSE_INT_HPP
#define NODETREE_STRING_PARSE_INT_HPP

#include <cctype>
#include <climits>
#include <cstdlib>

namespace nodetree {

/* The base of the number. strtol() with base 0 also accepts 0b in newer C libraries, and a
   text must mean the same with all of them. */
inline int number_base(const char *text) {
  while (isspace(static_cast<unsigned char>(*text)))
    ++text;
  if (*text == '-' || *text == '+')
    ++text;
  if (*text != '0')
    return 10;
  return text[1] == 'x' || text[1] == 'X' ? 16 : 8;
}

/* Stores the number at the beginning of `text` and where it ends. The number is 0 if there
   is none, and the nearest limit if it is out of range. Returns whether there is one. */
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
