// One library and one document: what the benchmarks run.
#pragma once

#include "contender.hpp"
#include "document.hpp"

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>

namespace bench {

class subject {
public:
  // Throws std::runtime_error when the library cannot parse the document.
  subject(const contender &library, const document &input);

  // The processor time that `count` operations take together (of lookup, runs through all
  // paths), without the making of the trees that are released and the release of the trees
  // that are made. Throws std::runtime_error when one of them fails.
  std::chrono::duration<double> run(row operation, std::size_t count) const;

  const contender &library() const { return library_; }

private:
  using tree = std::unique_ptr<void, void (*)(void *)>;

  tree parse() const;

  const contender &library_;
  const document &input_;
  const std::string &text_; // of the document in the library's encoding
  tree first_;
  tree second_; // equal to the first one
};

} // namespace bench
