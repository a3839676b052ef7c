/* Prints values in the form that the options choose. */
#include "tool.h"

#include <errno.h>
#include <nodetree/msgpack.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

void print_label(struct job *job) {
  if (job->option['H'])
    fprintf(output, "%s:", job->input);
  if (job->option['n'])
    fprintf(output, "%zu:", job->number);
}

/* The text of a result, with its prefix and newline. */
static buffer line;

static bool add_json(struct job *job, const node *value, bool compact) {
  json_style style = {.compact = compact,
                      .indent = job->indent,
                      .sorted = job->option[OPTION_SORT_KEYS],
                      .colored = job->colored};
  return json_write(job, &line, value, &style);
}

static void start_line(const char *prefix) {
  line.length = 0;
  line.failed = false;
  buffer_add(&line, prefix, strlen(prefix));
}

bool print_field(struct job *job, const node *value) {
  const char *string = job->option['r'] ? node_get_string(value) : NULL;
  if (string != NULL && strpbrk(string, "\t\n") == NULL) {
    fputs(string, output);
    return true;
  }
  start_line("");
  bool added = add_json(job, value, true);
  if (added)
    fwrite(line.bytes, 1, line.length, output);
  return added;
}

static bool print_msgpack(struct job *job, const node *value) {
  char *message;
  size_t size;
  if (!msgpack_encode(value, &message, &size)) {
    complain_message(job);
    return false;
  }
  fwrite(message, 1, size, output);
  free(message);
  return true;
}

static node_stream_format output_format(const struct job *job) {
  if (job->to != NODE_STREAM_AUTO)
    return job->to;
  return job->option['i'] ? job->input_format : NODE_STREAM_JSON;
}

static bool print_as(struct job *job, const char *prefix, const node *value, bool compact) {
  if (output_format(job) == NODE_STREAM_MSGPACK)
    return print_msgpack(job, value);
  start_line(prefix);
  if (job->option['r'] && node_is_string(value))
    buffer_add(&line, value->value.string, strlen(value->value.string));
  else if (!line.failed && !add_json(job, value, compact))
    return false;
  buffer_add(&line, job->option['0'] ? "" : "\n", 1);
  if (line.failed) {
    complain(job, "%s", strerror(ENOMEM));
    return false;
  }
  print_label(job);
  fwrite(line.bytes, 1, line.length, output);
  return true;
}

bool print_value(struct job *job, const char *prefix, const node *value) {
  return print_as(job, prefix, value, job->option['c']);
}

bool print_line(struct job *job, const char *prefix, const node *value) {
  return print_as(job, prefix, value, job->option['c'] || !job->option[OPTION_INDENT]);
}

bool print_allowed(struct job *job) {
  if (job->to != NODE_STREAM_MSGPACK || job->option[OPTION_FORCE] ||
      !isatty(fileno(output)))
    return true;
  complain(job, "MessagePack is not written to a terminal without --force");
  return false;
}
