// What expressions evaluate to, before the result is handed out as a node.
#ifndef NODETREE_EXPR_VALUE_HPP
#define NODETREE_EXPR_VALUE_HPP

#include "node/node_internal.hpp"

#include <utility>

namespace nodetree {

// Either found, a node of the expression or the context without a reference of its own, or
// made by an operation: a truth, a number or a text, which no node is needed for.
class Value {
public:
  Value() = default; // none, until it is assigned
  Value(Value &&other) noexcept : content_(std::exchange(other.content_, {})) {}
  Value &operator=(Value &&other) noexcept {
    release();
    content_ = std::exchange(other.content_, {});
    return *this;
  }
  ~Value() { release(); }

  static Value found(node *n) {
    return Value({.type = n->type, .origin = Origin::found, .found = n});
  }
  static Value boolean(bool truth) {
    return Value({.type = NODE_BOOLEAN, .origin = Origin::made, .boolean = truth});
  }
  static Value integer(std::int64_t number) {
    return Value({.type = NODE_INTEGER, .origin = Origin::made, .integer = number});
  }
  static Value real(double number) {
    return Value({.type = NODE_REAL, .origin = Origin::made, .real = number});
  }
  // Takes over a text from malloc().
  static Value string(char *text) {
    return Value({.type = NODE_STRING, .origin = Origin::allocated, .text = text});
  }

  node_type type() const { return content_.type; }
  bool is_string() const { return type() == NODE_STRING; }
  const char *type_name() const;

  // What a value of the kind holds.
  bool boolean() const {
    return is_made() ? content_.boolean : content_.found->value.boolean;
  }
  std::int64_t integer() const {
    return is_made() ? content_.integer : content_.found->value.integer;
  }
  double real() const { return is_made() ? content_.real : content_.found->value.real; }
  const char *string() const {
    return is_made() ? content_.text : content_.found->value.string;
  }

  // The truth of a value, as expr_coerce_bool() has it. False, with `out_of_memory` set, for
  // a link that could not be followed for that reason.
  bool is_true(bool &out_of_memory) const;
  // As node_equals() has it.
  bool equals(const Value &other) const;
  // A new node, or a reference to the one that was found. NULL when memory runs out.
  node *to_node() const;

  bool is_made() const { return content_.origin != Origin::found; }

private:
  enum class Origin : unsigned char { found, made, allocated };
  struct Content {
    node_type type = NODE_NULL;
    Origin origin = Origin::found;
    union {
      node *found = nullptr;
      bool boolean;
      std::int64_t integer;
      double real;
      char *text;
    };
  };
  explicit Value(Content content) : content_(content) {}

  void release() {
    if (content_.origin == Origin::allocated)
      std::free(content_.text);
  }

  Content content_;
};

} // namespace nodetree

#endif
