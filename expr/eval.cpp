#include "expr/evaluation.hpp"
#include "node/links.hpp"
#include "shared/memory.hpp"

#include <array>
#include <iterator>
#include <nodetree/string.h>

using namespace nodetree;

namespace nodetree {
namespace {

constexpr struct {
  const char *name;
  const Operation &operation;
} operations[] = {
    {"eq", eq_operation},         {"and", and_operation},
    {"or", or_operation},         {"not", not_operation},
    {"get", get_operation},       {"value", get_operation},
    {"exists", exists_operation}, {"range", range_operation},
    {"length", length_operation}, {"path", path_operation},
    {"regex", regex_operation},   {"assert", assert_operation},
    {"atom", atom_operation},     {"unique", unique_operation},
};

// The slot of an operation's index, by the first two letters, which differ for all names.
constexpr std::size_t slots = 64;
constexpr std::size_t slot_of(const char *name) {
  return *name ? (2u * static_cast<unsigned char>(name[0]) +
                  static_cast<unsigned char>(name[1])) %
                     slots
               : 0;
}
constexpr auto index_at = [] {
  std::array<unsigned char, slots> table = {};
  for (std::size_t i = 0; i < std::size(operations); i++)
    table[slot_of(operations[i].name)] = static_cast<unsigned char>(i);
  return table;
}();
static_assert([] {
  for (std::size_t i = 0; i < std::size(operations); i++)
    if (index_at[slot_of(operations[i].name)] != i)
      return false;
  return true;
}());

const Operation *find_operation(const char *name) {
  const auto &[known, operation] = operations[index_at[slot_of(name)]];
  return std::strcmp(known, name) == 0 ? &operation : nullptr;
}

} // namespace

Evaluation::~Evaluation() {
  while (end_ != frames_)
    pop();
}

bool Evaluation::run(node *expr, Value &value) {
  Step step = evaluate(expr, value);
  while (end_ != frames_ && step != Step::end && !out_of_memory_) {
    Frame &frame = end_[-1];
    const Operation &operation = frame.operation;
    if (step == Step::more && !frame.operand) {
      step = operation.finish(*this, frame, value);
      pop();
      continue;
    }
    if (step == Step::more)
      step = evaluate(frame.operand, value);
    if (step == Step::more || step == Step::end)
      continue; // with the operand, or with the failure
    if (step == Step::value || operation.rescue)
      step = (step == Step::value ? operation.take : operation.rescue)(*this, frame, value);
    if (step == Step::more)
      frame.advance();
    else
      pop();
  }
  return step == Step::value && !out_of_memory_;
}

// Evaluates a literal, or the part of an operation before its first operand.
inline Step Evaluation::evaluate(node *expr, Value &value) {
  if (expr->type == NODE_ARRAY)
    return enter(expr, value);
  value = Value::found(expr);
  return Step::value;
}

Step Evaluation::enter(node *expr, Value &value) {
  node *first = first_child(expr);
  const Operation *operation =
      first && first->type == NODE_STRING ? find_operation(first->value.string) : nullptr;
  if (!operation || expr->child_count < operation->least ||
      expr->child_count > operation->most || end_ == std::end(frames_))
    return refuse(expr, operation);
  Frame &frame = *std::construct_at(end_++, expr, *operation, next_sibling(first));
  const Step step = operation->begin ? operation->begin(*this, frame, value) : Step::more;
  if (step != Step::more)
    pop();
  return step;
}

// Fails with the first reason why an array cannot be evaluated. Not inlined, so that its
// variables take no stack elsewhere.
[[gnu::noinline]] Step Evaluation::refuse(const node *expr, const Operation *operation) {
  const node *first = first_child(expr);
  if (end_ == std::end(frames_)) {
    fail(expr, "Expression nested more than %s operations deep.",
         Value::string(string_printf("%d", EXPR_NESTING_MAX)));
    return Step::end;
  }
  if (!first)
    return fail(expr, "Empty expression.");
  if (first->type != NODE_STRING)
    return fail(expr, "Expression operation must be string.");
  if (!operation)
    return fail(expr, "Unknown expression operation: %s", first->value.string);
  return fail(
      expr, expr->child_count < operation->least ? operation->too_few : operation->too_many,
      Value::string(string_printf("%zu", expr->child_count - 1)));
}

node *Evaluation::lookup(node *start, const char *path) {
  Links links;
  node *found = nodetree::lookup(start, path, links);
  out_of_memory_ = out_of_memory_ || links.out_of_memory();
  return found;
}

node *Evaluation::target(node *n) {
  if (!n || n->type != NODE_LINK)
    return n;
  Links links;
  node *found = links.follow(n);
  out_of_memory_ = out_of_memory_ || links.out_of_memory();
  return found;
}

Step Evaluation::fail(const node *expr, const char *message, const char *detail) {
  failed_ = expr;
  message_ = message;
  detail_ = detail;
  return Step::failure;
}

Step Evaluation::fail(const node *expr, const char *message, Value &&detail) {
  kept_ = std::move(detail);
  return fail(expr, message, kept_.string());
}

void Evaluation::drop_message() {
  // A message of this evaluation would have overwritten the caller's without freeing it.
  if (error_ && !message_)
    std::free(*error_);
  if (error_)
    *error_ = nullptr;
  message_ = nullptr;
}

void Evaluation::report() {
  if (!error_ || !message_ || out_of_memory_)
    return;
  *error_ = nullptr;
  const char *place = std::strstr(message_, "%s");
  const Text path(node_path(failed_));
  const Text context_path(context_ ? node_path(context_) : nullptr);
  if (!path || (context_ && !context_path) || (place && !detail_))
    return;
  const std::size_t before =
      place ? static_cast<std::size_t>(place - message_) : std::strlen(message_);
  *error_ = string_printf("%s (%s): %.*s%s%s", path.get(),
                          context_ ? context_path.get() : "", static_cast<int>(before),
                          message_, place ? detail_ : "", place ? place + 2 : "");
}

} // namespace nodetree

node *expr_eval(node *expr, node *context, char **error) {
  if (!expr)
    return nullptr;
  Evaluation evaluation(context, error);
  Value value;
  node *result = evaluation.run(expr, value) ? value.to_node() : nullptr;
  evaluation.report();
  return result;
}
