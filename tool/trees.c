/* The commands that make one tree of others. */
#include "tool.h"

#include <nodetree/stringlist.h>
#include <stdio.h>

void run_merge(struct job *job, char **files) {
  node *target = input_last(job, *files);
  for (char **file = files + 1; target != NULL && *file != NULL; file++) {
    node *source = input_last(job, *file);
    if (source != NULL)
      node_merge(target, source);
  }
  /* A result that lacks a part may be taken for the whole. */
  if (!job->failed && output_json(job, "", target, job->option['c']))
    job->found = true;
  node_free(target);
}

static void answer_filter(struct job *job, node *value) {
  bool list_removed = job->option[OPTION_REMOVED];
  char **removed = NULL;
  node_filter(value, job->values[OPTION_INCLUDE], job->values[OPTION_EXCLUDE],
              list_removed ? &removed : NULL);
  if (!list_removed) {
    if (output_json(job, "", value, job->option['c']))
      job->found = true;
    return;
  }
  for (char **path = removed; path != NULL && *path != NULL; path++)
    puts(*path);
  if (!sl_empty(removed))
    job->found = true;
  sl_free(removed);
}

void run_filter(struct job *job, char **files) {
  input_answer(job, files, answer_filter);
}

/* The trees are compared in full: prepared hashes would only pay for more than one
   comparison, and two values of the same hash would count as equal. */
void run_diff(struct job *job, char **files) {
  node *from = input_only(job, files[0]);
  node *to = input_only(job, files[1]);
  if (from != NULL && to != NULL) {
    node *difference = node_diff(from, to);
    if (difference == NULL)
      job->found = true;
    else
      output_json(job, "", difference, job->option['c']);
    node_free(difference);
  }
  node_free(from);
  node_free(to);
}
