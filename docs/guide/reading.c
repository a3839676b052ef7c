#include <inttypes.h>
#include <nodetree.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

static bool complain(const node *where, const char *path, const char *problem) {
  char *base = node_path(where);
  printf("  %s in %s: %s\n", path, base != NULL ? base : "?", problem);
  free(base);
  return false;
}

/* Stores the port that must be at `path`. */
static bool read_port(const node *config, const char *path, int64_t *port) {
  const node *n = node_lookup(config, path);
  if (n == NULL)
    return complain(config, path, "missing");
  if (!node_is_integer(n))
    return complain(config, path, node_type_to_string(n));
  if (node_get_integer(n) < 1 || node_get_integer(n) > 65535)
    return complain(config, path, "not within 1 to 65535");
  *port = node_get_integer(n);
  return true;
}

static void start(const char *file, const char *text) {
  if (text != NULL && !file_write_string(file, text))
    exit(EXIT_FAILURE);
  printf("%s\n", file);
  fflush(stdout);
  node *config = json_parse_filename(file);
  int64_t port = 0;
  if (config == NULL)
    printf("  %s\n", path_is_file(file) ? "no JSON value" : "no such file");
  else if (read_port(config, "server/port", &port))
    printf("  listens on port %" PRId64 "\n", port);
  node_free(config);
  unlink(file);
}

int main(void) {
  char folder[] = "/tmp/reading.XXXXXX";
  if (mkdtemp(folder) == NULL || chdir(folder) != 0)
    return EXIT_FAILURE;
  log_open_stderr();

  start("good.json", "{\"server\": {\"port\": 8080}}");
  start("absent.json", NULL);
  start("empty.json", "");
  start("comma.json", "{\n  \"server\": {\"port\": 8080,}\n}");

  start("missing.json", "{\"server\": {}}");
  start("kind.json", "{\"server\": {\"port\": \"8080\"}}");
  start("range.json", "{\"server\": {\"port\": 80800}}");
  start("list.json", "[8080]");
  return rmdir(folder) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
