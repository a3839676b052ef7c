#include "tool.h"

#include <errno.h>
#include <nodetree/json.h>
#include <nodetree/msgpack.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static void complain_form(struct job *job) {
  char *reason = messages_take();
  complain(job, "%s", reason != NULL ? reason : strerror(ENOMEM));
  free(reason);
}

bool output_json(struct job *job, const char *prefix, const node *value, bool compact) {
  char *text = json_stringify(value, compact);
  if (text == NULL) {
    complain_form(job);
    return false;
  }
  size_t length = strlen(text);
  bool has_newline = length > 0 && text[length - 1] == '\n';
  fputs(prefix, stdout);
  fputs(text, stdout);
  if (!has_newline)
    putchar('\n');
  free(text);
  return true;
}

bool output_msgpack(struct job *job, const node *value) {
  char *message;
  size_t size;
  if (!msgpack_encode(value, &message, &size)) {
    complain_form(job);
    return false;
  }
  fwrite(message, 1, size, stdout);
  free(message);
  return true;
}

bool output_is_short(const node *value) {
  return !node_is_container(value) || node_container_first(value) == NULL;
}

static void lose_output(struct job *job) {
  int error = errno;
  job->output_lost = true;
  job->input = "standard output";
  complain(job, "%s", strerror(error != 0 ? error : EIO));
}

void output_flush(struct job *job) {
  if (job->output_lost)
    return;
  errno = 0;
  if (fflush(stdout) != 0 || ferror(stdout) != 0)
    lose_output(job);
}

void output_end(struct job *job) {
  output_flush(job);
  errno = 0;
  /* Some file systems tell of a full disk only here. A standard output that was never open
     is no failure as long as there was nothing to write. */
  if (fclose(stdout) != 0 && errno != EBADF && !job->output_lost)
    lose_output(job);
}

void complain(struct job *job, const char *format, ...) {
  job->failed = true;
  if (!job->output_lost)
    fflush(stdout); /* a failure here is seen by the next output_flush() */
  fputs("nodetree: ", stderr);
  if (job->input != NULL)
    fprintf(stderr, "%s: ", job->input);
  va_list arguments;
  va_start(arguments, format);
  vfprintf(stderr, format, arguments);
  va_end(arguments);
  fputc('\n', stderr);
}
