#include "subject.hpp"
#include "clock.hpp"

#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace bench {
namespace {

struct inputs {
  const contender &library;
  const document &input;
  const std::string &text;
  void *first;
  void *second;
};

std::size_t lookup_all(const inputs &in) {
  std::size_t found = 0;
  for (const std::string &path : in.input.paths)
    found += in.library.lookup(in.first, path.c_str());
  return found == in.input.paths.size();
}

// All that is measured, and nothing else: a profiler can be told to look at this function
// alone. `trees` has an entry an operation, for the tree that it makes or takes. How many
// operations succeeded.
[[gnu::noinline]] std::size_t measured(row operation, const inputs &in,
                                       std::span<void *> trees) {
  std::size_t succeeded = 0;
  for (void *&tree : trees) {
    switch (operation) {
    case row::parse:
    case row::decode:
      tree = in.library.parse(in.text);
      succeeded += tree != nullptr;
      break;
    case row::release:
      in.library.release(tree);
      ++succeeded;
      break;
    case row::stringify:
    case row::encode:
      succeeded += in.library.stringify(in.first) != 0;
      break;
    case row::lookup:
      succeeded += lookup_all(in);
      break;
    case row::copy:
      tree = in.library.copy(in.first);
      succeeded += tree != nullptr;
      break;
    case row::equality:
      succeeded += in.library.equal(in.first, in.second);
      break;
    }
  }
  return succeeded;
}

} // namespace

subject::subject(const contender &library, const document &input)
    : library_(library), input_(input), text_(library.packed ? input.packed : input.text),
      first_(parse()), second_(parse()) {}

subject::tree subject::parse() const {
  tree result(library_.parse(text_), library_.release);
  if (!result)
    throw std::runtime_error(std::string(library_.name) + " does not parse " + input_.name);
  return result;
}

std::chrono::duration<double> subject::run(row operation, std::size_t count) const {
  std::vector<void *> trees(count);
  if (operation == row::release) {
    for (void *&made : trees)
      made = parse().release();
  }

  std::chrono::nanoseconds start = now();
  std::size_t succeeded =
      measured(operation, {library_, input_, text_, first_.get(), second_.get()}, trees);
  std::chrono::nanoseconds elapsed = now() - start;

  if (operation == row::parse || operation == row::decode || operation == row::copy) {
    for (void *made : trees)
      tree(made, library_.release).reset();
  }
  if (succeeded != count)
    throw std::runtime_error(std::string(to_string(operation)) + " fails in " +
                             library_.name);
  return elapsed;
}

} // namespace bench
