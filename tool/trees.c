/* The commands merge, filter, diff and patch. */
#include "patch.h"

#include <errno.h>
#include <nodetree/stringlist.h>

/* Empties the arrays of the target where the source has one at the same path, so that
   merging replaces their elements. */
static void empty_arrays(node *target, const node *source) {
  walk w = walk_start(source, false);
  node *at = target;  /* the node at the path of w.at, or the nearest one above it */
  size_t missing = 0; /* how many nodes of the path are missing from there on */
  do {
    bool below = w.at != source;
    if (!w.leaving) {
      node *child = below && missing == 0 ? node_object_get(at, node_key(w.at)) : NULL;
      at = child != NULL ? child : at;
      missing += below && child == NULL;
      if (missing == 0 && node_is_array(w.at) && node_is_array(at))
        node_array_clear(at);
    }
    if (!below || (!w.leaving && w.at->child_count != 0))
      continue;
    if (missing > 0)
      missing--;
    else
      at = node_parent(at);
  } while (walk_next(&w));
}

static void print_merged(struct job *job, char **files) {
  node *target = input_last(job, *files);
  node_stream_format format = job->input_format;
  for (char **file = files + 1; target != NULL && *file != NULL; file++) {
    node *source = input_last(job, *file);
    if (source != NULL && job->replaces_arrays)
      empty_arrays(target, source);
    if (source != NULL)
      node_merge(target, source);
  }
  job->input_format = format; /* for --in-place, which changes this file */
  /* An incomplete result could be mistaken for a complete one. */
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
  errno = 0;
  node_filter(value, job->values[OPTION_INCLUDE], job->values[OPTION_EXCLUDE],
              list_removed ? &removed : NULL);
  if (lacked_memory(job)) {
    sl_free(removed);
    return;
  }
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
    complain(job, "--removed prints paths and changes no file");
    return;
  }
  input_answer(job, files, answer_filter);
}

/* Without prepared hashes, which pay off only for several comparisons and would make two
   values with the same hash count as equal. */
static void print_difference(struct job *job, const node *from, const node *to) {
  errno = 0;
  node *difference = node_diff(from, to);
  bool lacking = lacked_memory(job);
  if (!lacking && difference == NULL)
    job->found = true;
  else if (!lacking)
    print_value(job, "", difference);
  node_free(difference);
}

static void print_patch(struct job *job, node *from, node *to) {
  node *patch = patch_make(job, from, to);
  if (patch != NULL && print_value(job, "", patch))
    job->found = patch->child_count == 0;
  node_free(patch);
}

void run_diff(struct job *job, char **files) {
  node *from = input_only(job, files[0]);
  node *to = input_only(job, files[1]);
  if (from != NULL && to != NULL && job->option[OPTION_PATCH])
    print_patch(job, from, to);
  else if (from != NULL && to != NULL)
    print_difference(job, from, to);
  node_free(from);
  node_free(to);
}

/* ---- patch ---- */

static void answer_patch(struct job *job, node *value) {
  node *root = value;
  node_ref(
      root); /* the caller keeps its own reference, even if the whole value is replaced */
  bool patched = job->option[OPTION_MERGE] ? merge_patch_apply(job, &root, job->expression)
                                           : patch_apply(job, &root, job->expression);
  if (patched && print_value(job, "", root))
    job->found = true;
  node_unref(root);
}

void run_patch(struct job *job, char **files) {
  job->expression = input_expression(job, *files);
  if (job->expression == NULL)
    return;
  if (job->option[OPTION_MERGE] || node_is_array(job->expression)) {
    input_answer(job, files + 1, answer_patch);
  } else {
    job->input = input_name(*files);
    complain(job, "is not a JSON Patch, which is an array of operations");
  }
  node_free(job->expression);
}
