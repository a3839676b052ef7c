#include "expr/evaluation.hpp"

#include <memory>
#include <nodetree/string.h>

using namespace nodetree;

namespace nodetree {
namespace {

// The first eight bytes of a name, as a number.
constexpr std::uint64_t word(const char *name) {
  std::uint64_t word = 0;
  for (int i = 0; i < 8 && name[i] != '\0'; i++)
    word |= static_cast<std::uint64_t>(static_cast<unsigned char>(name[i])) << (8 * i);
  return word;
}

// Names are shorter than a word, so no other name has the same one.
constexpr struct {
  std::uint64_t name;
  const Operation *operation;
} operations[] = {
    {word("eq"), &eq_operation},         {word("and"), &and_operation},
    {word("or"), &or_operation},         {word("not"), &not_operation},
    {word("get"), &get_operation},       {word("value"), &get_operation},
    {word("exists"), &exists_operation}, {word("range"), &range_operation},
    {word("length"), &length_operation}, {word("path"), &path_operation},
    {word("regex"), &regex_operation},   {word("assert"), &assert_operation},
    {word("atom"), &atom_operation},     {word("unique"), &unique_operation},
};

const Operation *find_operation(const char *name) {
  const std::uint64_t wanted = word(name);
  for (const auto &[known, operation] : operations)
    if (known == wanted)
      return operation;
  return nullptr;
}

struct FreeText {
  void operator()(char *text) const { std::free(text); }
};
using Text = std::unique_ptr<char, FreeText>;

} // namespace

Evaluation::~Evaluation() {
  while (depth_ > 0)
    pop();
}

void Evaluation::pop() {
  std::destroy_at(&top());
  depth_--;
}

bool Evaluation::run(node *expr, Value &value) {
  Step step = enter(expr, value);
  while (depth_ > 0 && !given_up_) {
    Frame &frame = top();
    const Operation &operation = *frame.operation;
    if (step == Step::more) {
      if (frame.operand) {
        step = enter(frame.operand, value);
        continue;
      }
      step = operation.finish(*this, frame, value);
    } else {
      const Part part = step == Step::value ? operation.take : operation.rescue;
      step = part ? part(*this, frame, value) : Step::failure;
      if (step == Step::more) {
        frame.operand = next_sibling(frame.operand);
        frame.index++;
        continue;
      }
    }
    pop();
  }
  return step == Step::value;
}

// Evaluates a literal, and of an operation what comes before its first operand.
Step Evaluation::enter(node *expr, Value &value) {
  if (expr->type != NODE_ARRAY) {
    value = Value::found(expr);
    return Step::value;
  }
  if (depth_ == EXPR_NESTING_MAX) {
    fail(expr, "Expression nested more than %s operations deep.",
         Value::string(string_printf("%d", EXPR_NESTING_MAX)));
    return give_up();
  }
  node *first = first_child(expr);
  if (!first)
    return fail(expr, "Empty expression.");
  if (first->type != NODE_STRING)
    return fail(expr, "Expression operation must be string.");
  const Operation *operation = find_operation(first->value.string);
  if (!operation)
    return fail(expr, "Unknown expression operation: %s", first->value.string);
  const std::size_t count = expr->child_count;
  if (count < operation->least || count > operation->most)
    return fail(expr, count < operation->least ? operation->too_few : operation->too_many,
                Value::string(string_printf("%zu", count - 1)));

  Frame &frame = *std::construct_at(
      &frames_[depth_++],
      Frame{.expr = expr, .operation = operation, .operand = next_sibling(first)});
  const Step step = operation->begin ? operation->begin(*this, frame, value) : Step::more;
  if (step != Step::more)
    pop();
  return step;
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
  // A message of this evaluation would have taken the place of the caller's, unreleased.
  if (error_ && !message_)
    std::free(*error_);
  if (error_)
    *error_ = nullptr;
  message_ = nullptr;
}

void Evaluation::report() {
  if (!error_ || !message_)
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
