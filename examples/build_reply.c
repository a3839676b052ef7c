/*
 * Builds a tree in code and prints it as JSON.
 */
#include <nodetree.h>
#include <stdio.h>
#include <stdlib.h>

/* A container takes over a child that is added. If it refuses the child, because it
   already has the key or memory runs out, the child is still ours. This helper handles
   that, and constructors that returned NULL. */
static bool put(node *object, const char *key, node *child) {
  if (node_object_add(object, key, child))
    return true;
  node_free(child);
  return false;
}

static bool append(node *array, node *child) {
  if (node_array_append(array, child))
    return true;
  node_free(child);
  return false;
}

/* A link names its target by a path. The empty first segment makes this path start at
   the root. JSON has no links: the target is written in place of the link. */
static node *link_to_departure(const char *position) {
  char **path = sl_new("", "departures", position);
  node *link = node_new_link(path); /* the link has a copy of the path */
  sl_free(path);
  return link;
}

static node *departure(const char *harbour, int hour, int minute, int64_t seats) {
  node *n = node_new_object();
  if (n == NULL || !put(n, "harbour", node_new_string(harbour)) ||
      !put(n, "time", node_new_string_printf("%02d:%02d", hour, minute)) ||
      !put(n, "seats", node_new_integer(seats))) {
    node_free(n);
    return NULL;
  }
  return n;
}

static bool fill(node *reply) {
  /* Add a container first and fill it afterwards: the reply then owns everything, and
     after a failure only the reply has to be freed. */
  node *departures = node_new_array();
  return put(reply, "status", node_new_string("ok")) &&
         put(reply, "next", link_to_departure("1")) &&
         put(reply, "departures", departures) &&
         append(departures, departure("Bürkliplatz", 9, 5, 0)) &&
         append(departures, departure("Rapperswil", 9, 30, 112)) &&
         put(reply, "delayed", node_new_boolean(false));
}

int main(void) {
  node *reply = node_new_object();
  if (reply == NULL || !fill(reply)) {
    fputs("out of memory\n", stderr);
    node_free(reply);
    return EXIT_FAILURE;
  }

  /* A key that is already there is refused, so replacing a member takes two steps. */
  if (put(reply, "status", node_new_string("late")))
    return EXIT_FAILURE;
  node_object_del(reply, "status");
  bool replaced = put(reply, "status", node_new_string("late"));

  char *text = replaced ? json_stringify(reply, false) : NULL;
  node_free(reply);
  if (text == NULL)
    return EXIT_FAILURE;
  fputs(text, stdout);
  free(text);
  return EXIT_SUCCESS;
}
