/*
 * Validates a configuration by rules that are in a file, not in the program.
 *
 *     validate examples/data/rules.json examples/data/service.json
 *
 * The rules are an object of named expressions. A rule is broken if its expression fails, as
 * "assert" does with a message of its own, or if the result is not true.
 */
#include <nodetree.h>
#include <stdio.h>
#include <stdlib.h>

enum { STATUS_VALID = 0, STATUS_BROKEN = 1, STATUS_TROUBLE = 2 };

static bool holds(node *rule, node *config) {
  char *error = NULL; /* a message is ours, with or without a result */
  node *result = expr_eval(rule, config, &error);
  bool valid = expr_coerce_bool(result); /* false for NULL */
  if (!valid) {
    /* A message begins with the path of the failed operation, and so with the name of
       the rule. */
    if (error != NULL)
      puts(error);
    else
      printf("/%s: %s\n", node_key(rule), result != NULL ? "is not true" : "fails");
  }
  free(error);
  node_unref(result); /* not node_free(): it may be a part of the configuration */
  return valid;
}

static int validate(const node *rules, node *config) {
  int status = STATUS_VALID;
  for (node *rule = node_object_first(rules); rule != NULL;
       rule = node_object_next(rules, rule))
    if (!holds(rule, config))
      status = STATUS_BROKEN;
  return status;
}

int main(int argc, char **argv) {
  if (argc != 3) {
    fputs("usage: validate RULES FILE\n", stderr);
    return STATUS_TROUBLE;
  }
  log_open_stderr();
  log_set_debug(true);
  node *rules = json_parse_filename(argv[1]);
  node *config = json_parse_filename(argv[2]);

  int status = STATUS_TROUBLE;
  if (rules != NULL && !node_is_object(rules))
    fprintf(stderr, "%s: expected an object of rules\n", argv[1]);
  else if (rules != NULL && config != NULL)
    status = validate(rules, config);
  node_free(rules);
  node_free(config);
  log_close();
  return status;
}
