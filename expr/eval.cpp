#include "expr/evaluation.hpp"

#include <cstdarg>
#include <cstdio>
#include <nodetree/string.h>
#include <string_view>

#include "node/links.hpp"

using namespace nodetree;

namespace nodetree {
namespace {

struct FreeText {
  void operator()(char *text) const { std::free(text); }
};
using Text = std::unique_ptr<char, FreeText>;

constexpr struct {
  std::string_view name;
  Operation run;
} operations[] = {
    {"eq", eval_eq},       {"range", eval_range},   {"and", eval_and},
    {"or", eval_or},       {"not", eval_not},       {"atom", eval_atom},
    {"get", eval_get},     {"value", eval_get},     {"assert", eval_assert},
    {"regex", eval_regex}, {"exists", eval_exists}, {"length", eval_length},
    {"path", eval_path},   {"unique", eval_unique},
};

} // namespace

Value Evaluation::eval(node *expr) {
  if (!expr)
    return nullptr;
  if (!node_is_array(expr))
    return value_of(expr);
  if (depth_ == EXPR_NESTING_MAX)
    return fail(expr, "Expression nested more than %d operations deep.", EXPR_NESTING_MAX);
  depth_++;
  Value value = run(expr);
  depth_--;
  return value;
}

Value Evaluation::run(node *expr) {
  const node *first = first_child(expr);
  if (!first)
    return fail(expr, "Empty expression.");
  if (!node_is_string(first))
    return fail(expr, "Expression operation must be string.");
  const std::string_view name = node_get_string(first);
  for (const auto &operation : operations)
    if (name == operation.name)
      return operation.run(*this, expr);
  return fail(expr, "Unknown expression operation: %s", name.data());
}

Value Evaluation::fail(const node *expr, const char *format, ...) {
  if (!wants_message_)
    return nullptr;
  drop_message();
  has_message_ = true;
  va_list arguments;
  va_start(arguments, format);
  char *formatted = nullptr;
  int length = vasprintf(&formatted, format, arguments);
  va_end(arguments);
  Text reason(length < 0 ? nullptr : formatted);
  Text path(node_path(expr));
  Text context_path(context_ ? node_path(context_) : nullptr);
  if (reason && path && (context_path || !context_))
    message_ = string_printf("%s (%s): %s", path.get(),
                             context_path ? context_path.get() : "", reason.get());
  return nullptr;
}

void Evaluation::drop_message() {
  std::free(message_);
  message_ = nullptr;
  has_message_ = false;
}

} // namespace nodetree

node *expr_eval(node *expr, node *context, char **error) {
  Evaluation evaluation(context, error != nullptr);
  Value value = evaluation.eval(expr);
  if (evaluation.has_message())
    *error = evaluation.take_message();
  return value.release();
}

bool expr_coerce_bool(const node *n) {
  if (n && node_is_link(n))
    n = Links().resolve(const_cast<node *>(n));
  if (!n)
    return false;
  switch (n->type) {
  case NODE_BOOLEAN:
    return node_get_boolean(n);
  case NODE_STRING:
    return !string_empty(node_get_string(n));
  case NODE_INTEGER:
    return node_get_integer(n) != 0;
  case NODE_REAL:
    return node_get_real(n) != 0.0;
  case NODE_OBJECT:
  case NODE_ARRAY:
    return true;
  case NODE_LINK: // a chain of links in a circle
  case NODE_NULL:
    break;
  }
  return false;
}
