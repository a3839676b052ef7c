/*
 * Moves the fields of a record into a tree and back.
 *
 *     record                                       one made here
 *     record '{"name": "Etzel", "berth": "two"}'   a field of the wrong kind, which the log names
 */
#include <nodetree.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

/* The name is always present. Optional fields are pointers, NULL if absent. */
typedef struct ferry {
  char *name;
  char *remark;
  int *berth;
  bool *in_service;
  int64_t *passengers;
  char **stops;
} ferry;

/* Every type has the same operations, so one list of the fields is enough for all
   functions. */
#define FERRY_FIELDS(FIELD)                                                                \
  FIELD(str, name)                                                                         \
  FIELD(strn, remark)                                                                      \
  FIELD(int_ptr, berth)                                                                    \
  FIELD(bool_ptr, in_service)                                                              \
  FIELD(node_int_ptr, passengers)                                                          \
  FIELD(sl, stops)

static bool put(node *object, const char *key, node *child) {
  if (node_object_add(object, key, child))
    return true;
  node_free(child);
  return false;
}

static node *ferry_into_node(const ferry *f) {
  node *n = node_new_object();
  bool complete = n != NULL;
#define PUT(type, field)                                                                   \
  complete = complete && put(n, #field, type##_into_node(&f->field, NULL));
  FERRY_FIELDS(PUT)
#undef PUT
  if (complete)
    return n;
  node_free(n);
  return NULL;
}

/* Fills a record that is all NULL. A missing member leaves its field NULL. Every member
   of a wrong kind is reported, so we go on after the first. */
static bool ferry_from_node(ferry *f, const node *n) {
  bool sound = true;
  const node *member = NULL;
#define TAKE(type, field)                                                                  \
  member = node_object_get(n, #field);                                                     \
  if (member != NULL)                                                                      \
    sound = type##_from_node(&f->field, member) && sound;
  FERRY_FIELDS(TAKE)
#undef TAKE
  if (sound && f->name == NULL)
    log_msg(LOG_ERR, "The ferry has no name.");
  return sound && f->name != NULL;
}

/* Also needed after a failure: fields before the wrong one are set. */
static void ferry_deinit(ferry *f) {
  free(f->name);
  free(f->remark);
  int_ptr_deinit(&f->berth);
  bool_ptr_deinit(&f->in_service);
  node_int_ptr_deinit(&f->passengers);
  sl_free(f->stops);
}

static node *example_node(void) {
  ferry f = {
      .name = strdup("Bachtel"),
      .berth = int_new(3),
      .in_service = bool_new(true),
      .passengers = node_int_new(8589934592),
      .stops = sl_new("Bürkliplatz", "Rapperswil"),
  };
  node *n = ferry_into_node(&f);
  ferry_deinit(&f);
  return n;
}

static void print(const ferry *f) {
  printf("%s (%s): berth ", f->name, f->remark != NULL ? f->remark : "no remark");
  int_ptr_fprint(&f->berth, stdout); /* "NULL", or "&" and the value */
  fputs(", in service ", stdout);
  bool_ptr_fprint(&f->in_service, stdout);
  fputs(", passengers ", stdout);
  node_int_ptr_fprint(&f->passengers, stdout);
  fputs(", stops ", stdout);
  sl_fprint(&f->stops, stdout);
  putchar('\n');
}

int main(int argc, char **argv) {
  log_open_stderr();
  log_set_debug(true); /* wrong kinds are reported at debug level */
  node *n = argc > 1 ? json_parse_string(argv[1]) : example_node();

  ferry f = {.name = NULL};
  bool sound = n != NULL && ferry_from_node(&f, n);
  char *text = sound ? json_stringify(n, true) : NULL;
  if (text != NULL) {
    puts(text);
    print(&f);
  }
  free(text);
  ferry_deinit(&f);
  node_free(n);
  log_close();
  return sound ? EXIT_SUCCESS : EXIT_FAILURE;
}
