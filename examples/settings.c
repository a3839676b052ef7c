/*
 * Edits a JSON configuration and shows what has changed: the same program as settings.cpp.
 *
 *     settings_c examples/data/service.json /server/port=9443 /limits/burst
 *
 * PATH=VALUE sets the value at the path and creates it if it is missing; a value that is
 * not JSON is taken as a string. PATH alone removes the value. With -w as the first
 * argument the file itself is changed.
 */
#include <nodetree.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static int complain(const char *what, const char *why) {
  fprintf(stderr, "%s: %s\n", what, why);
  return EXIT_FAILURE;
}

/* Makes one change, whose text is cut in two. False on failure. */
static bool edit(node *config, char *change) {
  char *sign = strchr(change, '=');
  if (sign == NULL) {
    node *removed = node_lookup(config, change);
    if (removed == NULL || removed == config)
      return false;
    node_free(removed);
    return true;
  }
  *sign = '\0';
  node *value = json_parse_string(sign + 1);
  if (value == NULL)
    value = node_new_string(sign + 1);
  node *at = value != NULL ? node_lookup_create(config, change) : NULL;
  if (at == NULL) {
    node_free(value);
    return false;
  }
  node_clear(at); /* otherwise an object would be merged into the present one */
  node_merge(at, value);
  return true;
}

static int run(node *config, const node *before, const char *file, char **changes,
               bool write) {
  for (; *changes != NULL; changes++)
    if (!edit(config, *changes))
      return complain(*changes, "cannot be changed");

  const node *port = node_lookup(config, "/server/port"); /* may be NULL */
  const int64_t number = port == NULL ? 80 : node_get_integer(port);
  if (port != NULL && (!node_is_integer(port) || number < 0 || number > UINT16_MAX))
    return complain("/server/port", "not the number of a port");

  node *difference = node_diff(before, config);
  if (difference != NULL)
    node_fprint(difference, stdout); /* removed values are not in the difference */
  node_free(difference);
  const node *host = node_lookup(config, "/server/host");
  printf("listens on %s port %d\n",
         host != NULL && node_is_string(host) ? node_get_string(host) : "localhost",
         (int)number);
  if (write && !json_stringify_filename(file, config, false))
    return complain(file, "cannot be written");
  return EXIT_SUCCESS;
}

int main(int argc, char **argv) {
  const bool write = argc > 1 && strcmp(argv[1], "-w") == 0;
  const int first = write ? 2 : 1;
  if (argc <= first)
    return complain("usage", "settings_c [-w] FILE [PATH=VALUE | PATH]...");

  node *config = json_parse_filename(argv[first]);
  node *before = config != NULL ? node_clone(config) : NULL;
  const int status = before != NULL
                         ? run(config, before, argv[first], argv + first + 1, write)
                         : complain(argv[first], "no JSON");
  node_free(before);
  node_free(config);
  return status;
}
