#include "bench.hpp"

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

// The tree keeps the buffer of the text and reuses it, and writes a parsed real as the text
// it was parsed from. So this library does less work here than the others.
std::size_t stringify(void *tree) {
  std::size_t length = 0;
  const char *text =
      json_object_to_json_string_length(tree_of(tree), JSON_C_TO_STRING_PLAIN, &length);
  return text != nullptr ? length : 0;
}

std::size_t answer(std::string_view text) {
  json_object *request = tree_of(parse(text));
  json_object *params = json_object_object_get(request, "params");
  const double nights = json_object_get_int(json_object_object_get(params, "nights"));
  json_object *guest =
      json_object_array_get_idx(json_object_object_get(params, "guests"), 0);
  json_object *reply = json_object_new_object();
  json_object_object_add(
      reply, "id",
      json_object_new_int64(json_object_get_int64(json_object_object_get(request, "id"))));
  json_object_object_add(reply, "status", json_object_new_string("ok"));
  json_object_object_add(reply, "guest",
                         json_object_new_string(json_object_get_string(guest)));
  json_object_object_add(
      reply, "total",
      json_object_new_double(
          nights * json_object_get_double(json_object_object_get(params, "price"))));
  const std::size_t length = stringify(reply);
  json_object_put(reply);
  json_object_put(request);
  return length;
}

void *copy(void *tree) {
  json_object *result = nullptr;
  json_object_deep_copy(tree_of(tree), &result, nullptr);
  return result;
}

} // namespace

const library jsonc{
    .name = "json-c",
    .parse = parse,
    .release = release,
    .write = stringify,
    .lookup =
        [](void *tree, const char *path) {
          return json_pointer_get(tree_of(tree), path, nullptr) == 0;
        },
    .copy = copy,
    .equal = [](void *a,
                void *b) { return json_object_equal(tree_of(a), tree_of(b)) != 0; },
    .answer = answer};

} // namespace bench
