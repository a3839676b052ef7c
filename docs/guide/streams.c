#include <inttypes.h>
#include <nodetree.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

/* Called for each value, which is ours. The stream must not be freed in here. */
static void answer(node *request, void *user_data) {
  node_stream *const *stream = user_data;
  const node *n = request != NULL ? node_lookup(request, "n") : NULL;
  node *reply = node_new_object();
  node *twice = node_new_integer(n != NULL ? 2 * node_get_integer(n) : 0);
  char *bytes = NULL;
  size_t size = 0;
  if (reply != NULL && node_object_add(reply, "twice", twice)) {
    if (node_stream_encode(*stream, reply, &bytes, &size))
      for (size_t i = 0; i < size; i++)
        printf(bytes[i] >= ' ' && bytes[i] <= '~' ? "%c" : "\\x%02x",
               (unsigned char)bytes[i]);
    putchar('\n');
    free(bytes);
  } else {
    node_free(twice);
  }
  node_free(reply);
  node_free(request);
}

static void serve(const char *input, size_t size, size_t chunk) {
  node_stream *stream = NULL;
  stream = node_stream_new(NODE_STREAM_AUTO, answer, &stream);
  if (stream == NULL)
    return;
  bool good = true;
  for (size_t at = 0; at < size && good; at += chunk)
    good = node_stream_decode(stream, input + at, size - at < chunk ? size - at : chunk);
  printf("%s, %s\n", good ? "all read" : "broken",
         node_stream_get_format(stream) == NODE_STREAM_JSON ? "JSON" : "MessagePack");
  node_stream_free(stream);
}

int main(void) {
  const char json[] = "{\"n\": 21} {\"n\": 4}\n";
  serve(json, strlen(json), 3);

  const char packed[] = "\x81\xa1n\x15\x81\xa1n\x04";
  serve(packed, strlen(packed), 3);

  const char broken[] = "{\"n\": 1} ]";
  serve(broken, strlen(broken), 64);
}
