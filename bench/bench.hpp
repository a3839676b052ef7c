// The declarations shared by the benchmarks: the functions of a library under comparison,
// and how to add a measurement.
#pragma once

#include <charconv>
#include <chrono>
#include <cstddef>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <time.h>

struct json_t;

namespace bench {

// One function for each operation that is timed, on trees of the library's own type; NULL
// if the library does not take part.
struct library {
  const char *name;
  bool packed = false; // it reads and writes MessagePack, not JSON
  void *(*parse)(std::string_view text) = nullptr; // NULL when the text does not parse
  void (*release)(void *tree) = nullptr;
  std::size_t (*write)(void *tree) =
      nullptr; // makes the compact text, drops it and returns its length
  bool (*lookup)(void *tree, const char *path) = nullptr; // "/member/0/..."
  void *(*copy)(void *tree) = nullptr;
  bool (*equal)(void *a, void *b) = nullptr;
  // Parses a request, reads its fields, makes the answer and drops both. Returns the
  // answer's length.
  std::size_t (*answer)(std::string_view request) = nullptr;
  // Reads a text in pieces of this size and drops the values.
  bool (*stream)(std::string_view text, std::size_t piece) = nullptr;
};

extern const library nodetree_json, nodetree_msgpack, jansson, jsonc, cjson, nlohmann,
    msgpackc;
extern const library floor_tree, floor_msgpack; // the least work that any tree has to do
extern const library floor_events;              // yajl's parser alone

// The thread's own time, so that other load on the machine does not count.
using seconds = std::chrono::duration<double>;
inline seconds now() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

// The total time of `count` runs. A run that returns false ends the measurement.
template <typename Body>
[[gnu::noinline]] seconds measured(std::size_t count, Body body) {
  const seconds start = now();
  bool succeeded = true;
  for (std::size_t i = 0; i < count; ++i)
    succeeded &= static_cast<bool>(body(i));
  const seconds elapsed = now() - start;
  return succeeded ? elapsed : throw std::runtime_error("a wrong result");
}

// Adds a cell of the table: a row, a column and the measurement, which returns a time.
void add(const std::string &document, const std::string &row, const std::string &column,
         std::function<seconds()> run);

// The difference that node_diff() returns, with references instead of copies.
json_t *jansson_diff(const json_t *from, json_t *to);

// The operations on whole trees: rules, merge, filter, difference.
void add_tree_rows(const std::string &configuration);

// The node at a path, for a library without lookup by path. `step` returns the child that a
// segment names, or NULL.
template <typename Tree, typename Step>
Tree *find(Tree *top, std::string_view path, Step step) {
  while (top != nullptr && !path.empty()) {
    path.remove_prefix(1);
    const std::string_view segment = path.substr(0, path.find('/'));
    path.remove_prefix(segment.size());
    top = step(top, segment);
  }
  return top;
}

inline std::size_t to_index(std::string_view segment) {
  std::size_t index = 0;
  std::from_chars(segment.data(), segment.data() + segment.size(), index);
  return index;
}

} // namespace bench
