#include "patch.h"

#include <errno.h>
#include <nodetree/stringlist.h>
#include <stdlib.h>
#include <string.h>

#include "place.h"

/* ---- Equality for the operation "test": numbers are compared by value, not by kind
   ---- */

static bool equals_number(const node *a, const node *b) {
  if (a->type == b->type)
    return node_equals(a, b);
  int64_t integer = node_is_integer(a) ? a->value.integer : b->value.integer;
  double real = node_is_integer(a) ? b->value.real : a->value.real;
  /* Converting a real outside these bounds to a 64-bit integer is undefined. */
  return real >= -0x1p63 && real < 0x1p63 && (double)(int64_t)real == real &&
         (int64_t)real == integer;
}

static bool is_number(const node *n) {
  return node_is_integer(n) || node_is_real(n);
}

/* Compares leaves by value, containers by kind and count. */
static bool equals_itself(const node *a, const node *b) {
  if (is_number(a) && is_number(b))
    return equals_number(a, b);
  return node_is_container(a) ? a->type == b->type && a->child_count == b->child_count
                              : node_equals(a, b);
}

/* The walk is through `a`; `b` follows it. */
static bool equals(const node *a, const node *b) {
  walk w = walk_start(a, false);
  for (;;) {
    if (!w.leaving && !equals_itself(w.at, b))
      return false;
    const node *before = w.at;
    if (!walk_next(&w))
      return true;
    if (w.leaving) {
      b = node_parent(b);
      continue;
    }
    const node *parent = node_parent(w.at);
    bool down = parent == before;
    if (node_is_object(parent))
      b = node_object_get(down ? b : node_parent(b), node_key(w.at));
    else
      b = down ? node_array_first(b) : node_array_next(node_parent(b), b);
    if (b == NULL)
      return false;
  }
}

/* ---- Operations ---- */

typedef struct operation {
  node **root;
  char **path;
  char **from;
  const node *value;
} operation;

static const char nothing_there[] = "there is no value";

static const char *find(operation *o, char **tokens, place *p) {
  const char *reason = place_find(p, *o->root, tokens, PATH_POINTER, false);
  return reason == NULL && p->present == NULL ? nothing_there : reason;
}

static const char *put(operation *o, node *value, bool insert) {
  place p;
  const char *reason = place_find(&p, *o->root, o->path, PATH_POINTER, false);
  if (reason == NULL && value != NULL)
    return place_put(&p, o->root, value, insert) ? NULL : no_memory;
  node_free(value);
  return reason != NULL ? reason : no_memory;
}

static const char *run_add(operation *o) {
  return put(o, node_clone(o->value), true);
}

static const char *run_remove(operation *o) {
  place p;
  const char *reason = find(o, o->path, &p);
  if (reason == NULL && p.parent == NULL)
    return "the whole value cannot be removed";
  if (reason == NULL)
    node_free(p.present);
  return reason;
}

static const char *run_replace(operation *o) {
  place p;
  const char *reason = find(o, o->path, &p);
  return reason != NULL ? reason : put(o, node_clone(o->value), false);
}

/* Comparing tokens is enough: a pointer can name a position in only one way. */
static bool begins_with(char **path, char **beginning) {
  while (*beginning != NULL && *path != NULL && strcmp(*path, *beginning) == 0)
    path++, beginning++;
  return *beginning == NULL;
}

static const char *run_move(operation *o) {
  place p;
  const char *reason = find(o, o->from, &p);
  if (reason != NULL)
    return reason;
  if (begins_with(o->path, o->from))
    return begins_with(o->from, o->path) ? NULL : "a value cannot be moved into itself";
  node_detach(p.present);
  return put(o, p.present, true);
}

static const char *run_copy(operation *o) {
  place p;
  const char *reason = find(o, o->from, &p);
  return reason != NULL ? reason : put(o, node_clone(p.present), true);
}

static const char *run_test(operation *o) {
  place p;
  const char *reason = find(o, o->path, &p);
  if (reason == NULL && !equals(o->value, p.present))
    reason = "the value is different";
  return reason;
}

static const struct {
  const char *name;
  bool has_value;
  bool has_from;
  const char *(*run)(operation *o);
} kinds[] = {
    {"add", true, false, run_add},   {"remove", false, false, run_remove},
    {"move", false, true, run_move}, {"replace", true, false, run_replace},
    {"copy", false, true, run_copy}, {"test", true, false, run_test},
};
enum { KIND_COUNT = sizeof kinds / sizeof *kinds };

