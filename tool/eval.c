#include "tool.h"

#include <errno.h>
#include <nodetree/expr.h>
#include <stdlib.h>
#include <string.h>

static void answer_eval(struct job *job, node *value) {
  char *error = NULL;
  node *result = expr_eval(job->expression, value, &error);
  if (error != NULL)
    make_printable(error);
  if (result == NULL) {
    complain(job, "%s", error != NULL ? error : strerror(ENOMEM));
  } else if (print_value(job, "", result)) {
    if (expr_coerce_bool(result))
      job->found = true;
    else
      job->denied = true;
  }
  if (result != NULL && error != NULL)
    remark(job, "%s", error); /* of a path that "range" skipped: not a failure */
  free(error);
  node_unref(result);
}

void run_eval(struct job *job, char **arguments) {
  const char *text = *arguments;
  job->expression =
      *text == '@' ? input_expression(job, text + 1) : input_text(job, "expression", text);
  if (job->expression == NULL)
    return;
  input_answer(job, arguments + 1, answer_eval);
  node_free(job->expression);
}
