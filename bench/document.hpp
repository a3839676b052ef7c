// A JSON document to measure with.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace bench {

struct document {
  std::string name;
  std::string text;
  std::string packed; // the same as a MessagePack message
  bool generated;
  std::size_t values;
  std::vector<std::string> paths; // evenly sampled leaves, as texts "/member/0/..."
};

// The name of the generated configuration file in place of a path.
inline constexpr const char *generated_name = "-";

// Throws std::runtime_error for a file that cannot be read or is no JSON.
document load_document(const std::string &path);

} // namespace bench
