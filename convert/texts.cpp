// The field types that hold texts and string lists.
#include "convert/mismatch.hpp"
#include "log/report.hpp"

#include <cstdio>
#include <cstring>
#include <nodetree/convert.h>
#include <nodetree/stringlist.h>

using namespace nodetree;

namespace nodetree {
namespace {

bool text_from_node(char **field, const node *n, const char *expected, Caller caller) {
  *field = nullptr;
  if (!node_is_string(n))
    return mismatch(caller, n, expected, n);
  *field = strdup(node_get_string(n));
  return *field != nullptr;
}

} // namespace
} // namespace nodetree

node *str_into_node(char *const *field, node *target) {
  return target ? nullptr : node_new_string(*field);
}

bool str_from_node(char **field, const node *n) {
  return text_from_node(field, n, "string", NODETREE_CALLER);
}

node *strn_into_node(char *const *field, node *target) {
  if (target)
    return nullptr;
  return *field ? node_new_string(*field) : node_new_null();
}

bool strn_from_node(char **field, const node *n) {
  if (!node_is_null(n))
    return text_from_node(field, n, "string or null", NODETREE_CALLER);
  *field = nullptr;
  return true;
}

node *sl_into_node(char **const *field, node *target) {
  if (!target)
    target = node_new_array();
  if (!target)
    return nullptr;
  for (char **string = *field; string && *string; string++) {
    node *element = node_new_string(*string);
    if (!node_array_append(target, element)) {
      node_free(element);
      NODETREE_DEBUG("Failed to add array element.");
    }
  }
  return target;
}

bool sl_from_node(char ***field, const node *n) {
  if (!node_is_array(n))
    return mismatch(NODETREE_CALLER, n, "array of strings", n);
  *field = nullptr;
  for (const node *element = node_array_first(n); element;
       element = node_array_next(n, element))
    if (!node_is_string(element))
      return mismatch(NODETREE_CALLER, n, "array of strings", element, " array element");

  size_t count = node_array_count(n);
  if (count == 0)
    return true;
  auto **list = static_cast<char **>(std::calloc(count + 1, sizeof(char *)));
  if (!list)
    return false;
  size_t filled = 0;
  for (const node *element = node_array_first(n); element;
       element = node_array_next(n, element), filled++) {
    list[filled] = strdup(node_get_string(element));
    if (!list[filled]) {
      sl_free(list);
      return false;
    }
  }
  *field = list;
  return true;
}

int sl_fprint(char **const *field, FILE *stream) {
  std::fputs("[ ", stream);
  for (char **string = *field; string && *string; string++) {
    if (string != *field)
      std::fputs(", ", stream);
    std::fputs(*string, stream);
  }
  return std::fputs(" ]", stream);
}
