/* The command dot. */
#include "tool.h"

#include <errno.h>
#include <stdlib.h>
#include <string.h>

static void put_quoted(const char *bytes, size_t size) {
  for (const char *c = bytes; size > 0; size--, c++) {
    if (*c == '"' || *c == '\\')
      putc('\\', output);
    putc((unsigned char)*c < ' ' || *c == 0x7f ? '?' : *c, output);
  }
}

/* Prints a box: the key, and below it the value of a leaf or the size of a container. */
static bool put_box(struct job *job, const node *n, size_t box, bool top) {
  static const json_style compact = {.compact = true};
  buffer t = {0};
  char *path = top ? node_path(n) : NULL;
  const char *key = top ? path : node_key(n);
  bool complete = node_is_container(n) || json_write(job, &t, n, &compact);
  if (top && path == NULL) {
    complain(job, "%s", strerror(ENOMEM));
    complete = false;
  }
  if (complete) {
    fprintf(output, "  n%zu [label=\"", box);
    put_quoted(key, key != NULL ? strlen(key) : 0);
    fputs("\\n", output);
    put_quoted(t.bytes, t.length);
    if (node_is_container(n))
      fprintf(output, node_is_object(n) ? "{%zu}" : "[%zu]", n->child_count);
    fputs("\"];\n", output);
  }
  free(t.bytes);
  free(path);
  return complete;
}

/* The trail holds the numbers of the open containers' boxes, from the top down. */
static size_t last_box(const buffer *trail) {
  size_t box;
  memcpy(&box, trail->bytes + trail->length - sizeof box, sizeof box);
  return box;
}

static bool draw(struct job *job, const node *top) {
  buffer trail = {.bytes = NULL};
  bool complete = true;
  size_t box = 0;
  fputs("digraph {\n  node [shape=box];\n", output);
  walk w = walk_start(top, job->option[OPTION_SORT_KEYS]);
  do {
    if (w.leaving) {
      trail.length -= sizeof box;
      continue;
    }
    complete = put_box(job, w.at, box, w.at == top);
    if (complete && trail.bytes != NULL) /* not for the top */
      fprintf(output, "  n%zu -> n%zu;\n", last_box(&trail), box);
    if (w.at->child_count != 0)
      buffer_add(&trail, &box, sizeof box);
    box++;
    if (trail.failed)
      complain(job, "%s", strerror(ENOMEM));
  } while (complete && !trail.failed && walk_next(&w));
  fputs("}\n", output);
  complete = complete && !trail.failed;
  free(trail.bytes);
  return complete;
}

static void answer_dot(struct job *job, node *value) {
  const node *match = find_path(job, value, job->operand);
  if (match != NULL && draw(job, match))
    job->found = true;
}

void run_dot(struct job *job, char **arguments) {
  bool has_path = *arguments != NULL;
  job->operand = has_path ? *arguments : "/";
  input_answer(job, arguments + has_path, answer_dot);
}
