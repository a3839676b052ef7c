/* Values in the form that the options ask for. */
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

static void print_text(struct job *job, const char *prefix, const char *bytes,
                       size_t size) {
  print_label(job);
  fputs(prefix, output);
  fwrite(bytes, 1, size, output);
  output_newline(job);
}

/* The JSON text of the value, until the next call; NULL where it has none. */
static const buffer *json_text(struct job *job, const node *value, bool compact) {
  static buffer t;
  json_style style = {.compact = compact,
                      .indent = job->indent,
                      .sorted = job->option[OPTION_SORT_KEYS],
                      .colored = job->colored};
  t.length = 0;
  return json_write(job, &t, value, &style) ? &t : NULL;
}

bool print_field(struct job *job, const node *value) {
  const char *string = job->option['r'] ? node_get_string(value) : NULL;
  if (string != NULL && strpbrk(string, "\t\n") == NULL) {
    fputs(string, output);
    return true;
  }
  const buffer *t = json_text(job, value, true);
  if (t != NULL)
    fwrite(t->bytes, 1, t->length, output);
  return t != NULL;
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
  if (job->option['r'] && node_is_string(value)) {
    const char *string = node_get_string(value);
    print_text(job, prefix, string, strlen(string));
    return true;
  }
  const buffer *t = json_text(job, value, compact);
  if (t != NULL)
    print_text(job, prefix, t->bytes, t->length);
  return t != NULL;
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
  complain(job, "MessagePack is nothing for a terminal; --force writes it there");
  return false;
}