/* ---- Patches ---- */

static const char *string_of(const node *n, const char *member) {
  const node *found = node_object_get(n, member);
  return found != NULL ? node_get_string(found) : NULL;
}

static const char *read_pointer(const node *n, const char *member, char ***tokens) {
  const char *text = string_of(n, member);
  *tokens = text != NULL ? path_tokens(text, PATH_POINTER) : NULL;
  if (*tokens != NULL)
    return NULL;
  if (text != NULL && errno == ENOMEM)
    return no_memory;
  return *member == 'p' ? "\"path\" is not a JSON Pointer"
                        : "\"from\" is not a JSON Pointer";
}

static const char *run_operation(node **root, const node *n) {
  if (!node_is_object(n))
    return "is not an object";
  const char *name = string_of(n, "op");
  size_t kind = 0;
  while (kind < KIND_COUNT && (name == NULL || strcmp(kinds[kind].name, name) != 0))
    kind++;
  if (kind == KIND_COUNT)
    return "\"op\" is none of add, remove, replace, move, copy and test";
  operation o = {.root = root, .value = node_object_get(n, "value")};
  if (kinds[kind].has_value && o.value == NULL)
    return "has no \"value\"";
  const char *reason = read_pointer(n, "path", &o.path);
  if (reason == NULL && kinds[kind].has_from)
    reason = read_pointer(n, "from", &o.from);
  if (reason == NULL)
    reason = kinds[kind].run(&o);
  sl_free(o.path);
  sl_free(o.from);
  return reason;
}

static void complain_operation(struct job *job, const node *n, size_t number,
                               const char *reason) {
  const char *name = node_is_object(n) ? string_of(n, "op") : NULL;
  const char *path = node_is_object(n) ? string_of(n, "path") : NULL;
  char *shown = NULL;
  if (name != NULL && path != NULL && asprintf(&shown, " (%s %s)", name, path) < 0)
    shown = NULL;
  if (shown != NULL)
    make_printable(shown);
  complain(job, "operation %zu of the patch%s: %s", number, shown != NULL ? shown : "",
           reason);
  free(shown);
}

bool patch_apply(struct job *job, node **root, const node *patch) {
  size_t number = 1;
  for (const node *n = node_array_first(patch); n != NULL; n = node_array_next(patch, n)) {
    const char *reason = run_operation(root, n);
    if (reason != NULL) {
      complain_operation(job, n, number, reason);
      return false;
    }
    number++;
  }
  return true;
}

/* ---- Merge patches ---- */

/* Removes from the target what merging would keep: members that are null in the patch,
   which are removed from it too, and elements of arrays that the patch replaces. */
static void make_way(node *target, node *patch) {
  walk w = walk_start(patch, false);
  node *at = target; /* the counterpart of the step's parent, or the nearest one above it */
  size_t missing = 0; /* how many nodes of the path are missing from there on */
  node *dropped = NULL;
  do {
    node_free(dropped); /* the walk has left it */
    dropped = NULL;
    const node *n = w.at;
    if (w.leaving && missing > 0)
      missing--;
    else if (w.leaving)
      at = node_parent(at);
    if (w.leaving || n == patch)
      continue;
    node *present = missing == 0 ? node_object_get(at, node_key(n)) : NULL;
    if (node_is_object(n) && n->child_count != 0) {
      at = present != NULL ? present : at;
      missing += present == NULL;
    } else if (node_is_array(n)) {
      node_array_clear(present);
      w.leaving = n->child_count != 0; /* the array replaces the target's as a whole */
    } else if (node_is_null(n)) {
      node_free(present);
      dropped = node_object_get(node_parent(n), node_key(n));
    }
  } while (walk_next(&w));
}

bool merge_patch_apply(struct job *job, node **root, const node *patch) {
  node *copy = node_clone(patch);
  if (copy == NULL) {
    complain(job, "%s", no_memory);
    return false;
  }
  if (node_is_object(copy)) {
    make_way(*root, copy);
    node_merge(*root, copy);
  } else {
    node_unref(*root);
    *root = copy;
  }
  return true;
}
