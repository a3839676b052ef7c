#include "bench.hpp"

#include <cjson/cJSON.h>
#include <cstring>

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
  return find(tree_of(tree), path, [](const cJSON *at, std::string_view segment) {
           static std::string name; // member names must end with a NUL
           name = segment;
           return cJSON_IsObject(at) != 0
                      ? cJSON_GetObjectItemCaseSensitive(at, name.c_str())
                      : cJSON_GetArrayItem(at, static_cast<int>(to_index(segment)));
         }) != nullptr;
}

std::size_t answer(std::string_view text) {
  cJSON *request = tree_of(parse(text));
  const cJSON *params = cJSON_GetObjectItemCaseSensitive(request, "params");
  const cJSON *guest =
      cJSON_GetArrayItem(cJSON_GetObjectItemCaseSensitive(params, "guests"), 0);
  auto number = [](const cJSON *object, const char *name) {
    return cJSON_GetNumberValue(cJSON_GetObjectItemCaseSensitive(object, name));
  };
  cJSON *reply = cJSON_CreateObject();
  cJSON_AddNumberToObject(reply, "id", number(request, "id"));
  cJSON_AddStringToObject(reply, "status", "ok");
  cJSON_AddStringToObject(reply, "guest", cJSON_GetStringValue(guest));
  cJSON_AddNumberToObject(reply, "total",
                          number(params, "nights") * number(params, "price"));
  const std::size_t length = stringify(reply);
  release(reply);
  release(request);
  return length;
}

} // namespace

const library cjson{
    .name = "cJSON",
    .parse = parse,
    .release = release,
    .write = stringify,
    .lookup = lookup,
    .copy = [](void *tree) -> void * { return cJSON_Duplicate(tree_of(tree), true); },
    .equal = [](void *a,
                void *b) { return cJSON_Compare(tree_of(a), tree_of(b), true) != 0; },
    .answer = answer};

} // namespace bench
