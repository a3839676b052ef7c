#include <nodetree/string.h>
#include <stdlib.h>
#include <string.h>

#include "patch.h"
#include "place.h"

/* How many elements ahead an equal one is searched for. Otherwise two elements at the
   same position count as one that has changed. */
enum { WINDOW = 32 };

/* Two containers of one kind and the state of their comparison. */
typedef struct level {
  const node *from; /* the next children, NULL after the last */
  const node *to;
  size_t from_left; /* in arrays: the number of elements before the common end */
  size_t to_left;
  size_t position; /* in arrays: of the next element, with the patch so far applied */
  size_t path_length;
  const node *from_container;
  const node *to_container;
} level;

typedef struct comparison {
  node *patch;
  buffer path;   /* the JSON Pointer to the nodes being compared */
  buffer levels; /* a stack, because trees may be too deep for recursion */
  bool failed;   /* out of memory */
} comparison;

/* ---- The pointer ---- */

static void add_token(comparison *c, const char *key) {
  buffer_add(&c->path, "/", 1);
  for (size_t length; *key != '\0'; key += length) {
    if (*key == '~' || *key == '/') {
      buffer_add(&c->path, *key == '~' ? "~0" : "~1", 2);
      length = 1;
    } else {
      length = strcspn(key, "~/");
      buffer_add(&c->path, key, length);
    }
  }
}

static void add_position(comparison *c, size_t position) {
  char token[24];
  snprintf(token, sizeof token, "%zu", position);
  add_token(c, token);
}

/* ---- Operations ---- */

static void add_member(comparison *c, node *object, const char *key, node *value) {
  if (value != NULL && node_object_add(object, key, value))
    return;
  node_free(value);
  c->failed = true;
}

/* Adds an operation on the current path to the patch. */
static void emit(comparison *c, const char *name, const node *value) {
  node *object = node_new_object();
  if (object == NULL || c->path.failed) {
    node_free(object);
    c->failed = true;
    return;
  }
  add_member(c, object, "op", node_new_string(name));
  add_member(c, object, "path", node_new_stringn(c->path.bytes, c->path.length));
  if (value != NULL)
    add_member(c, object, "value", node_clone(value));
  node_array_append(c->patch, object);
}

static void emit_member(comparison *c, const char *name, const char *key,
                        const node *value) {
  size_t length = c->path.length;
  add_token(c, key);
  emit(c, name, value);
  c->path.length = length;
}

static void emit_element(comparison *c, const char *name, size_t position,
                         const node *value) {
  size_t length = c->path.length;
  add_position(c, position);
  emit(c, name, value);
  c->path.length = length;
}

/* ---- Children that correspond ---- */

/* For containers only the hashes are compared: corresponding children are compared
   completely later. */
static bool seem_equal(const node *a, const node *b) {
  if (a->type != b->type || !node_is_container(a))
    return node_equals(a, b);
  return a->child_count == b->child_count && a->diff_hash == b->diff_hash;
}

static void take_from(level *l, size_t count) {
  for (l->from_left -= count; count > 0; count--)
    l->from = node_container_next(l->from_container, l->from);
}

/* From the last one down: at the end of an array each is found quickly. */
static void remove_elements(comparison *c, level *l, size_t count) {
  take_from(l, count);
  for (; count > 0; count--)
    emit_element(c, "remove", l->position + count - 1, NULL);
}

static void add_elements(comparison *c, level *l, size_t count) {
  for (l->to_left -= count; count > 0; count--) {
    emit_element(c, "add", l->position++, l->to);
    l->to = node_container_next(l->to_container, l->to);
  }
}

/* The distance from `first` to the nearest later element that seems equal; 0 if there is
   none within the window. */
static size_t look_ahead(const node *array, const node *first, size_t left,
                         const node *wanted) {
  for (size_t distance = 1; distance < left && distance <= WINDOW; distance++) {
    first = node_container_next(array, first);
    if (seem_equal(first, wanted))
      return distance;
  }
  return 0;
}

