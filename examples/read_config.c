/*
 * Reads settings from a JSON file. Each has a default in case the file does not contain it.
 *
 *     read_config examples/data/service.json
 */
#include <inttypes.h>
#include <nodetree.h>
#include <stdio.h>
#include <stdlib.h>

/* A lookup returns a node or NULL, and a getter returns 0 or NULL for a node of another
   kind. So a setting can be present, missing or wrong: ask for its kind to distinguish
   the last two. The nodes stay in the tree; do not free them. */
static const char *text_setting(const node *config, const char *path,
                                const char *fallback) {
  const node *n = node_lookup(config, path);
  if (n == NULL)
    return fallback;
  if (!node_is_string(n)) {
    fprintf(stderr, "%s: expected a string, found %s\n", path, node_type_to_string(n));
    exit(EXIT_FAILURE);
  }
  return node_get_string(n);
}

static int64_t integer_setting(const node *config, const char *path, int64_t fallback) {
  const node *n = node_lookup(config, path);
  if (n == NULL)
    return fallback;
  if (!node_is_integer(n)) {
    fprintf(stderr, "%s: expected an integer, found %s\n", path, node_type_to_string(n));
    exit(EXIT_FAILURE);
  }
  return node_get_integer(n);
}

/* Most people see no difference between 2 and 2.0 in JSON: accept both kinds. */
static double seconds_setting(const node *config, const char *path, double fallback) {
  const node *n = node_lookup(config, path);
  if (n == NULL)
    return fallback;
  return node_is_integer(n) ? (double)node_get_integer(n) : node_get_real(n);
}

int main(int argc, char **argv) {
  if (argc != 2) {
    fputs("usage: read_config FILE\n", stderr);
    return EXIT_FAILURE;
  }

  /*
   * The library logs nothing until a log is open. The log says why a file was not read.
   */
  log_open_stderr();
  log_set_debug(true);
  node *config = json_parse_filename(argv[1]);
  if (config == NULL)
    return EXIT_FAILURE;

  printf("listen on      %s port %" PRId64 "\n",
         text_setting(config, "/server/host", "localhost"),
         integer_setting(config, "/server/port", 80));
  printf("idle timeout   %g s\n", seconds_setting(config, "/server/timeouts/idle", 60));
  printf("write timeout  %g s (default)\n",
         seconds_setting(config, "/server/timeouts/write", 10));

  /* Iterates in the order of the file. A path may start at any node. */
  const node *upstreams = node_lookup(config, "/upstreams");
  for (const node *n = upstreams != NULL ? node_container_first(upstreams) : NULL;
       n != NULL; n = node_container_next(upstreams, n))
    printf("upstream       %s, %" PRId64 " retries\n", text_setting(n, "name", "unnamed"),
           integer_setting(n, "retries/count", 0));

  node_free(config); /* with everything in it */
  log_close();
  return EXIT_SUCCESS;
}
