#include "expr/evaluation.hpp"
#include "shared/c_locale.hpp"

#include <cmath>

namespace nodetree {
namespace {

// Strings and integers count as numbers.
bool is_numeric(node_type type) {
  return type == NODE_STRING || type == NODE_INTEGER;
}

// NaN for an empty string.
double number_of(const Value &value) {
  if (!value.is_string())
    return static_cast<double>(value.integer());
  return *value.string() ? to_double_in_c(value.string()) : NAN;
}

// The node at the path; NULL if it is to be skipped. A null behind a link is not skipped.
node *find(Evaluation &evaluation, const char *path) {
  node *found = evaluation.lookup(evaluation.context(), path);
  if (!found || found->type == NODE_NULL)
    return nullptr;
  return evaluation.target(found);
}

Step take_bound(Evaluation &evaluation, Frame &frame, const Value &value) {
  if (!is_numeric(value.type()))
    return evaluation.fail(frame.expr,
                           frame.index == 0
                               ? "'range' lower parameter must be a string or integer."
                               : "'range' upper parameter must be a string or integer.");
  frame.held[frame.index] = Value::real(number_of(value));
  return Step::more;
}

Step take(Evaluation &evaluation, Frame &frame, Value &value) {
  if (frame.index < 2)
    return take_bound(evaluation, frame, value);
  if (!value.is_string())
    return evaluation.fail(frame.expr, "'range' operand must be a path string.");
  node *found = find(evaluation, value.string());
  if (!found)
    return Step::more;
  if (!is_numeric(found->type))
    return evaluation.fail(frame.expr,
                           "'range' path must refer to a string or integer, got %s.",
                           node_type_to_string(found));
  // With a NaN as a bound or as the number, nothing is out of bounds.
  const double number = number_of(Value::found(found));
  if (frame.held[0].real() > number || number > frame.held[1].real())
    frame.within = false;
  return Step::more;
}

// A path operand that fails is skipped; a bound that fails makes the operation fail.
Step rescue(Evaluation &, Frame &frame, Value &) {
  return frame.index < 2 ? Step::failure : Step::more;
}

Step finish(Evaluation &, Frame &frame, Value &value) {
  value = Value::boolean(frame.within);
  return Step::value;
}

} // namespace

const Operation range_operation = {
    .least = 4,
    .too_few =
        "'range' expression requires lower value, upper value, and at least one path "
        "to a string/integer.",
    .take = take,
    .rescue = rescue,
    .finish = finish,
};

} // namespace nodetree
