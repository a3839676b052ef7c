#include <nodetree.h>
#include <stdio.h>
#include <stdlib.h>

struct berth {
  char *name;   /* str: always there */
  char *remark; /* strn: may be absent */
  int *number;  /* int_ptr */
  bool *open;   /* bool_ptr */
  char **ships; /* sl */
};

static bool read_berth(struct berth *berth, const node *n) {
  const node *name = node_object_get(n, "name");
  const node *remark = node_object_get(n, "remark");
  const node *number = node_object_get(n, "number");
  const node *open = node_object_get(n, "open");
  const node *ships = node_object_get(n, "ships");
  return name != NULL && str_from_node(&berth->name, name) &&
         (remark == NULL || strn_from_node(&berth->remark, remark)) &&
         (number == NULL || int_ptr_from_node(&berth->number, number)) &&
         (open == NULL || bool_ptr_from_node(&berth->open, open)) &&
         (ships == NULL || sl_from_node(&berth->ships, ships));
}

/* Adds the field's node; one that cannot be added is released and left out. */
static void put(node *object, const char *key, node *value) {
  if (!node_object_add(object, key, value))
    node_free(value);
}

static node *write_berth(const struct berth *berth) {
  node *n = node_new_object();
  put(n, "name", str_into_node(&berth->name, NULL));
  put(n, "remark", strn_into_node(&berth->remark, NULL));
  put(n, "number", int_ptr_into_node(&berth->number, NULL));
  put(n, "open", bool_ptr_into_node(&berth->open, NULL));
  put(n, "ships", sl_into_node(&berth->ships, NULL));
  return n;
}

static void clear_berth(struct berth *berth) {
  free(berth->name);
  free(berth->remark);
  int_ptr_deinit(&berth->number);
  bool_ptr_deinit(&berth->open);
  sl_free(berth->ships);
}

static void round_trip(const char *text) {
  struct berth berth = {0};
  node *n = json_parse_string(text);
  if (n != NULL && read_berth(&berth, n)) {
    node *written = write_berth(&berth);
    char *shown = json_stringify(written, true);
    printf("%s\n  number ", shown != NULL ? shown : "out of memory");
    int_ptr_fprint(&berth.number, stdout);
    printf(", ships ");
    sl_fprint(&berth.ships, stdout);
    putchar('\n');
    free(shown);
    node_free(written);
  } else {
    printf("refused: %s\n", text);
  }
  node_free(n);
  clear_berth(&berth);
}

int main(void) {
  round_trip(
      "{\"name\": \"A\", \"number\": 3, \"open\": true, \"ships\": [\"Uri\", \"Zug\"]}");
  round_trip("{\"name\": \"B\", \"number\": null}");
  round_trip("{\"name\": \"C\", \"number\": \"three\"}");
}
