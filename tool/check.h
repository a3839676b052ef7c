/* Rules, and what is found out about them. */
#ifndef NODETREE_TOOL_CHECK_H
#define NODETREE_TOOL_CHECK_H

#include "tool.h"

/* Prints what is wrong with an expression, a line a fault with its path, without evaluating
   it: what must fail whatever it is evaluated against. O(n). */
void examine(struct job *job, const node *expression);

/* Prints "NAME: TEXT" and makes the answer no. */
void print_finding(struct job *job, const char *name, const char *text);

/* What expr_eval() says in a message, without the paths of the expression and the context in
   front of it; all of it where something inside the expression has failed. */
const char *behind_paths(const char *message, const node *expression, const node *context);

#endif
