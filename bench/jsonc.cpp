#include "contender.hpp"

#include <json-c/json.h>
#include <json-c/json_pointer.h>
#include <memory>

namespace bench {
namespace {

json_object *tree_of(void *tree) {
  return static_cast<json_object *>(tree);
}

void *parse(std::string_view text) {
  std::unique_ptr<json_tokener, decltype(&json_tokener_free)> parser(json_tokener_new(),
                                                                     json_tokener_free);
  return json_tokener_parse_ex(parser.get(), text.data(), static_cast<int>(text.size()));
}

void release(void *tree) {
  json_object_put(tree_of(tree));
}

// The text stays with the tree and its buffer is used again, and a parsed real is written
// as the text that it was parsed from: this library does less here than the others.
std::size_t stringify(void *tree) {
  std::size_t length = 0;
  const char *text =
      json_object_to_json_string_length(tree_of(tree), JSON_C_TO_STRING_PLAIN, &length);
  return text != nullptr ? length : 0;
}

bool lookup(void *tree, const char *path) {
  return json_pointer_get(tree_of(tree), path, nullptr) == 0;
}

void *copy(void *tree) {
  json_object *result = nullptr;
  json_object_deep_copy(tree_of(tree), &result, nullptr);
  return result;
}

bool equal(void *a, void *b) {
  return json_object_equal(tree_of(a), tree_of(b)) != 0;
}

} // namespace

const contender &jsonc_contender() {
  static constexpr contender self{"json-c",  json_rows, parse, release,
                                  stringify, lookup,    copy,  equal};
  return self;
}

} // namespace bench
