// One evaluation of an expression, as the operations see it.
#ifndef NODETREE_EXPR_EVALUATION_HPP
#define NODETREE_EXPR_EVALUATION_HPP

#include "node/node_internal.hpp"

#include <cstdlib>
#include <memory>
#include <nodetree/expr.h>
#include <utility>

namespace nodetree {

struct Unref {
  void operator()(node *n) const { node_unref(n); }
};

// A reference of our own to a node.
using Value = std::unique_ptr<node, Unref>;

inline Value value_of(node *n) {
  node_ref(n);
  return Value(n);
}

class Evaluation {
public:
  Evaluation(node *context, bool wants_message)
      : context_(context), wants_message_(wants_message) {}
  Evaluation(const Evaluation &) = delete;
  Evaluation &operator=(const Evaluation &) = delete;
  ~Evaluation() { std::free(message_); }

  node *context() const { return context_; }

  // The value of an expression; NULL on failure.
  Value eval(node *expr);

  // Leaves the message of a failure of the operation `expr` in place of an earlier one, and
  // is the failure's NULL.
  Value fail(const node *expr, const char *format, ...) NODETREE_PRINTF(3, 4);

  // Whether failures from now on leave a message; an earlier one is discarded. Returns
  // whether they did so far.
  bool want_messages(bool wanted) {
    drop_message();
    return std::exchange(wants_message_, wanted);
  }

  bool has_message() const { return has_message_; }
  char *take_message() { return std::exchange(message_, nullptr); }

private:
  Value run(node *operation);
  void drop_message();

  node *context_;
  bool wants_message_;
  bool has_message_ = false;
  char *message_ = nullptr; // may be NULL for want of memory also when there is one
  unsigned depth_ = 0;
};

// The operations. Each takes the operation array, whose name has been seen.
using Operation = Value (*)(Evaluation &, node *);

Value eval_eq(Evaluation &evaluation, node *expr);
Value eval_and(Evaluation &evaluation, node *expr);
Value eval_or(Evaluation &evaluation, node *expr);
Value eval_not(Evaluation &evaluation, node *expr);
Value eval_atom(Evaluation &evaluation, node *expr);
Value eval_assert(Evaluation &evaluation, node *expr);
Value eval_get(Evaluation &evaluation, node *expr);
Value eval_path(Evaluation &evaluation, node *expr);
Value eval_exists(Evaluation &evaluation, node *expr);
Value eval_length(Evaluation &evaluation, node *expr);
Value eval_range(Evaluation &evaluation, node *expr);
Value eval_regex(Evaluation &evaluation, node *expr);
Value eval_unique(Evaluation &evaluation, node *expr);

// The operands of an operation, one after the other; NULL behind the last.
inline node *next_operand(const node *operand) {
  return next_sibling(operand);
}

inline node *first_operand(const node *expr) {
  return next_operand(first_child(expr));
}

} // namespace nodetree

#endif
