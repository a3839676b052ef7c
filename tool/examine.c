/* Finds the faults of expressions without evaluating them. */
#include "check.h"

#include <errno.h>
#include <nodetree/expr.h>
#include <stdarg.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "place.h"

/* Sets of kinds. */
enum {
  BOOLEAN = 1 << NODE_BOOLEAN,
  INTEGER = 1 << NODE_INTEGER,
  STRING = 1 << NODE_STRING,
  ANY = 0xff
};

typedef struct form {
  const char *name;
  size_t least; /* operands */
  size_t most;
  const char *count;    /* `least` and `most`, for messages */
  unsigned operands[4]; /* their kinds, the last for all from there on */
  unsigned result;
  bool literal; /* the operands are not evaluated */
} form;

static const form forms[] = {
    {"eq", 2, SIZE_MAX, "two or more operands", {ANY, ANY, ANY, ANY}, BOOLEAN, false},
    {"and", 2, SIZE_MAX, "two or more operands", {ANY, ANY, ANY, ANY}, BOOLEAN, false},
    {"or", 2, SIZE_MAX, "two or more operands", {ANY, ANY, ANY, ANY}, BOOLEAN, false},
    {"not", 1, 1, "one operand", {ANY}, BOOLEAN, false},
    {"atom", 1, 1, "one operand", {ANY}, ANY, true},
    {"assert", 1, 2, "a value and an optional message", {ANY, STRING}, ANY, false},
    {"get", 0, SIZE_MAX, "", {STRING, STRING, STRING, STRING}, ANY, false},
    {"value", 0, SIZE_MAX, "", {STRING, STRING, STRING, STRING}, ANY, false},
    {"path", 0, SIZE_MAX, "", {STRING, STRING, STRING, STRING}, STRING, false},
    {"exists", 0, SIZE_MAX, "", {STRING, STRING, STRING, STRING}, BOOLEAN, false},
    {"length", 0, SIZE_MAX, "", {STRING, STRING, STRING, STRING}, INTEGER, false},
    {"range",
     3,
     SIZE_MAX,
     "two bounds and one or more paths",
     {STRING | INTEGER, STRING | INTEGER, STRING, STRING},
     BOOLEAN,
     false},
    {"regex",
     3,
     3,
     "a pattern, flags and a text",
     {STRING, STRING, STRING},
     BOOLEAN,
     false},
    {"unique", 0, SIZE_MAX, "", {ANY, ANY, ANY, ANY}, BOOLEAN, true},
};
enum { FORM_COUNT = sizeof forms / sizeof *forms };

static const form *form_of(const node *operation) {
  const node *name = node_array_get(operation, 0);
  const char *text = name != NULL ? node_get_string(name) : NULL;
  for (const form *f = forms; text != NULL && f < forms + FORM_COUNT; f++)
    if (strcmp(f->name, text) == 0)
      return f;
  return NULL;
}

/* The kinds that the result of an expression can have. */
static unsigned result_of(const node *n) {
  if (!node_is_array(n))
    return node_is_link(n) ? ANY : 1u << n->type;
  const form *f = form_of(n);
  const node *operand = node_array_get(n, 1);
  if (f == NULL)
    return ANY;
  return strcmp(f->name, "atom") == 0 && operand != NULL ? 1u << operand->type : f->result;
}

/* The text that is certainly the result of an expression, NULL if it is not known. */
static const char *text_of(const node *n) {
  if (!node_is_array(n))
    return node_get_string(n);
  const form *f = form_of(n);
  const node *operand = node_array_get(n, 1);
  bool is_atom = f != NULL && f->result == ANY && f->literal && operand != NULL;
  return is_atom ? node_get_string(operand) : NULL;
}

/* ---- Faults ---- */

static void tell(struct job *job, const node *n, const char *fault) {
  char *path = node_path(n);
  if (path == NULL)
    complain(job, "%s", no_memory);
  else
    print_finding(job, path, fault);
  free(path);
}

static void NODETREE_PRINTF(3, 4)
    tell_formatted(struct job *job, const node *n, const char *format, ...) {
  char *fault = NULL;
  va_list arguments;
  va_start(arguments, format);
  if (vasprintf(&fault, format, arguments) < 0) {
    fault = NULL;
    complain(job, "%s", no_memory);
  } else {
    tell(job, n, fault);
  }
  va_end(arguments);
  free(fault);
}

static void examine_kinds(struct job *job, const node *operation, const form *f) {
  size_t number = 1;
  for (const node *n = node_array_get(operation, 1); n != NULL;
       n = node_array_next(operation, n), number++) {
    unsigned wanted = f->operands[number < 4 ? number - 1 : 3];
    if ((result_of(n) & wanted) == 0)
      tell_formatted(job, operation, "operand %zu of '%s' must be a string%s", number,
                     f->name, wanted == STRING ? "" : " or an integer");
  }
}

/* Lets the library check the pattern and the flags as far as they are known; empty ones
   stand for unknown ones. */
static void examine_regex(struct job *job, const node *operation) {
  const char *pattern = text_of(node_array_get(operation, 1));
  const char *flags = text_of(node_array_get(operation, 2));
  const char *const texts[] = {"regex", pattern != NULL ? pattern : "",
                               flags != NULL ? flags : "", ""};
  errno = 0;
  node *probe = node_new_array();
  for (size_t i = 0; probe != NULL && i < sizeof texts / sizeof *texts; i++)
    node_array_append(probe, node_new_string(texts[i]));
  char *error = NULL;
  node *result = probe != NULL ? expr_eval(probe, NULL, &error) : NULL;
  if (result == NULL && error != NULL && errno != ENOMEM)
    tell(job, operation, behind_paths(error, probe, NULL));
  else if (result == NULL)
    complain(job, "%s", no_memory);
  free(error);
  node_unref(result);
  node_free(probe);
}

/* Returns whether the operands are expressions. */
static bool examine_operation(struct job *job, const node *operation, size_t depth) {
  const node *name = node_array_get(operation, 0);
  const form *f = form_of(operation);
  if (depth > EXPR_NESTING_MAX) {
    tell_formatted(job, operation, "nested more than %d operations deep", EXPR_NESTING_MAX);
  } else if (name == NULL) {
    tell(job, operation,
         "an operation needs a name; an array as data is written [\"atom\", [...]]");
  } else if (!node_is_string(name)) {
    tell(job, operation, "the name of an operation must be a string");
  } else if (f == NULL) {
    tell_formatted(job, operation, "unknown operation '%s'", node_get_string(name));
  } else {
    size_t count = operation->child_count - 1;
    if (count < f->least || count > f->most)
      tell_formatted(job, operation, "'%s' takes %s, not %zu", f->name, f->count, count);
    else if (!f->literal)
      examine_kinds(job, operation, f);
    if (count == 3 && strcmp(f->name, "regex") == 0)
      examine_regex(job, operation);
    return !f->literal;
  }
  return false;
}

void examine(struct job *job, const node *expression) {
  size_t depth = 0;
  walk w = walk_start(expression, false);
  do {
    if (w.leaving) {
      depth--;
      continue;
    }
    bool enter = node_is_array(w.at) && examine_operation(job, w.at, depth + 1);
    if (enter)
      depth++; /* it has a name at least, so the walk also leaves it */
    else
      w.leaving = w.at->child_count != 0;
  } while (walk_next(&w));
}
