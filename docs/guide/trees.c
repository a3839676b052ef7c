#include <inttypes.h>
#include <nodetree.h>
#include <stdio.h>
#include <stdlib.h>

/* Adds the child, or releases it if the object refuses it. */
static bool add(node *object, const char *key, node *child) {
  if (node_object_add(object, key, child))
    return true;
  node_free(child);
  return false;
}

int main(void) {
  node *ship = node_new_object();
  node *decks = node_new_array();
  if (ship == NULL || !add(ship, "name", node_new_string("Limmat")) ||
      !add(ship, "decks", decks))
    return EXIT_FAILURE;

  node_array_append(decks, node_new_integer(120));
  node_array_append(decks, node_new_integer(80));
  node_fprint(ship, stdout);

  printf("a second name: %s\n", add(ship, "name", node_new_null()) ? "taken" : "refused");

  node *name = node_object_get(ship, "name");
  printf("name: %s, as an integer %" PRId64 "\n", node_get_string(name),
         node_get_integer(name));

  for (node *n = node_array_first(decks); n != NULL; n = node_array_next(decks, n))
    printf("%s: %" PRId64 " seats\n", node_key(n), node_get_integer(n));

  node *first = node_array_get(decks, 0);
  node_detach(first);
  printf("detached: %" PRId64 ", left: %zu\n", node_get_integer(first),
         node_array_count(decks));
  node_free(first);

  node_ref(decks);
  node_free(ship);
  printf("the decks are a root: %s\n", node_parent(decks) == NULL ? "yes" : "no");
  printf("alive after the last reference: %s\n", node_unref(decks) ? "yes" : "no");
}
