/* C code that must compile without a warning. */
#include <nodetree.h>

struct record {
  char *name;
  const char *title;
};

bool same(struct record *a, struct record *b) {
  return string_fields_equal(&a->name, &b->name) &&
         string_fields_equal(&a->name, &b->title);
}

char **joined(char **list, char *const *more, const char *const *constant) {
  const char *names[] = {"a", "b"};
  list = sl_appendn(list, more, sl_len(more));
  list = sl_appendn(list, list, sl_len(list));
  list = sl_appendn(sl_appendn(list, constant, 1), names, 2);
  return sl_appendn(list, NULL, 0);
}

void **gathered(struct record **records, const struct record *first, size_t count) {
  const struct record *own[] = {first};
  void **list = vl_appendn(vl_appendn(NULL, records, count), own, 1);
  list = vl_appendn(list, list, vl_len(list));
  return vl_appendn(list, NULL, 0);
}

long sum(node *root) {
  long sum = 0;
  for (node *n = root; n; n = node_iterate_within(root, n))
    sum += (long)node_get_integer(n);
  return sum;
}
