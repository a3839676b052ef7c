// An expression and a context, or none: repeated evaluations agree, change neither tree,
// and give only messages of the documented form.
#include "trees.hpp"

using namespace fuzz;

namespace {

// A result may be a part of either tree and stays there.
struct unref {
  void operator()(node *n) const { node_unref(n); }
};
using reference = std::unique_ptr<node, unref>;

struct evaluated {
  reference result;
  text message;
};

evaluated evaluate(const tree &expression, const tree &context) {
  char *message = nullptr;
  node *result = expr_eval(expression.get(), context.get(), &message);
  return {reference(result), text(message)};
}

bool is_range(const node *n) {
  return node_is_string(n) && std::strcmp(node_get_string(n), "range") == 0;
}

void check_message(const std::string &message, const tree &context) {
  const std::string middle = " (" + std::string(context ? "/" : "") + "): ";
  require(message[0] == '/' && message.find(middle) != std::string::npos,
          "a message names two paths and what is wrong");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  lines in(data, size);
  const tree expression = grow(in.next());
  const std::string line = in.next();
  const tree context = line.empty() ? nullptr : grow(line);
  const tree expression_before(node_clone(expression.get()));
  const tree context_before(node_clone(context.get()));
  {
    const evaluated first = evaluate(expression, context);
    const evaluated second = evaluate(expression, context);
    const reference silent(expr_eval(expression.get(), context.get(), nullptr));
    require(same(first.result, second.result) && same(first.result, silent),
            "evaluations give the same");
    require(
        !first.message == !second.message &&
            (!first.message || std::strcmp(first.message.get(), second.message.get()) == 0),
        "and say the same");
    if (first.message) {
      check_message(first.message.get(), context);
      require(!first.result || any(expression.get(), is_range),
              "only 'range' leaves a message beside a result");
    }
    require(node_is_array(expression.get()) || first.result.get() == expression.get(),
            "a literal is itself");
  }
  require_unshared(expression);
  require(same(expression, expression_before), "the expression is unchanged");
  if (context) {
    require_unshared(context);
    require(same(context, context_before), "the context is unchanged");
  }
  return 0;
}
