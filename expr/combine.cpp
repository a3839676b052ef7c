// The operations that combine or compare values.
#include "expr/evaluation.hpp"

namespace nodetree {
namespace {

Step answer(bool truth, Value &value) {
  value = Value::boolean(truth);
  return Step::value;
}

Step finish_true(Evaluation &, Frame &, Value &value) {
  return answer(true, value);
}

Step finish_false(Evaluation &, Frame &, Value &value) {
  return answer(false, value);
}

Step take_eq(Evaluation &, Frame &frame, Value &value) {
  if (frame.index > 0)
    return value.equals(frame.held[0]) ? Step::more : answer(false, value);
  frame.held[0] = std::move(value);
  return Step::more;
}

Step take_and(Evaluation &evaluation, Frame &, Value &value) {
  return evaluation.is_true(value) ? Step::more : answer(false, value);
}

Step take_or(Evaluation &evaluation, Frame &, Value &value) {
  return evaluation.is_true(value) ? answer(true, value) : Step::more;
}

Step take_not(Evaluation &evaluation, Frame &, Value &value) {
  return answer(!evaluation.is_true(value), value);
}

Step begin_atom(Evaluation &, Frame &frame, Value &value) {
  value = Value::found(frame.operand);
  return Step::value;
}

Step take_assert(Evaluation &evaluation, Frame &frame, Value &value) {
  if (frame.index == 0 && evaluation.is_true(value))
    return Step::value;
  if (frame.index == 0)
    return Step::more;
  if (!value.is_string())
    return evaluation.fail(frame.expr,
                           "'assert' message parameter must evaluate to a string.");
  return evaluation.fail(frame.expr, "%s", std::move(value));
}

Step finish_assert(Evaluation &evaluation, Frame &frame, Value &) {
  return evaluation.fail(frame.expr, "Assertion failed.");
}

} // namespace

const Operation eq_operation = {
    .least = 3,
    .too_few = "'eq' expression requires two or more operands.",
    .take = take_eq,
    .finish = finish_true,
};

const Operation and_operation = {
    .least = 3,
    .too_few = "'and' expression requires two or more operands.",
    .take = take_and,
    .finish = finish_true,
};

const Operation or_operation = {
    .least = 3,
    .too_few = "'or' expression requires two or more operands.",
    .take = take_or,
    .finish = finish_false,
};

const Operation not_operation = {
    .least = 2,
    .most = 2,
    .too_few = "'not' expression requires exactly one operand.",
    .too_many = "'not' expression requires exactly one operand.",
    .take = take_not,
};

const Operation atom_operation = {
    .least = 2,
    .most = 2,
    .too_few = "'atom' expression requires exactly one parameter.",
    .too_many = "'atom' expression requires exactly one parameter.",
    .begin = begin_atom,
};

const Operation assert_operation = {
    .least = 2,
    .most = 3,
    .too_few = "'assert' expression requires at least value expression parameter, "
               "%s were given.",
    .too_many = "'assert' expression requires at most one value expression and one error "
                "message parameter, %s were given.",
    .take = take_assert,
    .finish = finish_assert,
};

const Operation unique_operation = {.begin = finish_true};

} // namespace nodetree
