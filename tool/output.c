#include "tool.h"

#include <errno.h>
#include <stdarg.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

enum { OUTPUT_SIZE = 64 * 1024 }; /* the size of one write */

FILE *output;
static const char *replaced; /* the file to replace, NULL for standard output */

static bool wants_color(const struct job *job) {
  char **given = job->values[OPTION_COLOR];
  const char *when = "auto";
  for (; given != NULL && *given != NULL; given++)
    when = *given;
  if (strcmp(when, "auto") != 0)
    return strcmp(when, "always") == 0;
  const char *no_color = getenv("NO_COLOR");
  const char *terminal = getenv("TERM");
  return (no_color == NULL || *no_color == '\0') && terminal != NULL &&
         strcmp(terminal, "dumb") != 0 && isatty(fileno(output));
}

static void lose_output(struct job *job, int error) {
  job->output_lost = true;
  *job->where = '\0';
  job->of_many = false;
  job->input = replaced != NULL ? replaced : "standard output";
  complain(job, "%s", strerror(error != 0 ? error : EIO));
}

static bool replace(struct job *job, const char *name) {
  int error = replace_begin(name, &output);
  if (error == 0) {
    setvbuf(output, NULL, _IOFBF, OUTPUT_SIZE);
    replaced = name;
    return true;
  }
  output = stdout;
  job->input = name;
  complain(job, "%s", strerror(error));
  job->input = NULL;
  return false;
}

bool output_open(struct job *job) {
  static char room[OUTPUT_SIZE];
  output = stdout;
  setvbuf(stdout, room, _IOFBF, sizeof room);
  char **names = job->values['o'];
  while (names != NULL && names[0] != NULL && names[1] != NULL)
    names++;
  bool opened = names == NULL || *names == NULL || replace(job, *names);
  job->colored = opened && wants_color(job);
  return opened;
}

void output_newline(struct job *job) {
  putc(job->option['0'] ? '\0' : '\n', output);
}

void output_flush(struct job *job) {
  if (job->output_lost)
    return;
  errno = 0;
  if (fflush(output) != 0 || ferror(output) != 0)
    lose_output(job, errno);
}

static void close_replaced(struct job *job) {
  bool keep = !job->failed && !job->output_lost;
  int error = replace_end(output, keep);
  output = stdout;
  if (error != 0 && keep)
    lose_output(job, error);
  replaced = NULL;
}

void output_close(struct job *job) {
  if (replaced != NULL)
    close_replaced(job);
  bool lost = job->output_lost;
  output_flush(job);
  errno = 0;
  /* Some file systems report a full disk only at close. A standard output that was never
     open is not a failure if there was nothing to write. */
  if (fclose(stdout) != 0 && errno != EBADF && !job->output_lost && !lost)
    lose_output(job, errno);
}

static bool failed_before; /* before the file that is being replaced */

bool output_replace_begin(struct job *job, const char *name) {
  struct stat there;
  job->input = name;
  if (strcmp(name, "-") == 0)
    complain(job, "--in-place needs the name of a file");
  else if (stat(name, &there) != 0)
    complain(job, "%s", strerror(errno));
  else if (!S_ISREG(there.st_mode))
    complain(job, "%s",
             S_ISDIR(there.st_mode) ? strerror(EISDIR) : "is not a regular file");
  else if (replace(job, name)) {
    failed_before = job->failed;
    job->failed = false;
    return true;
  }
  job->input = NULL;
  return false;
}

bool output_replace_end(struct job *job) {
  job->input = replaced;
  if (!job->failed && replace_is_late())
    complain(job, "was changed by somebody else meanwhile and is left as it is");
  close_replaced(job);
  job->input = NULL;
  bool replaced_well = !job->failed;
  job->failed = job->failed || failed_before;
  return replaced_well;
}

static void NODETREE_PRINTF(2, 0)
    say(struct job *job, const char *format, va_list arguments) {
  if (!job->output_lost)
    fflush(output); /* a failure here is seen by the next output_flush() */
  progress_clear();
  fputs("nodetree: ", stderr);
  if (job->input != NULL)
    fputs(job->input, stderr);
  if (job->input != NULL && *job->where != '\0')
    fprintf(stderr, ":%s", job->where);
  else if (job->input != NULL && job->of_many)
    fprintf(stderr, ": value %zu", job->number);
  if (job->input != NULL)
    fputs(": ", stderr);
  vfprintf(stderr, format, arguments);
  fputc('\n', stderr);
}

void complain(struct job *job, const char *format, ...) {
  job->failed = true;
  va_list arguments;
  va_start(arguments, format);
  say(job, format, arguments);
  va_end(arguments);
}

void remark(struct job *job, const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  say(job, format, arguments);
  va_end(arguments);
}

bool lacked_memory(struct job *job) {
  if (errno != ENOMEM)
    return false;
  complain(job, "%s", strerror(ENOMEM));
  return true;
}

void complain_message(struct job *job) {
  char *reason = messages_take();
  complain(job, "%s", reason != NULL ? reason : strerror(ENOMEM));
  free(reason);
}
