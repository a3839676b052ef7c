/* The commands that look into values and leave them as they are. */
#include "tool.h"

#include <errno.h>
#include <nodetree/valuelist.h>
#include <stdlib.h>
#include <string.h>

static void answer_get(struct job *job, node *value) {
  const node *match = find_path(job, value, job->operand);
  if (match != NULL && print_value(job, "", match))
    job->found = true;
}

void run_get(struct job *job, char **arguments) {
  job->operand = *arguments;
  input_answer(job, arguments + 1, answer_get);
}

static void print_match(struct job *job, const node *match) {
  char *path = node_path(match);
  char *prefix = NULL;
  if (path == NULL || asprintf(&prefix, "%s=", path) < 0)
    complain(job, "%s", strerror(ENOMEM));
  else if (print_line(job, prefix, match))
    job->found = true;
  free(prefix);
  free(path);
}

static void answer_glob(struct job *job, node *value) {
  void **matches = node_lookup_glob(value, job->operand);
  for (void **match = matches; match != NULL && *match != NULL; match++)
    print_match(job, *match);
  vl_free(matches, NULL);
}

void run_glob(struct job *job, char **arguments) {
  job->operand = *arguments;
  input_answer(job, arguments + 1, answer_glob);
}

static void answer_format(struct job *job, node *value) {
  if (print_value(job, "", value))
    job->found = true;
}

void run_format(struct job *job, char **arguments) {
  input_answer(job, arguments, answer_format);
}
