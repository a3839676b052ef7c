#include <nodetree.h>
#include <stdio.h>
#include <stdlib.h>

static void show(const char *title, const node *n) {
  char *text = n != NULL ? json_stringify(n, true) : NULL;
  printf("%-9s %s\n", title, text != NULL ? text : "-");
  free(text);
}

int main(void) {
  node *config = json_parse_string("{\"port\": 80, \"log\": {\"level\": \"info\"},"
                                   " \"hosts\": [{\"name\": \"a\", \"password\": \"x\"}]}");
  node *local = json_parse_string("{\"port\": 8080, \"log\": {\"color\": true},"
                                  " \"hosts\": [{\"name\": \"b\", \"password\": \"y\"}]}");
  node *before = node_clone(config);
  if (config == NULL || local == NULL || before == NULL)
    return EXIT_FAILURE;

  node_merge(config, local); /* releases local */
  show("merged", config);

  node *changes = node_diff(before, config);
  show("changes", changes);
  node_free(changes);

  node *shown = node_clone(config);
  char **include = sl_new("/port", "/hosts");
  char **exclude = sl_new("/hosts/*/password");
  char **removed = NULL;
  if (shown == NULL || include == NULL || exclude == NULL)
    return EXIT_FAILURE;

  node_filter(shown, include, exclude, &removed);
  show("shown", shown);
  for (char **path = removed; path != NULL && *path != NULL; path++)
    printf("removed   %s\n", *path);

  node *gone = node_diff(config, shown);
  show("gone", gone);
  node_free(gone);
  node *same = node_diff(shown, shown);
  show("same", same);

  sl_free(removed);
  sl_free(exclude);
  sl_free(include);
  node_free(shown);
  node_free(before);
  node_free(config);
}
