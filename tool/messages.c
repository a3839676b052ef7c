#include "tool.h"

#include <nodetree/log.h>
#include <nodetree/stringstream.h>
#include <stdlib.h>
#include <string.h>

static stringstream *messages;

/* The library logs through whatever stream log_file is; without one it writes nothing. */
static void listen_anew(void) {
  messages = stringstream_open();
  log_file = messages != NULL ? stringstream_file(messages) : NULL;
}

void messages_open(void) {
  /* Opening a file is what makes the log write to log_file; the file itself is not wanted.
   */
  FILE *unused = log_open_file("/dev/null", "w");
  if (unused != NULL)
    fclose(unused);
  listen_anew();
}

void make_printable(char *text) {
  for (; *text != '\0'; text++) {
    unsigned char c = (unsigned char)text[0], next = (unsigned char)text[1];
    if ((c < ' ' && c != '\n') || c == 0x7f)
      text[0] = '?';
    if (c == 0xc2 && next >= 0x80 && next <= 0x9f) /* those above, in UTF-8 */
      text[0] = text[1] = '?';
  }
}

/* What stands behind the first occurrence of `mark`, up to `end`; NULL where it is not. */
static char *text_behind(const char *log, const char *mark, const char *end) {
  const char *from = strstr(log, mark);
  if (from == NULL)
    return NULL;
  from += strlen(mark);
  const char *to = strstr(from, end);
  char *text = strndup(from, to != NULL ? (size_t)(to - from) : strlen(from));
  if (text != NULL)
    make_printable(text);
  return text;
}

/* All lines since the last call, each behind a newline; NULL when there are none. */
static char *take_log(void) {
  if (messages == NULL || ftello(stringstream_file(messages)) == 0)
    return NULL; /* the usual case, for every value of a stream */
  char *log = stringstream_take_data(messages);
  stringstream_free(messages);
  listen_anew();
  char *lines = NULL;
  if (log != NULL && asprintf(&lines, "\n%s", log) < 0)
    lines = NULL;
  free(log);
  return lines;
}

static char *first_error(const char *log) {
  char *error = text_behind(log, "\nERROR: ", "\nERROR: ");
  char *debug = error != NULL ? strstr(error, "\nDEBUG: ") : NULL;
  if (debug != NULL)
    *debug = '\0';
  for (size_t length = error != NULL ? strlen(error) : 0;
       length > 0 && error[length - 1] == '\n';)
    error[--length] = '\0';
  return error;
}

char *messages_take(void) {
  char *log = take_log();
  char *error = log != NULL ? first_error(log) : NULL;
  free(log);
  return error;
}

char *messages_take_failure(size_t *place, char **name) {
  char *log = take_log();
  if (log == NULL)
    return NULL;
  char *error = first_error(log);
  /* The line with the place is the last. Before it may stand whatever the input has in it. */
  static const char mark[] = "\nDEBUG: ";
  const char *first = strstr(log, mark), *last = first, *next = first;
  for (; next != NULL; next = strstr(next + 1, mark))
    last = next;
  char *number = last != NULL ? text_behind(last, ": Stopped at byte ", "\n") : NULL;
  if (number != NULL)
    *place = strtoul(number, NULL, 10);
  free(number);
  if (name != NULL && first != last)
    *name = text_behind(first, ": Repeated member name ", "\n");
  free(log);
  return error;
}

void messages_close(void) {
  stringstream_free(messages);
  messages = NULL;
  log_file = NULL;
  log_close();
}
