/* Questions about string lists. */
#include <nodetree/stringlist.h>

#include <cstring>

size_t sl_len(char *const *list) {
  size_t length = 0;
  while (list && list[length])
    ++length;
  return length;
}

bool sl_empty(char *const *list) {
  return !list || !*list;
}

bool _sl_equals(char *const *a, char *const *b) {
  if (a == b)
    return true;
  if (!a || !b)
    return false;
  while (*a && *b && strcmp(*a, *b) == 0)
    ++a, ++b;
  return !*a && !*b;
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
