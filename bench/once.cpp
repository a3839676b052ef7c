// One operation of one library some times over, for a profiler: `measured` is the function
// to look at.
#include "subject.hpp"

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <stdexcept>
#include <string>
#include <string_view>

namespace {

bench::row to_row(const char *name) {
  for (bench::row r : bench::all_rows) {
    if (std::strcmp(to_string(r), name) == 0)
      return r;
  }
  throw std::runtime_error(std::string("no such operation: ") + name);
}

const bench::contender &to_contender(const char *name, bench::row operation) {
  for (const bench::contender *library : bench::contenders()) {
    if (std::strcmp(library->name, name) == 0 && library->takes_part_in(operation))
      return *library;
  }
  throw std::runtime_error(std::string("no library for this operation: ") + name);
}

std::size_t to_count(std::string_view text) {
  std::size_t count = 0;
  auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), count);
  if (error != std::errc() || end != text.data() + text.size())
    throw std::runtime_error("not a count: " + std::string(text));
  return count;
}

} // namespace

int main(int argc, char **argv) {
  if (argc != 4 && argc != 5) {
    std::fprintf(
        stderr,
        "usage: %s OPERATION LIBRARY FILE [COUNT]\n"
        "  OPERATION  parse, release, stringify, lookup, copy, equality,\n"
        "             decode or encode\n"
        "  LIBRARY    nodetree, jansson, json-c, cJSON, msgpack-c, floor or events\n"
        "  FILE       a JSON file, \"-\" for the generated configuration\n",
        argv[0]);
    return EXIT_FAILURE;
  }
  try {
    bench::row operation = to_row(argv[1]);
    const bench::contender &library = to_contender(argv[2], operation);
    bench::document input = bench::load_document(argv[3]);
    bench::subject(library, input).run(operation, argc == 5 ? to_count(argv[4]) : 1);
    return EXIT_SUCCESS;
  } catch (const std::exception &e) {
    std::fprintf(stderr, "%s\n", e.what());
    return EXIT_FAILURE;
  }
}
