#include "jansson_trees.hpp"

#include <algorithm>
#include <string>

namespace bench {
namespace {

// Consumes the entry; NULL is none.
void add(json_t *&result, const char *key, json_t *entry) {
  if (entry == nullptr)
    return;
  if (result == nullptr)
    result = json_object();
  json_object_set_new(result, key, entry);
}

json_t *diff_child(const json_t *from, json_t *to) {
  if (from == nullptr)
    return json_incref(to);
  return to == nullptr ? json_null() : jansson_diff(from, to);
}

json_t *diff_objects(const json_t *from, json_t *to) {
  json_t *result = nullptr;
  const char *key = nullptr;
  json_t *child = nullptr;
  json_object_foreach(to, key, child) {
    add(result, key, diff_child(json_object_get(from, key), child));
  }
  json_object_foreach(const_cast<json_t *>(from), key, child) {
    if (json_object_get(to, key) == nullptr)
      add(result, key, json_null());
  }
  return result;
}

json_t *diff_arrays(const json_t *from, const json_t *to) {
  json_t *result = nullptr;
  std::size_t size = std::max(json_array_size(from), json_array_size(to));
  for (std::size_t i = 0; i < size; ++i) {
    if (json_t *entry = diff_child(json_array_get(from, i), json_array_get(to, i)))
      add(result, std::to_string(i).c_str(), entry);
  }
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

} // namespace bench
