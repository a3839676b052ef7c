#include "contender.hpp"
#include "path.hpp"

#include <cstdlib>
#include <cstring>
#include <jansson.h>

namespace bench {
namespace {

json_t *tree_of(void *tree) {
  return static_cast<json_t *>(tree);
}

void *parse(std::string_view text) {
  return json_loadb(text.data(), text.size(), JSON_DECODE_ANY, nullptr);
}

void release(void *tree) {
  json_decref(tree_of(tree));
}

std::size_t stringify(void *tree) {
  char *text = json_dumps(tree_of(tree), JSON_COMPACT | JSON_ENCODE_ANY);
  std::size_t length = text != nullptr ? std::strlen(text) : 0;
  std::free(text);
  return length;
}

bool lookup(void *tree, const char *path) {
  const json_t *found = tree_of(tree);
  for (std::string_view rest = path; found != nullptr && !rest.empty();) {
    std::string_view segment = next_segment(rest);
    found = json_is_object(found) ? json_object_getn(found, segment.data(), segment.size())
                                  : json_array_get(found, to_index(segment));
  }
  return found != nullptr;
}

void *copy(void *tree) {
  return json_deep_copy(tree_of(tree));
}

bool equal(void *a, void *b) {
  return json_equal(tree_of(a), tree_of(b)) != 0;
}

} // namespace

const contender &jansson_contender() {
  static constexpr contender self{"jansson", json_rows, parse, release,
                                  stringify, lookup,    copy,  equal};
  return self;
}

} // namespace bench
