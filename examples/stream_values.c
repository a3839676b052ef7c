/*
 * Reads values from standard input as they arrive, whatever the chunks.
 *
 *     printf '{"n": 1} {"n": 2} {"n":' | stream_values
 */
#include <errno.h>
#include <inttypes.h>
#include <nodetree.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

typedef struct totals {
  size_t values;
  int64_t sum;
} totals;

/* Called by json_stream_parse() for every complete value. The value is ours: keep it or
   free it. */
static void count_value(node *value, void *user_data) {
  totals *t = user_data;
  t->values++;
  const node *n = node_lookup(value, "/n");
  if (n != NULL)
    t->sum += node_get_integer(n); /* 0 if it is not an integer */
  node_free(value);
}

static bool feed_all(json_stream *stream, int fd) {
  char chunk[16]; /* small, to show that a value may arrive in many chunks */
  for (;;) {
    ssize_t size = read(fd, chunk, sizeof chunk);
    if (size < 0 && errno == EINTR)
      continue;
    if (size < 0) {
      perror("read");
      return false;
    }
    if (size == 0)
      break;
    if (!json_stream_parse(stream, chunk, (size_t)size))
      return false; /* the log contains the reason */
  }
  /* A number is complete only when something else follows; at the end of the input, this
     newline. A value that is cut short is never delivered. */
  return json_stream_parse(stream, "\n", 1);
}

int main(void) {
  log_open_stderr();
  totals t = {0, 0};
  json_stream *stream = json_stream_new(count_value, &t);
  bool fed = stream != NULL && feed_all(stream, STDIN_FILENO);
  json_stream_free(stream); /* also frees an incomplete value */

  printf("%zu values, n adds up to %" PRId64 "\n", t.values, t.sum);
  log_close();
  return fed ? EXIT_SUCCESS : EXIT_FAILURE;
}
