/* Questions about string lists. */
#include <nodetree/stringlist.h>

#include "shared/null_ended.hpp"

using namespace nodetree;

size_t sl_len(char *const *list) {
  return null_ended::length(list);
}

bool sl_empty(char *const *list) {
  return !list || !*list;
}

bool _sl_equals(char *const *a, char *const *b) {
  return null_ended::equal(a, b,
                           [](const char *x, const char *y) { return strcmp(x, y) == 0; });
}

bool __sl_equals(char ***a, char ***b) {
  return _sl_equals(*a, *b);
}

bool sl_contains(char *const *list, const char *string) {
  if (!list || !string)
    return false;
  while (*list && strcmp(*list, string) != 0)
    ++list;
  return *list != nullptr;
}
