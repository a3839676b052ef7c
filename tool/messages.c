#include "tool.h"

#include <nodetree/log.h>
#include <nodetree/stringstream.h>
#include <stdlib.h>
#include <string.h>

static stringstream *messages;

static void listen_anew(void) {
  messages = stringstream_open();
  log_file = messages != NULL ? stringstream_file(messages) : NULL;
}

void messages_open(void) {
  /*
   * The log writes to log_file only after a file has been opened; the file itself is not
   * used.
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
    if (c == 0xc2 && next >= 0x80 && next <= 0x9f) /* U+0080 to U+009F in UTF-8 */
      text[0] = text[1] = '?';
  }
}

/* The text from the first `mark` up to `end`, as a new text; NULL without the mark. */
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

/* All lines since the last call, with a newline in front; NULL if there are none. */
static char *take_log(void) {
  if (messages == NULL || ftello(stringstream_file(messages)) == 0)
    return NULL; /* the usual case: do not rebuild the stream for every value */
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
  /* The line with the place is the last one. The lines before it may quote any input. */
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
