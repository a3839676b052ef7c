// The operations that find nodes of the context by a chain of paths.
#include "expr/evaluation.hpp"

namespace nodetree {
namespace {

// For a chain of paths that finds nothing: "exists" and "length" have a result all the
// same.
Step nothing_found(Evaluation &evaluation, Frame &frame, Value &value) {
  frame.at = nullptr;
  return frame.operation.rescue ? frame.operation.finish(evaluation, frame, value)
                                : Step::failure;
}

Step begin(Evaluation &evaluation, Frame &frame, Value &value) {
  frame.at = evaluation.context();
  return frame.at ? Step::more : nothing_found(evaluation, frame, value);
}

Step take_path(Evaluation &evaluation, Frame &frame, Value &value) {
  if (!value.is_string()) {
    evaluation.fail(frame.expr,
                    "'get' expression path parameter expecting string or link, got %s.",
                    value.type_name());
    return nothing_found(evaluation, frame, value);
  }
  frame.at = evaluation.lookup(frame.at, value.string());
  if (frame.at)
    return Step::more;
  evaluation.fail(frame.expr, "'get' path %s did not resolve to data in the context.",
                  std::move(value));
  return nothing_found(evaluation, frame, value);
}

Step finish_get(Evaluation &evaluation, Frame &frame, Value &value) {
  node *found = evaluation.target(frame.at);
  if (!found)
    return Step::failure;
  value = Value::found(found);
  return Step::value;
}

Step finish_path(Evaluation &evaluation, Frame &frame, Value &value) {
  const node *found = evaluation.target(frame.at);
  if (!found)
    return Step::failure;
  char *path = node_path(found);
  if (!path)
    return Step::end;
  value = Value::string(path);
  return Step::value;
}

Step finish_exists(Evaluation &evaluation, Frame &frame, Value &value) {
  evaluation.drop_message();
  value = Value::boolean(evaluation.target(frame.at) != nullptr);
  return Step::value;
}

Step finish_length(Evaluation &evaluation, Frame &frame, Value &value) {
  evaluation.drop_message();
  const node *found = evaluation.target(frame.at);
  if (!found || !is_container(found))
    return evaluation.fail(frame.expr,
                           "'length' expression can only be used on containers.");
  value = Value::integer(static_cast<std::int64_t>(found->child_count));
  return Step::value;
}

} // namespace

const Operation get_operation = {.begin = begin, .take = take_path, .finish = finish_get};

const Operation path_operation = {.begin = begin, .take = take_path, .finish = finish_path};

const Operation exists_operation = {
    .begin = begin, .take = take_path, .rescue = nothing_found, .finish = finish_exists};

const Operation length_operation = {
    .begin = begin, .take = take_path, .rescue = nothing_found, .finish = finish_length};

} // namespace nodetree
