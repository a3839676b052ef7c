// The operations that combine or compare values.
#include "expr/evaluation.hpp"

namespace nodetree {
namespace {

Value boolean(bool value) {
  return Value(node_new_boolean(value));
}

// "and" and "or": the first operand whose truth is `decisive` decides.
Value eval_until(Evaluation &evaluation, node *expr, bool decisive) {
  for (node *operand = first_operand(expr); operand; operand = next_operand(operand)) {
    Value value = evaluation.eval(operand);
    if (!value)
      return nullptr;
    if (expr_coerce_bool(value.get()) == decisive)
      return boolean(decisive);
  }
  return boolean(!decisive);
}

} // namespace

Value eval_eq(Evaluation &evaluation, node *expr) {
  if (node_array_count(expr) < 3)
    return evaluation.fail(expr, "'eq' expression requires two or more operands.");
  node *operand = first_operand(expr);
  Value first = evaluation.eval(operand);
  if (!first)
    return nullptr;
  while ((operand = next_operand(operand))) {
    Value value = evaluation.eval(operand);
    if (!value)
      return nullptr;
    if (!node_equals(value.get(), first.get()))
      return boolean(false);
  }
  return boolean(true);
}

Value eval_and(Evaluation &evaluation, node *expr) {
  if (node_array_count(expr) < 3)
    return evaluation.fail(expr, "'and' expression requires two or more operands.");
  return eval_until(evaluation, expr, false);
}

Value eval_or(Evaluation &evaluation, node *expr) {
  if (node_array_count(expr) < 3)
    return evaluation.fail(expr, "'or' expression requires two or more operands.");
  return eval_until(evaluation, expr, true);
}

Value eval_not(Evaluation &evaluation, node *expr) {
  if (node_array_count(expr) != 2)
    return evaluation.fail(expr, "'not' expression requires exactly one operand.");
  Value value = evaluation.eval(first_operand(expr));
  return value ? boolean(!expr_coerce_bool(value.get())) : nullptr;
}

Value eval_atom(Evaluation &evaluation, node *expr) {
  if (node_array_count(expr) != 2)
    return evaluation.fail(expr, "'atom' expression requires exactly one parameter.");
  return value_of(first_operand(expr));
}

Value eval_assert(Evaluation &evaluation, node *expr) {
  size_t parameters = node_array_count(expr) - 1;
  if (parameters < 1)
    return evaluation.fail(expr,
                           "'assert' expression requires at least value expression "
                           "parameter, %zu were given.",
                           parameters);
  if (parameters > 2)
    return evaluation.fail(expr,
                           "'assert' expression requires at most one value expression and "
                           "one error message parameter, %zu were given.",
                           parameters);
  node *operand = first_operand(expr);
  Value value = evaluation.eval(operand);
  if (!value || expr_coerce_bool(value.get()))
    return value;
  value.reset();
  node *message_operand = next_operand(operand);
  if (!message_operand)
    return evaluation.fail(expr, "Assertion failed.");
  Value message = evaluation.eval(message_operand);
  if (!message)
    return nullptr;
  if (!node_is_string(message.get()))
    return evaluation.fail(expr, "'assert' message parameter must evaluate to a string.");
  return evaluation.fail(expr, "%s", node_get_string(message.get()));
}

Value eval_unique(Evaluation &, node *) {
  return boolean(true);
}

} // namespace nodetree
