/* The commands that look into values and leave them as they are. */
#include "tool.h"

#include <errno.h>
#include <nodetree/valuelist.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static void answer_get(struct job *job, node *value) {
  const node *match = node_lookup(value, job->operand);
  if (match == NULL)
    return;
  if (job->option['r'] && node_is_string(match)) {
    puts(node_get_string(match));
    job->found = true;
  } else if (output_json(job, "", match, output_is_short(match))) {
    job->found = true;
  }
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
  else if (output_json(job, prefix, match, true))
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

static void answer_flat(struct job *job, node *value) {
  node_fprint(value, stdout);
  job->found = true;
}

void run_flat(struct job *job, char **arguments) {
  input_answer(job, arguments, answer_flat);
}

static void answer_format(struct job *job, node *value) {
  if (output_json(job, "", value, job->option['c']))
    job->found = true;
}

void run_format(struct job *job, char **arguments) {
  input_answer(job, arguments, answer_format);
}

static void answer_convert(struct job *job, node *value) {
  bool written = job->to == NODE_STREAM_MSGPACK
                     ? output_msgpack(job, value)
                     : output_json(job, "", value, job->option['c']);
  if (written)
    job->found = true;
}

void run_convert(struct job *job, char **arguments) {
  input_answer(job, arguments, answer_convert);
}
