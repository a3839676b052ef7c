/* Checks of rules and expressions. */
#ifndef NODETREE_TOOL_CHECK_H
#define NODETREE_TOOL_CHECK_H

#include "tool.h"

/* Prints the faults of an expression, each on a line with its path, without evaluating
   it: those that make it fail with every value. O(n). */
void examine(struct job *job, const node *expression);

/* Prints "NAME: TEXT" and makes the answer no. */
void print_finding(struct job *job, const char *name, const char *text);

/* A message of expr_eval() without the paths of the expression and the context at its
   beginning. If an operation inside the expression failed, the whole message. */
const char *behind_paths(const char *message, const node *expression, const node *context);

#endif
