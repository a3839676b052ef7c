#include <nodetree.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>

typedef struct {
  const char *name;
  int berths;
  avl_node by_name;
} harbour;

static harbour *harbour_of(avl_node *element) {
  return AVL_RECORD(element, harbour, by_name);
}

int main(void) {
  harbour harbours[] = {{.name = "Zug", .berths = 4},
                        {.name = "Arth", .berths = 2},
                        {.name = "Cham", .berths = 3}};

  avl_tree index;
  avl_init(&index, avl_strcmp, false, NULL);
  for (size_t i = 0; i < sizeof harbours / sizeof *harbours; i++) {
    harbours[i].by_name.key = harbours[i].name;
    if (avl_insert(&index, &harbours[i].by_name) != 0)
      return EXIT_FAILURE; /* the name is there already */
  }

  avl_node *found = avl_find(&index, "Cham");
  if (found != NULL)
    printf("Cham has %d berths\n", harbour_of(found)->berths);
  found = avl_find_greaterequal(&index, "D");
  printf("from D on: %s\n", found != NULL ? harbour_of(found)->name : "nothing");

  char **names = _sl_new(NULL);
  void **kept = NULL;
  for (avl_node *e = avl_first(&index), *next; e != NULL; e = next) {
    next = avl_next(&index, e);
    char **longer = sl_append(names, harbour_of(e)->name);
    void **more = vl_append(kept, harbour_of(e));
    if (longer == NULL || more == NULL)
      return EXIT_FAILURE;
    names = longer;
    kept = more;
    avl_delete(&index, e);
  }

  char *joined = sl_join(names, ", ");
  printf("%zu names: %s\n", sl_len(names), joined != NULL ? joined : "?");
  free(joined);

  names = sl_slice(names, -2, 3);
  for (char **name = names; name != NULL && *name != NULL; name++)
    printf("one of the last two: %s\n", *name);
  sl_free(names);

  for (void **entry = kept; entry != NULL && *entry != NULL; entry++)
    printf("%s %d\n", ((harbour *)*entry)->name, ((harbour *)*entry)->berths);
  vl_free(kept, NULL);
}
