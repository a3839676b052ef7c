/*
 * Changes a setting in a JSON file and shows the result: the same program as settings.cpp.
 *
 *     settings_c examples/data/service.json
 */
#include <nodetree.h>
#include <stdio.h>
#include <stdlib.h>

int main(int argc, char **argv) {
  if (argc != 2) {
    fputs("usage: settings_c FILE\n", stderr);
    return EXIT_FAILURE;
  }
  node *config = json_parse_filename(argv[1]);
  if (config == NULL) {
    fprintf(stderr, "%s: no JSON\n", argv[1]);
    return EXIT_FAILURE;
  }

  /* A value is replaced by merging another one over it, which takes that one over. What the
     path lacks is made, unless something that is no object stands in its way. */
  node *port = node_lookup_create(config, "/server/port");
  if (port == NULL) {
    fputs("/server: not an object\n", stderr);
    node_free(config);
    return EXIT_FAILURE;
  }
  node_merge(port, node_new_integer(9443));

  const node *server = node_parent(port);
  for (const node *n = node_object_first(server); n != NULL;
       n = node_object_next(server, n)) {
    char *text = json_stringify(n, true);
    printf("%-10s %s\n", node_key(n), text != NULL ? text : "no JSON");
    free(text);
  }
  node_fprint(server, stdout);

  node_free(config);
  return EXIT_SUCCESS;
}
