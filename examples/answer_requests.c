/*
 * The answers of serve without its loop: standard input and output replace the connection.
 *
 *     answer_requests examples/data/booking_rules.json < examples/data/bookings.json
 */
#include "serve.h"

#include <errno.h>
#include <nodetree.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

bool output_append(output *out, const void *bytes, size_t size) {
  char *grown = realloc(out->bytes, out->size + size);
  if (grown == NULL)
    return false;
  memcpy(grown + out->size, bytes, size);
  out->bytes = grown;
  out->size += size;
  return true;
}

static bool write_out(output *out) {
  bool written =
      fwrite(out->bytes, 1, out->size, stdout) == out->size && fflush(stdout) == 0;
  if (!written)
    perror("standard output");
  out->size = 0;
  return written;
}

/* A request that is cut short by the end of the input gets no answer. */
static bool serve(int fd) {
  const limits at_most = {.value_bytes = 65536, .values_at_once = 4096};
  output out = {.bytes = NULL};
  talk *t = talk_new(&out, &at_most);
  bool served = t != NULL;
  char chunk[4096]; /* read() returns what has arrived, without waiting for more */
  ssize_t size;
  while (served && (size = read(fd, chunk, sizeof chunk)) != 0) {
    if (size > 0) {
      served =
          talk_take(t, chunk, (size_t)size); /* the log contains the reason for a failure */
      served = write_out(&out) && served;
    } else if (errno != EINTR) {
      perror("standard input");
      served = false;
    }
  }
  talk_free(t);
  free(out.bytes);
  return served;
}

int main(int argc, char **argv) {
  if (argc != 2) {
    fputs("usage: answer_requests RULES\n", stderr);
    return EXIT_FAILURE;
  }
  log_open_stderr();
  bool served = handler_load(argv[1]) && serve(STDIN_FILENO);
  handler_load(NULL);
  log_close();
  return served ? EXIT_SUCCESS : EXIT_FAILURE;
}
