#include <inttypes.h>
#include <nodetree.h>
#include <stdio.h>
#include <stdlib.h>

static void show(const char *title, const node *n) {
  char *path = n != NULL ? node_path(n) : NULL;
  char *text = n != NULL ? json_stringify(n, true) : NULL;
  printf("%-22s %s %s\n", title, path != NULL ? path : "-",
         text != NULL ? text : "nothing");
  free(text);
  free(path);
}

int main(void) {
  node *tree = json_parse_string("{\"hosts\": [{\"name\": \"db1\", \"port\": 5432},"
                                 " {\"name\": \"db2\", \"port\": 5433}],"
                                 " \"off\": {}}");
  if (tree == NULL)
    return EXIT_FAILURE;

  node *port = node_lookup(tree, "/hosts/1/port");
  show("/hosts/1/port", port);
  show("../name", node_lookup(port, "../name"));
  show("/hosts/7/port", node_lookup(tree, "/hosts/7/port"));

  void **matches = node_lookup_glob(tree, "/hosts/*/name");
  for (void **match = matches; match != NULL && *match != NULL; match++)
    show("/hosts/*/name", *match);
  vl_free(matches, NULL);

  node *limits = node_lookup_create(tree, "/limits/memory");
  show("created", limits);

  char **target = sl_new("", "hosts", "1");
  node *link = node_new_link(target);
  sl_free(target);
  if (link == NULL || !node_object_add(tree, "main", link))
    return EXIT_FAILURE;

  show("/main/port", node_lookup(tree, "/main/port"));
  printf("%-22s %s\n", "/main", node_type_to_string(node_lookup(tree, "/main")));
  show("its target", node_follow_link(link));

  node_array_del(node_lookup(tree, "/hosts"), 0);
  show("/hosts/0/port", node_lookup(tree, "/hosts/0/port"));
  show("/main dangles", node_follow_link(link));
  node_free(tree);
}
