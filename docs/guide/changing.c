#include <inttypes.h>
#include <nodetree.h>
#include <stdio.h>
#include <stdlib.h>

/* Adds `child`, or releases it if the object refuses it. */
static bool add(node *object, const char *key, node *child) {
  if (node_object_add(object, key, child))
    return true;
  node_free(child);
  return false;
}

/* Puts `value` in the place of the member `key`, which moves to the end. */
static bool replace(node *object, const char *key, node *value) {
  if (value == NULL || !node_is_object(object))
    return node_free(value), false;
  node *old = node_object_get(object, key);
  if (old != NULL)
    node_detach(old);
  if (!add(object, key, value)) {
    if (old != NULL && !add(object, key, old))
      fputs("out of memory: a member is lost\n", stderr);
    return false;
  }
  node_free(old);
  return true;
}

static void show(const char *title, const node *n) {
  char *text = json_stringify(n, true);
  printf("%-14s %s\n", title, text != NULL ? text : "out of memory");
  free(text);
}

int main(void) {
  node *config =
      json_parse_string("{\"port\": 80, \"mode\": \"auto\", \"tags\": [1, 2, 3]}");
  if (config == NULL)
    return EXIT_FAILURE;

  if (add(config, "port", node_new_integer(8080)))
    return EXIT_FAILURE;
  show("add again", config);

  node *port = node_new_integer(8080);
  node_merge(node_object_get(config, "port"), port);
  show("set", config);

  if (!replace(config, "mode", node_new_array()))
    return EXIT_FAILURE;
  show("replace", config);

  node *tags = node_object_get(config, "tags");
  for (node *n = node_array_first(tags), *next; n != NULL; n = next) {
    next = node_array_next(tags, n);
    if (node_get_integer(n) % 2 != 0)
      node_free(n);
  }
  show("remove odd", config);

  node_object_del(config, "mode");
  node_object_del(config, "nope");
  show("remove", config);

  node_detach(tags);
  node *limits = node_lookup_create(config, "/limits");
  if (!add(limits, "sizes", tags))
    return EXIT_FAILURE;
  show("move", config);
  node_free(config);
}
