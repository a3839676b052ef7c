#include <errno.h>
#include <stdlib.h>
#include <string.h>

#include "place.h"
#include "tool.h"

/* The path of the node that the walk is at. */
static buffer path;

static const char *key_of(const node *n) {
  const char *key = node_key(n);
  return key != NULL ? key : ""; /* an element whose label could not be allocated */
}

/* Whether the node has a line: leaves do, and objects that the lines of their members
   would turn into arrays. */
static bool has_line(const node *n) {
  return n->child_count == 0 || (node_is_object(n) && has_labels(n));
}

/* Why the lines would mean something else when they are read back; NULL if they do not. */
static const char *ambiguity(const walk *w) {
  if (w->at == w->top)
    return NULL;
  const char *key = key_of(w->at);
  if (strpbrk(key, "/\n") != NULL)
    return "a key contains a \"/\" or a newline";
  if (*key == '\0' && path.length == 1 && has_line(w->at))
    return "its path is that of the whole value";
  return NULL;
}

/* The path followed by `end`; NULL when memory runs out. */
static const char *path_with(const char *end) {
  size_t length = path.length;
  buffer_add(&path, end, strlen(end) + 1);
  path.length = length;
  return path.failed ? NULL : path.bytes;
}

/* Reports only the first one with its path: there may be thousands. */
static void note_ambiguity(struct job *job, const walk *w, size_t *count) {
  const char *reason = ambiguity(w);
  if (reason == NULL || ++*count > 1)
    return;
  const char *text = path_with(w->at == w->top ? "/" : "");
  char *shown = text != NULL ? strdup(text) : NULL;
  if (shown != NULL)
    make_printable(shown);
  complain(job, "%s: lines cannot express this: %s", shown != NULL ? shown : "?", reason);
  free(shown);
}

static void print_own_line(struct job *job, const walk *w) {
  const char *prefix = path_with(w->at == w->top ? "/=" : "=");
  if (prefix == NULL)
    return;
  if (w->at->child_count == 0) {
    job->found = print_line(job, prefix, w->at) || job->found;
  } else {
    print_label(job);
    fprintf(output, "%s{}", prefix);
    output_newline(job);
  }
}

static void visit(struct job *job, const walk *w, size_t *ambiguous) {
  size_t key_length = w->at == w->top ? 0 : strlen(key_of(w->at)) + 1;
  if (!w->leaving) {
    if (key_length != 0) {
      buffer_add(&path, "/", 1);
      buffer_add(&path, key_of(w->at), key_length - 1);
    }
    note_ambiguity(job, w, ambiguous);
    if (has_line(w->at))
      print_own_line(job, w);
    if (w->at->child_count != 0)
      return;
  }
  path.length -= key_length;
}

/* An empty line separates values, unless their lines are numbered. */
static void print_gap(struct job *job) {
  static bool printed;
  if (printed && !job->option['n'])
    output_newline(job);
  printed = true;
}

static void answer_flat(struct job *job, node *value) {
  size_t ambiguous = 0;
  print_gap(job);
  walk w = walk_start(value, job->option[OPTION_SORT_KEYS]);
  do
    visit(job, &w, &ambiguous);
  while (!path.failed && walk_next(&w));
  if (path.failed)
    complain(job, "%s", strerror(ENOMEM));
  path.length = 0;
  path.failed = false;
  if (ambiguous > 1)
    complain(job, "%zu more paths like that", ambiguous - 1);
}

void run_flat(struct job *job, char **arguments) {
  input_answer(job, arguments, answer_flat);
}
