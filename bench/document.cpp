#include "document.hpp"
#include "floor.hpp"
#include "generate.hpp"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <nodetree/json.h>
#include <nodetree/msgpack.h>
#include <stdexcept>
#include <string_view>

namespace bench {
namespace {

constexpr std::size_t lookup_count = 1000;

std::string read_file(const std::string &path) {
  std::ifstream stream(path, std::ios::binary);
  if (!stream)
    throw std::runtime_error("cannot read " + path);
  return {std::istreambuf_iterator<char>(stream), {}};
}

std::string pack(const std::string &text) {
  node *tree = json_parse_buffer(text.data(), text.size());
  char *message = nullptr;
  std::size_t size = 0;
  if (tree != nullptr)
    msgpack_encode(tree, &message, &size);
  std::string result(message, size);
  std::free(message);
  node_free(tree);
  return result;
}

// Whether the name means itself in every library's paths: "/" separates, JSON pointers
// escape with "~", and node paths step with "..", "." and "*".
bool is_plain(std::string_view name) {
  return !name.empty() && name != "." && name != ".." &&
         name.find_first_of("/~*") == std::string_view::npos;
}

class leaf_collector {
public:
  void visit(const floor_value *value, bool reachable = true) {
    ++values;
    if (value->first == nullptr && reachable && !path_.empty())
      leaves.push_back(path_);
    std::size_t position = 0;
    for (const floor_value *child = value->first; child != nullptr; child = child->next)
      descend(child, position++, reachable);
  }

  std::size_t values = 0;
  std::vector<std::string> leaves;

private:
  void descend(const floor_value *child, std::size_t position, bool reachable) {
    std::size_t length = path_.size();
    std::string segment = child->name != nullptr ? child->name : std::to_string(position);
    path_ += '/' + segment;
    visit(child, reachable && is_plain(segment));
    path_.resize(length);
  }

  std::string path_;
};

} // namespace

document load_document(const std::string &path) {
  bool generated = path == generated_name;
  document result{generated ? "generated configuration"
                            : std::filesystem::path(path).filename().string(),
                  generated ? generate_configuration() : read_file(path),
                  {},
                  generated,
                  0,
                  {}};

  std::unique_ptr<floor_value, decltype(&floor_release)> tree(floor_parse(result.text),
                                                              floor_release);
  if (!tree)
    throw std::runtime_error(path + " is not JSON");
  leaf_collector collector;
  collector.visit(tree.get());
  result.packed = pack(result.text);
  result.values = collector.values;
  for (std::size_t i = 0; i < lookup_count && !collector.leaves.empty(); ++i)
    result.paths.push_back(collector.leaves[i * collector.leaves.size() / lookup_count]);
  return result;
}

} // namespace bench
