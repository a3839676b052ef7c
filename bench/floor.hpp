// The floor of the comparison: the cheapest tree that yajl's events can be turned into when
// every value is a record of a full-featured tree's size.
#pragma once

#include <cstddef>
#include <string_view>

namespace bench {

enum class floor_kind { null, boolean, integer, real, string, array, object };

struct floor_value {
  floor_value *next;
  floor_value *first;
  floor_value *last;
  floor_value *parent;
  char *name; // of a member
  floor_kind kind;
  union {
    bool boolean;
    long long integer;
    double real;
    char *string;
  };
  char rest[136]; // indexes and counters that a full-featured tree keeps
};

static_assert(sizeof(floor_value) == 192);

// NULL when the text does not parse.
floor_value *floor_parse(std::string_view text);
void floor_release(floor_value *value);

} // namespace bench
