// What a library under comparison offers to the benchmarks: one function for each thing
// that is timed, on trees that only the library itself looks into.
#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <string_view>

namespace bench {

// The rows of the result table.
enum class row { parse, release, stringify, lookup, copy, equality, decode, encode };

inline constexpr std::array all_rows{row::parse,  row::release, row::stringify,
                                     row::lookup, row::copy,    row::equality,
                                     row::decode, row::encode};

// What a JSON library takes part in.
inline constexpr std::span json_rows{all_rows.data(), 6};

constexpr const char *to_string(row r) {
  constexpr std::array names{"parse", "release",  "stringify", "lookup",
                             "copy",  "equality", "decode",    "encode"};
  return names[static_cast<std::size_t>(r)];
}

struct contender {
  const char *name; // the column of the result table
  std::span<const row> rows;

  void *(*parse)(std::string_view text); // NULL when the text does not parse
  void (*release)(void *tree);
  std::size_t (*stringify)(void *tree); // makes the compact text and drops it: its length
  bool (*lookup)(void *tree, const char *path); // "/member/0/..."
  void *(*copy)(void *tree);
  bool (*equal)(void *a, void *b);

  // Whether `text` is a MessagePack message in all this: "parse" and "stringify" are decode
  // and encode then.
  bool packed = false;

  bool takes_part_in(row r) const {
    for (row own : rows) {
      if (own == r)
        return true;
    }
    return false;
  }
};

const contender &nodetree_contender();
const contender &jansson_contender();
const contender &jsonc_contender();
const contender &cjson_contender();

// MessagePack.
const contender &nodetree_msgpack_contender();
const contender &msgpackc_contender();
const contender &floor_msgpack_contender();

// The least that any tree built on yajl has to do; see floor.cpp.
const contender &floor_contender();

// The least that writing JSON with yajl has to do; see calls.cpp. Another part of the
// floor's column.
const contender &calls_contender();

// yajl's parser alone.
const contender &events_contender();

// In the order of the table's columns.
std::span<const contender *const> contenders();

} // namespace bench
