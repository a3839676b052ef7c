// The operations that find nodes of the context.
#include "expr/evaluation.hpp"

namespace nodetree {
namespace {

// Resolves the operation's chain of path operands: the node of the context that it reaches,
// not yet referred to; NULL on failure.
node *resolve(Evaluation &evaluation, node *expr) {
  node *at = evaluation.context();
  if (!at)
    return nullptr;
  for (node *operand = first_operand(expr); operand; operand = next_operand(operand)) {
    Value path = evaluation.eval(operand);
    if (!path)
      return nullptr;
    if (!node_is_string(path.get())) {
      evaluation.fail(expr,
                      "'get' expression path parameter expecting string or link, got %s.",
                      node_type_to_string(path.get()));
      return nullptr;
    }
    at = node_lookup(at, node_get_string(path.get()));
    if (!at) {
      evaluation.fail(expr, "'get' path %s did not resolve to data in the context.",
                      node_get_string(path.get()));
      return nullptr;
    }
  }
  return node_is_link(at) ? node_follow_link(at) : at;
}

// For operations that discard every message: none is made in the first place.
node *resolve_quietly(Evaluation &evaluation, node *expr) {
  const bool wanted = evaluation.want_messages(false);
  node *found = resolve(evaluation, expr);
  evaluation.want_messages(wanted);
  return found;
}

} // namespace

Value eval_get(Evaluation &evaluation, node *expr) {
  return value_of(resolve(evaluation, expr));
}

Value eval_path(Evaluation &evaluation, node *expr) {
  node *found = resolve(evaluation, expr);
  if (!found)
    return nullptr;
  char *path = node_path(found);
  Value value(path ? node_new_string(path) : nullptr);
  std::free(path);
  return value;
}

Value eval_exists(Evaluation &evaluation, node *expr) {
  return Value(node_new_boolean(resolve_quietly(evaluation, expr) != nullptr));
}

Value eval_length(Evaluation &evaluation, node *expr) {
  const node *found = resolve_quietly(evaluation, expr);
  if (!found || !node_is_container(found))
    return evaluation.fail(expr, "'length' expression can only be used on containers.");
  return Value(node_new_integer(static_cast<int64_t>(found->child_count)));
}

} // namespace nodetree
