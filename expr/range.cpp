#include "expr/evaluation.hpp"
#include "shared/c_locale.hpp"

#include <cmath>
#include <nodetree/string.h>

namespace nodetree {
namespace {

// Strings and integers have a number; an empty string has none, which is NaN here.
bool is_numeric(const node *n) {
  return node_is_string(n) || node_is_integer(n);
}

double number_of(const node *n) {
  if (node_is_integer(n))
    return static_cast<double>(node_get_integer(n));
  const char *text = node_get_string(n);
  if (string_empty(text))
    return NAN;
  CNumericLocale c_locale;
  return std::atof(text);
}

struct Bounds {
  double low;
  double high;

  // NaN, as a bound or as the number, excludes nothing.
  bool admit(double number) const { return !(low > number) && !(number > high); }
};

// What the path leads to; NULL for what is to be skipped. A null that a link leads to is
// not.
const node *find(node *context, const char *path) {
  const node *found = context ? node_lookup(context, path) : nullptr;
  if (!found || node_is_null(found))
    return nullptr;
  return node_is_link(found) ? node_follow_link(found) : found;
}

} // namespace

Value eval_range(Evaluation &evaluation, node *expr) {
  if (node_array_count(expr) < 4)
    return evaluation.fail(expr,
                           "'range' expression requires lower value, upper value, and "
                           "at least one path to a string/integer.");
  node *operand = first_operand(expr);
  Value low = evaluation.eval(operand);
  if (!low)
    return nullptr;
  if (!is_numeric(low.get()))
    return evaluation.fail(expr, "'range' lower parameter must be a string or integer.");
  operand = next_operand(operand);
  Value high = evaluation.eval(operand);
  if (!high)
    return nullptr;
  if (!is_numeric(high.get()))
    return evaluation.fail(expr, "'range' upper parameter must be a string or integer.");

  const Bounds bounds{number_of(low.get()), number_of(high.get())};
  bool within = true;
  while ((operand = next_operand(operand))) {
    Value path = evaluation.eval(operand);
    if (!path)
      continue;
    if (!node_is_string(path.get()))
      return evaluation.fail(expr, "'range' operand must be a path string.");
    const node *found = find(evaluation.context(), node_get_string(path.get()));
    if (!found)
      continue;
    if (!is_numeric(found))
      return evaluation.fail(expr,
                             "'range' path must refer to a string or integer, got %s.",
                             node_type_to_string(found));
    within = bounds.admit(number_of(found)) && within;
  }
  return Value(node_new_boolean(within));
}

} // namespace nodetree
