/* The commands that make one tree of others. */
#include "tool.h"

#include <nodetree/stringlist.h>

static void print_merged(struct job *job, char **files) {
  node *target = input_last(job, *files);
  node_stream_format format = job->input_format;
  for (char **file = files + 1; target != NULL && *file != NULL; file++) {
    node *source = input_last(job, *file);
    if (source != NULL)
      node_merge(target, source);
  }
  job->input_format = format; /* that of the file that --in-place changes */
  /* A result that lacks a part may be taken for the whole. */
  if (!job->failed && print_value(job, "", target))
    job->found = true;
  node_free(target);
}

void run_merge(struct job *job, char **files) {
  if (!job->option['i']) {
    print_merged(job, files);
  } else if (output_replace_begin(job, *files)) {
    print_merged(job, files);
    output_replace_end(job);
  }
}

static void answer_filter(struct job *job, node *value) {
  bool list_removed = job->option[OPTION_REMOVED];
  char **removed = NULL;
  node_filter(value, job->values[OPTION_INCLUDE], job->values[OPTION_EXCLUDE],
              list_removed ? &removed : NULL);
  if (!list_removed) {
    if (print_value(job, "", value))
      job->found = true;
    return;
  }
  for (char **path = removed; path != NULL && *path != NULL; path++) {
    print_label(job);
    fputs(*path, output);
    output_newline(job);
  }
  if (!sl_empty(removed))
    job->found = true;
  sl_free(removed);
}

void run_filter(struct job *job, char **files) {
  if (job->option['i'] && job->option[OPTION_REMOVED]) {
    complain(job, "--removed prints paths, which are no change to a file");
    return;
  }
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
      print_value(job, "", difference);
    node_free(difference);
  }
  node_free(from);
  node_free(to);
}
