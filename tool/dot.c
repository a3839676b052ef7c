/* The command that draws trees. */
#include "tool.h"

#include <errno.h>
#include <nodetree/json.h>
#include <nodetree/stringlist.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

/* The numbers of the boxes that the walk is inside of, from the top down. */
typedef struct trail {
  size_t *boxes;
  size_t depth;
  size_t room;
} trail;

static bool trail_push(trail *t, size_t box) {
  if (t->depth == t->room) {
    size_t room = t->room != 0 ? t->room * 2 : 64;
    size_t *boxes = realloc(t->boxes, room * sizeof *boxes);
    if (boxes == NULL)
      return false;
    t->boxes = boxes;
    t->room = room;
  }
  t->boxes[t->depth++] = box;
  return true;
}

static void put_quoted(const char *text) {
  for (; *text != '\0'; text++) {
    if (*text == '"' || *text == '\\')
      putchar('\\');
    putchar((unsigned char)*text < ' ' || *text == 0x7f ? '?' : *text);
  }
}

/* What stands in a leaf's box below its key; NULL when memory runs out or it has no form. */
static char *leaf_text(const node *n) {
  return node_is_link(n) ? sl_join(node_get_link_path(n), "/") : json_stringify(n, true);
}

static bool put_box(const node *n, size_t box, bool top) {
  char *key = top ? node_path(n) : strdup(node_key(n) != NULL ? node_key(n) : "");
  char *text = node_is_container(n) ? NULL : leaf_text(n);
  bool complete = key != NULL && (text != NULL || node_is_container(n));
  if (complete) {
    printf("  n%zu [label=\"", box);
    put_quoted(key);
    fputs("\\n", stdout);
    if (text != NULL)
      put_quoted(text);
    else
      printf(node_is_object(n) ? "{%zu}" : "[%zu]", n->child_count);
    fputs(node_is_link(n) ? "\", style=dashed];\n" : "\"];\n", stdout);
  }
  free(key);
  free(text);
  return complete;
}

/* The next node of the subtree in document order, NULL behind the last. */
static const node *next_node(const node *top, const node *n, trail *t) {
  const node *child = node_is_container(n) ? node_container_first(n) : NULL;
  if (child != NULL)
    return child;
  for (; n != top; n = node_parent(n)) {
    t->depth--;
    const node *sibling = node_container_next(node_parent(n), n);
    if (sibling != NULL)
      return sibling;
  }
  return NULL;
}

static bool draw(const node *top) {
  trail t = {.boxes = NULL};
  bool complete = true;
  size_t box = 0;
  puts("digraph {\n  node [shape=box];");
  for (const node *n = top; n != NULL && complete; n = next_node(top, n, &t), box++) {
    complete = put_box(n, box, n == top) && trail_push(&t, box);
    if (complete && n != top)
      printf("  n%zu -> n%zu;\n", t.boxes[t.depth - 2], box);
  }
  puts("}");
  free(t.boxes);
  return complete;
}

static void answer_dot(struct job *job, node *value) {
  const node *match = node_lookup(value, job->operand);
  if (match == NULL)
    return;
  if (draw(match)) {
    job->found = true;
    return;
  }
  char *reason = messages_take();
  complain(job, "%s", reason != NULL ? reason : strerror(ENOMEM));
  free(reason);
}

void run_dot(struct job *job, char **arguments) {
  bool has_path = *arguments != NULL;
  job->operand = has_path ? *arguments : "/";
  input_answer(job, arguments + has_path, answer_dot);
}
