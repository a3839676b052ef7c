// One evaluation of an expression, as the operations see it.
#ifndef NODETREE_EXPR_EVALUATION_HPP
#define NODETREE_EXPR_EVALUATION_HPP

#include "expr/value.hpp"

#include <memory>
#include <nodetree/expr.h>

namespace nodetree {

class Evaluation;
struct Operation;

// An operation that waits for the values of its operands.
struct Frame {
  Frame(node *array, const Operation &named, node *first)
      : expr(array), operation(named), operand(first) {}

  node *expr;
  const Operation &operation;
  node *operand;         // the next one to be evaluated; NULL behind the last
  std::size_t index = 0; // of that operand
  node *at = nullptr;    // where a chain of paths has come to
  bool within = true;    // whether all numbers so far lie within the bounds
  Value held[2];         // values of earlier operands, or what has been made of them

  void advance() {
    operand = next_sibling(operand);
    index++;
  }
};

// What an operation does next: ask for its next operand, or end, with the whole evaluation
// where that cannot go on.
enum class Step { more, value, failure, end };

// A part of an operation. `value` comes in as the value of the operand, if one was asked
// for, and goes out as the operation's own with Step::value.
using Part = Step (*)(Evaluation &, Frame &, Value &value);

struct Operation {
  std::size_t least = 1, most = SIZE_MAX; // elements of the array
  const char *too_few = nullptr, *too_many = nullptr;
  Part begin = nullptr;  // before the first operand, if there is something to do
  Part take = nullptr;   // with the value of each operand
  Part rescue = nullptr; // after an operand that failed; without it the operation fails
  Part finish = nullptr; // behind the last operand
};

extern const Operation eq_operation, and_operation, or_operation, not_operation,
    atom_operation, assert_operation, unique_operation;
extern const Operation get_operation, path_operation, exists_operation, length_operation;
extern const Operation range_operation, regex_operation;

// Operations wait in an array of frames, so that the depth of an expression takes no stack
// of the program.
class Evaluation {
public:
  Evaluation(node *context, char **error) : context_(context), error_(error) {}
  Evaluation(const Evaluation &) = delete;
  Evaluation &operator=(const Evaluation &) = delete;
  ~Evaluation();

  node *context() const { return context_; }

  // The value of the whole expression; false on failure.
  bool run(node *expr, Value &value);

  // node_lookup(), node_follow_link() of a link (any other node is its own target) and the
  // truth of a value: where memory runs out the evaluation ends.
  node *lookup(node *start, const char *path);
  node *target(node *n);
  bool is_true(const Value &value) { return value.is_true(out_of_memory_); }

  // Notes that the operation `expr` fails, in place of an earlier failure. `detail` stands
  // for "%s" in the message and stays where it is until report(). The same for the text of
  // a value, which is kept.
  Step fail(const node *expr, const char *message, const char *detail = nullptr);
  Step fail(const node *expr, const char *message, Value &&detail);

  // Discards the message, also one that the caller has left in *error.
  void drop_message();

  // Stores the message of what failed last, if there is one. Comes last.
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
  union {                // constructed as they are needed
    Frame frames_[EXPR_NESTING_MAX];
  };
};

} // namespace nodetree

#endif
