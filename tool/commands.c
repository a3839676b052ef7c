#include "tool.h"

#include <errno.h>
#include <nodetree/valuelist.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static void answer_get(struct job *job, const node *value) {
  const node *match = node_lookup(value, job->operand);
  if (match == NULL)
    return;
  if (job->option['r'] && node_is_string(match)) {
    puts(node_get_string(match));
    job->found = true;
    return;
  }
  bool has_children = node_is_container(match) && node_container_first(match) != NULL;
  if (output_json(job, "", match, !has_children))
    job->found = true;
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

static void answer_glob(struct job *job, const node *value) {
  void **matches = node_lookup_glob(value, job->operand);
  for (void **match = matches; match != NULL && *match != NULL; match++)
    print_match(job, *match);
  vl_free(matches, NULL);
}

static void answer_flat(struct job *job, const node *value) {
  node_fprint(value, stdout);
  job->found = true;
}

static void answer_format(struct job *job, const node *value) {
  if (output_json(job, "", value, job->option['c']))
    job->found = true;
}

const command commands[] = {
    {
        .name = "get",
        .synopsis = "[-r] PATH [FILE...]",
        .summary = "Prints the value at PATH, objects and arrays indented.\n"
                   "-r prints a string as it is, without quotes and escapes.",
        .example = "get -r /server/host config.json",
        .options = "r",
        .takes_operand = true,
        .answer = answer_get,
    },
    {
        .name = "glob",
        .synopsis = "PATTERN [FILE...]",
        .summary = "Prints path and value of every match, a line each.",
        .example = "glob '/users/*/name' users.json",
        .options = "",
        .takes_operand = true,
        .answer = answer_glob,
    },
    {
        .name = "flat",
        .synopsis = "[FILE...]",
        .summary =
            "Prints path and value of every leaf, a line each; strings as they are,\n"
            "so that a newline in a string starts a new line.",
        .example = "flat config.json | grep timeout",
        .options = "",
        .answer = answer_flat,
    },
    {
        .name = "format",
        .synopsis = "[-c] [FILE...]",
        .summary = "Prints every value indented; with -c compact, a line each.",
        .example = "format -c config.json",
        .options = "c",
        .answer = answer_format,
    },
    {.name = NULL},
};
