/* The commands keys, length and type. */
#include <nodetree/node.h>
#include <unistd.h>

#include "place.h"
#include "tool.h"

/* Takes over the answer. */
static void answer_with(struct job *job, node *answer) {
  if (answer == NULL)
    complain(job, "%s", no_memory);
  else if (print_line(job, "", answer))
    job->found = true;
  node_free(answer);
}

/* The object or array at the PATH; otherwise NULL, with a report if there is another
   value. */
static const node *find_container(struct job *job, node *value) {
  const node *found = find_path(job, value, job->operand);
  if (found == NULL || node_is_container(found))
    return found;
  complain(job, "%s: neither an object nor an array, but %s", job->operand,
           node_type_to_string(found));
  return NULL;
}

static void answer_keys(struct job *job, node *value) {
  const node *found = find_container(job, value);
  if (found == NULL)
    return;
  job->found = true;
  int64_t position = 0;
  for (const node *child = node_container_first(found); child != NULL && !job->failed;
       child = node_container_next(found, child))
    answer_with(job, node_is_object(found) ? node_new_string(node_key(child))
                                           : node_new_integer(position++));
}

static void answer_length(struct job *job, node *value) {
  const node *found = find_container(job, value);
  if (found != NULL)
    answer_with(job, node_new_integer((int64_t)found->child_count));
}

static void answer_type(struct job *job, node *value) {
  const node *found = find_path(job, value, job->operand);
  if (found != NULL) {
    print_label(job);
    fputs(node_type_to_string(found), output);
    output_newline(job);
    job->found = true;
  }
}

static void run(struct job *job, char **arguments, answer_function answer) {
  bool has_path = *arguments != NULL;
  if (has_path && arguments[1] == NULL && isatty(STDIN_FILENO) &&
      access(*arguments, F_OK) == 0) {
    /* Somebody who forgot the PATH would wait for a program that waits for input from
       the terminal. */
    complain(job, "'%s' is taken as a PATH; put / before it to use the whole file",
             *arguments);
    return;
  }
  job->operand = has_path ? *arguments : job->option[OPTION_POINTER] ? "" : "/";
  input_answer(job, arguments + has_path, answer);
}

void run_keys(struct job *job, char **arguments) {
  run(job, arguments, answer_keys);
}

void run_length(struct job *job, char **arguments) {
  run(job, arguments, answer_length);
}

void run_type(struct job *job, char **arguments) {
  run(job, arguments, answer_type);
}
