// The evaluation of an expression, for the operations.
#ifndef NODETREE_EXPR_EVALUATION_HPP
#define NODETREE_EXPR_EVALUATION_HPP

#include "expr/value.hpp"

#include <memory>
#include <nodetree/expr.h>

namespace nodetree {

class Evaluation;
struct Operation;

// An operation under way, which waits for the value of an operand.
struct Frame {
  Frame(node *array, const Operation &named, node *first)
      : expr(array), operation(named), operand(first) {}

  node *expr;
  const Operation &operation;
  node *operand;         // the next one to evaluate; NULL after the last
  std::size_t index = 0; // of that operand
  node *at = nullptr;    // the node that a chain of paths has reached
  bool within = true;    // whether all numbers so far lie within the bounds
  Value held[2];         // values of earlier operands, or values made of them

  void advance() {
    operand = next_sibling(operand);
    index++;
  }
};

// What an operation does next: ask for its next operand, end with a value or a failure, or
// end the whole evaluation.
enum class Step { more, value, failure, end };

// A part of an operation. On entry `value` is the value of the operand, if one was asked
// for; with Step::value it is on return the value of the operation.
using Part = Step (*)(Evaluation &, Frame &, Value &value);

struct Operation {
  std::size_t least = 1, most = SIZE_MAX; // elements of the array
  const char *too_few = nullptr, *too_many = nullptr;
  Part begin = nullptr;  // before the first operand; may be NULL
  Part take = nullptr;   // for the value of each operand
  Part rescue = nullptr; // for an operand that failed; if NULL the operation fails
  Part finish = nullptr; // after the last operand
};

extern const Operation eq_operation, and_operation, or_operation, not_operation,
    atom_operation, assert_operation, unique_operation;
extern const Operation get_operation, path_operation, exists_operation, length_operation;
extern const Operation range_operation, regex_operation;

// Keeps operations in an array of frames, so that nesting takes no stack.
class Evaluation {
public:
  Evaluation(node *context, char **error) : context_(context), error_(error) {}
  Evaluation(const Evaluation &) = delete;
  Evaluation &operator=(const Evaluation &) = delete;
  ~Evaluation();

  node *context() const { return context_; }

  // Evaluates the whole expression. False on failure.
  bool run(node *expr, Value &value);

  // node_lookup(), node_follow_link() (other nodes are their own target) and the truth of a
  // value. When memory runs out the evaluation ends.
  node *lookup(node *start, const char *path);
  node *target(node *n);
  bool is_true(const Value &value) { return value.is_true(out_of_memory_); }

  // Notes the failure of the operation `expr`, in place of an earlier failure. `detail`
  // replaces "%s" in the message and must stay valid until report(). The overload for a
  // value takes its text and keeps it.
  Step fail(const node *expr, const char *message, const char *detail = nullptr);
  Step fail(const node *expr, const char *message, Value &&detail);

  // Discards the message, including one that the caller has left in *error.
  void drop_message();

  // Stores the message of the last failure, if there is one. To be called last.
  void report();

private:
  Step evaluate(node *expr, Value &value);
  Step enter(node *expr, Value &value);
  Step refuse(const node *expr, const Operation *operation);
  void pop() { std::destroy_at(--end_); }

  node *context_;
  char **error_;
  const node *failed_ = nullptr;
  const char *message_ = nullptr;
  const char *detail_ = nullptr;
  Value kept_;
  bool out_of_memory_ = false;
  Frame *end_ = frames_; // of the operations under way
  union {                // frames are constructed when they are needed
    Frame frames_[EXPR_NESTING_MAX];
  };
};

} // namespace nodetree

#endif
