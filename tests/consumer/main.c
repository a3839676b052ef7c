#include <nodetree.h>
#include <stdio.h>
#include <stdlib.h>

int main(void) {
  node *tree = json_parse_string("{\"server\":{\"port\":8080}}");
  node *rule = json_parse_string("[\"regex\",\"^8\",\"\",\"8080\"]");
  node *result = expr_eval(rule, tree, NULL);
  char *text = json_stringify(node_lookup(tree, "server"), true);
  puts(text && node_get_boolean(result) ? text : "no text");
  free(text);
  node_unref(result);
  node_free(rule);
  bool one_address =
      tree->index.compare == avl_strcmp && log_open_file("/dev/null", "w") && log_file;
  node_free(tree);
  log_close();
  return one_address ? 0 : 1;
}
