#include "bench.hpp"

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
  return find(const_cast<const json_t *>(tree_of(tree)), path,
              [](auto *at, std::string_view segment) {
                return json_is_object(at)
                           ? json_object_getn(at, segment.data(), segment.size())
                           : json_array_get(at, to_index(segment));
              }) != nullptr;
}

std::size_t answer(std::string_view text) {
  json_t *request = tree_of(parse(text));
  const json_t *params = json_object_get(request, "params");
  const auto nights =
      static_cast<double>(json_integer_value(json_object_get(params, "nights")));
  const json_t *guest = json_array_get(json_object_get(params, "guests"), 0);
  json_t *reply = json_object();
  json_object_set_new(reply, "id",
                      json_integer(json_integer_value(json_object_get(request, "id"))));
  json_object_set_new(reply, "status", json_string("ok"));
  json_object_set_new(reply, "guest", json_string(json_string_value(guest)));
  json_object_set_new(
      reply, "total",
      json_real(nights * json_real_value(json_object_get(params, "price"))));
  const std::size_t length = stringify(reply);
  json_decref(reply);
  json_decref(request);
  return length;
}

// The difference that node_diff() returns, with references instead of copies.

json_t *diff_child(const json_t *from, json_t *to) {
  if (from == nullptr)
    return json_incref(to);
  return to == nullptr ? json_null() : jansson_diff(from, to);
}

// Takes over the entry; NULL adds nothing.
void add_entry(json_t *&result, const char *key, json_t *entry) {
  if (entry == nullptr)
    return;
  if (result == nullptr)
    result = json_object();
  json_object_set_new(result, key, entry);
}

json_t *diff_objects(const json_t *from, json_t *to) {
  json_t *result = nullptr;
  const char *key = nullptr;
  json_t *child = nullptr;
  json_object_foreach(to, key, child) {
    add_entry(result, key, diff_child(json_object_get(from, key), child));
  }
  json_object_foreach(const_cast<json_t *>(from), key, child) {
    if (json_object_get(to, key) == nullptr)
      add_entry(result, key, json_null());
  }
  return result;
}

json_t *diff_arrays(const json_t *from, const json_t *to) {
  json_t *result = nullptr;
  const std::size_t size = std::max(json_array_size(from), json_array_size(to));
  for (std::size_t i = 0; i < size; ++i)
    if (json_t *entry = diff_child(json_array_get(from, i), json_array_get(to, i)))
      add_entry(result, std::to_string(i).c_str(), entry);
  return result;
}

} // namespace

json_t *jansson_diff(const json_t *from, json_t *to) {
  if (json_is_object(from) && json_is_object(to))
    return diff_objects(from, to);
  if (json_is_array(from) && json_is_array(to))
    return diff_arrays(from, to);
  return json_equal(from, to) != 0 ? nullptr : json_incref(to);
}

const library jansson{
    .name = "jansson",
    .parse = parse,
    .release = release,
    .write = stringify,
    .lookup = lookup,
    .copy = [](void *tree) -> void * { return json_deep_copy(tree_of(tree)); },
    .equal = [](void *a, void *b) { return json_equal(tree_of(a), tree_of(b)) != 0; },
    .answer = answer};

} // namespace bench
