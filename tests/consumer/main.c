#include <nodetree.h>
#include <stdio.h>
#include <stdlib.h>

int main(void) {
  node *tree = json_parse_string("{\"server\":{\"port\":8080}}");
  char *text = json_stringify(node_lookup(tree, "server"), true);
  puts(text ? text : "no text");
  free(text);
  node_free(tree);
  return log_file ? 1 : 0;
}
