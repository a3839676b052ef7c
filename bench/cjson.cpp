#include "contender.hpp"
#include "path.hpp"

#include <cjson/cJSON.h>
#include <cstring>
#include <string>

namespace bench {
namespace {

cJSON *tree_of(void *tree) {
  return static_cast<cJSON *>(tree);
}

void *parse(std::string_view text) {
  return cJSON_ParseWithLength(text.data(), text.size());
}

void release(void *tree) {
  cJSON_Delete(tree_of(tree));
}

std::size_t stringify(void *tree) {
  char *text = cJSON_PrintUnformatted(tree_of(tree));
  std::size_t length = text != nullptr ? std::strlen(text) : 0;
  cJSON_free(text);
  return length;
}

bool lookup(void *tree, const char *path) {
  static std::string name; // member names have to be terminated
  const cJSON *found = tree_of(tree);
  for (std::string_view rest = path; found != nullptr && !rest.empty();) {
    std::string_view segment = next_segment(rest);
    if (cJSON_IsObject(found) != 0) {
      name = segment;
      found = cJSON_GetObjectItemCaseSensitive(found, name.c_str());
    } else {
      found = cJSON_GetArrayItem(found, static_cast<int>(to_index(segment)));
    }
  }
  return found != nullptr;
}

void *copy(void *tree) {
  return cJSON_Duplicate(tree_of(tree), true);
}

bool equal(void *a, void *b) {
  return cJSON_Compare(tree_of(a), tree_of(b), true) != 0;
}

} // namespace

const contender &cjson_contender() {
  static constexpr contender self{"cJSON",   json_rows, parse, release,
                                  stringify, lookup,    copy,  equal};
  return self;
}

} // namespace bench
