/* The command check. */
#include "check.h"

#include <errno.h>
#include <nodetree/expr.h>
#include <stdlib.h>
#include <string.h>

#include "place.h"

void print_finding(struct job *job, const char *name, const char *text) {
  char *line = NULL;
  job->denied = true;
  if (asprintf(&line, "%s: %s", name, text) < 0) {
    complain(job, "%s", no_memory);
    return;
  }
  make_printable(line);
  print_label(job);
  if (job->of_many && !job->option['n'])
    fprintf(output, "value %zu: ", job->number);
  fputs(line, output);
  output_newline(job);
  free(line);
}

const char *behind_paths(const char *message, const node *expression, const node *context) {
  char *path = node_path(expression);
  char *context_path = context != NULL ? node_path(context) : strdup("");
  char *paths = NULL;
  if (path != NULL && context_path != NULL &&
      asprintf(&paths, "%s (%s): ", path, context_path) < 0)
    paths = NULL;
  if (paths != NULL && strncmp(message, paths, strlen(paths)) == 0)
    message += strlen(paths);
  free(paths);
  free(context_path);
  free(path);
  return message;
}

static void check_rule(struct job *job, node *rule, node *value) {
  char *error = NULL;
  errno = 0;
  node *result = expr_eval(rule, value, &error);
  if (!expr_coerce_bool(result) && !lacked_memory(job)) {
    const char *reason = result != NULL ? "is not true" : "fails";
    print_finding(job, node_key(rule),
                  error != NULL ? behind_paths(error, rule, value) : reason);
  }
  free(error);
  node_unref(result);
}

static void answer_check(struct job *job, node *value) {
  job->found = true;
  for (node *rule = node_object_first(job->expression); rule != NULL;
       rule = node_object_next(job->expression, rule))
    check_rule(job, rule, value);
}

static void check_syntax(struct job *job) {
  const node *rules = job->expression;
  job->found = true;
  if (!node_is_object(rules))
    examine(job, rules);
  for (const node *rule = node_object_first(rules); rule != NULL;
       rule = node_object_next(rules, rule))
    examine(job, rule);
}

void run_check(struct job *job, char **arguments) {
  if (job->option[OPTION_SYNTAX] && arguments[1] != NULL) {
    complain(job, "--syntax checks only RULES and takes no FILE");
    return;
  }
  job->expression = input_expression(job, *arguments);
  if (job->expression == NULL)
    return;
  if (job->option[OPTION_SYNTAX]) {
    check_syntax(job);
  } else if (node_is_object(job->expression)) {
    input_answer(job, arguments + 1, answer_check);
  } else {
    job->input = input_name(*arguments);
    complain(job, "does not contain an object of rules");
  }
  node_free(job->expression);
}
