/* The commands get, glob, format and convert. */
#include "tool.h"

#include <errno.h>
#include <nodetree/valuelist.h>
#include <stdlib.h>
#include <string.h>

/* The text of --default, NULL without the option. */
static const char *default_text(const struct job *job) {
  char **texts = job->values[OPTION_DEFAULT];
  while (texts != NULL && *texts != NULL && texts[1] != NULL)
    texts++;
  return texts != NULL ? *texts : NULL;
}

static void print_default(struct job *job) {
  print_label(job);
  fputs(default_text(job), output);
  output_newline(job);
}

static void answer_get(struct job *job, node *value) {
  const node *match = find_path(job, value, job->operand);
  if (match != NULL && print_value(job, "", match))
    job->found = true;
  else if (match == NULL && default_text(job) != NULL)
    print_default(job);
}

/* Prints the value at a path as a field of a line, or the default. */
static void print_found(struct job *job, node *value, const char *path) {
  const node *match = find_path(job, value, path);
  const char *text = default_text(job);
  if (match == NULL && text != NULL)
    fputs(text, output);
  else if (match != NULL && print_field(job, match))
    job->found = true;
}

static void answer_get_line(struct job *job, node *value) {
  print_label(job);
  print_found(job, value, job->operand);
  for (char **path = job->values['p']; *path != NULL; path++) {
    putc('\t', output);
    print_found(job, value, *path);
  }
  output_newline(job);
}

void run_get(struct job *job, char **arguments) {
  job->operand = *arguments;
  input_answer(job, arguments + 1, job->option['p'] ? answer_get_line : answer_get);
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
  errno = 0;
  void **matches = node_lookup_glob(value, job->operand);
  bool lacking = lacked_memory(job);
  for (void **match = matches; !lacking && match != NULL && *match != NULL; match++)
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
