/*
 * Finds the values that a pattern matches and walks through their subtrees. In a pattern,
 * "*" stands for every child.
 */
#include <nodetree.h>
#include <stdio.h>
#include <stdlib.h>

/* Prints the leaves at and below a node. The iteration visits the node itself first,
   then all nodes without children. Its only state is the cursor, at any depth. */
static bool print_leaves(node *top) {
  for (node *n = top; n != NULL; n = node_iterate_within(top, n)) {
    if (node_is_container(n))
      continue;                /* the top, or an empty container */
    char *path = node_path(n); /* a new text, ours to free */
    if (path == NULL)
      return false;
    printf("  %s (%s)\n", path, node_type_to_string(n));
    free(path);
  }
  return true;
}

int main(int argc, char **argv) {
  if (argc != 3) {
    fputs("usage: walk_tree FILE PATTERN\n", stderr);
    return EXIT_FAILURE;
  }
  log_open_stderr();
  log_set_debug(true);
  node *tree = json_parse_filename(argv[1]);
  if (tree == NULL)
    return EXIT_FAILURE;

  /* The list is ours, the nodes in it belong to the tree. Without a match there is no
     list (NULL), which reads like an empty one. */
  void **matches = node_lookup_glob(tree, argv[2]);
  printf("%zu matches\n", vl_len(matches));
  bool printed = true;
  for (void **match = matches; printed && match != NULL && *match != NULL; match++)
    printed = print_leaves(*match);

  bool found = !vl_empty(matches);
  vl_free(matches, NULL);
  node_free(tree);
  log_close();
  return found && printed ? EXIT_SUCCESS : EXIT_FAILURE;
}
