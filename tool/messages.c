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

char *messages_take(void) {
  if (messages != NULL && ftello(stringstream_file(messages)) == 0)
    return NULL; /* the usual case, for every value of a stream */
  char *log = messages != NULL ? stringstream_take_data(messages) : NULL;
  stringstream_free(messages);
  listen_anew();

  static const char level[] = "ERROR: ";
  char *message = NULL;
  if (log != NULL && strncmp(log, level, strlen(level)) == 0) {
    char *text = log + strlen(level);
    char *next = strstr(text, "\nERROR: ");
    size_t length = next != NULL ? (size_t)(next - text) : strlen(text);
    while (length > 0 && text[length - 1] == '\n')
      length--;
    message = strndup(text, length);
    if (message != NULL)
      make_printable(message);
  }
  free(log);
  return message;
}

void messages_close(void) {
  stringstream_free(messages);
  messages = NULL;
  log_file = NULL;
  log_close();
}