/* Removes or adds elements so that the next two correspond. */
static void align(comparison *c, level *l) {
  if (l->from_left != 0 && l->to_left != 0 && !seem_equal(l->from, l->to)) {
    size_t removed = look_ahead(l->from_container, l->from, l->from_left, l->to);
    size_t added = look_ahead(l->to_container, l->to, l->to_left, l->from);
    if (removed != 0 && (added == 0 || removed <= added))
      remove_elements(c, l, removed);
    else if (added != 0)
      add_elements(c, l, added);
  } else if (l->from_left == 0) {
    add_elements(c, l, l->to_left);
  } else if (l->to_left == 0) {
    remove_elements(c, l, l->from_left);
  }
}

static bool next_element(comparison *c, level *l, const node **from, const node **to) {
  align(c, l);
  *from = l->from;
  *to = l->to;
  if (*from == NULL)
    return false;
  if (l->from_left != 0) {
    l->from_left--;
    l->to_left--;
  }
  l->from = node_container_next(l->from_container, *from);
  l->to = node_container_next(l->to_container, *to);
  add_position(c, l->position++);
  return true;
}

/* First the members of `from`, then those that only `to` has. */
static bool next_member(comparison *c, level *l, const node **from, const node **to) {
  while ((*from = l->from) != NULL) {
    l->from = node_container_next(l->from_container, *from);
    *to = node_object_get(l->to_container, node_key(*from));
    if (*to != NULL) {
      add_token(c, node_key(*from));
      return true;
    }
    emit_member(c, "remove", node_key(*from), NULL);
  }
  for (; l->to != NULL; l->to = node_container_next(l->to_container, l->to))
    if (node_object_get(l->from_container, node_key(l->to)) == NULL)
      emit_member(c, "add", node_key(l->to), l->to);
  return false;
}

/* ---- The walk ---- */

static const node *before(const node *element) {
  return (const void *)((const char *)element->list_entry.prev -
                        offsetof(node, list_entry));
}

/* Excludes the equal elements at the end of both arrays from the comparison. */
static void find_common_end(level *l) {
  l->from_left = l->from_container->child_count;
  l->to_left = l->to_container->child_count;
  const node *from = node_array_get(l->from_container, l->from_left - 1);
  const node *to = node_array_get(l->to_container, l->to_left - 1);
  while (l->from_left != 0 && l->to_left != 0 && seem_equal(from, to)) {
    if (--l->from_left != 0)
      from = before(from);
    if (--l->to_left != 0)
      to = before(to);
  }
}

static void compare(comparison *c, const node *from, const node *to) {
  if (from->type != to->type || !node_is_container(from)) {
    if (!node_equals(from, to))
      emit(c, "replace", to);
    return;
  }
  level l = {.from = node_container_first(from),
             .to = node_container_first(to),
             .path_length = c->path.length,
             .from_container = from,
             .to_container = to};
  if (node_is_array(from))
    find_common_end(&l);
  buffer_add(&c->levels, &l, sizeof l);
}

/* Compares the next children of the innermost containers, or leaves these. */
static void step(comparison *c) {
  level *l = (level *)(void *)(c->levels.bytes + c->levels.length - sizeof *l);
  const node *from, *to;
  c->path.length = l->path_length;
  if (node_is_array(l->from_container) ? next_element(c, l, &from, &to)
                                       : next_member(c, l, &from, &to))
    compare(c, from, to);
  else
    c->levels.length -= sizeof *l;
}

node *patch_make(struct job *job, node *from, node *to) {
  comparison c = {.patch = node_new_array()};
  buffer_add(&c.path, "", 1); /* so that path.bytes is not NULL */
  c.path.length = 0;
  node_prepare_diff_hash(from);
  node_prepare_diff_hash(to);
  c.failed = c.patch == NULL || c.path.failed;
  if (!c.failed)
    compare(&c, from, to);
  while (!c.failed && !c.path.failed && !c.levels.failed && c.levels.length != 0)
    step(&c);
  if (c.failed || c.path.failed || c.levels.failed) {
    complain(job, "%s", no_memory);
    node_free(c.patch);
    c.patch = NULL;
  }
  free(c.levels.bytes);
  free(c.path.bytes);
  return c.patch;
}
