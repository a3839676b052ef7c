// The values of expressions, before the result becomes a node.
#ifndef NODETREE_EXPR_VALUE_HPP
#define NODETREE_EXPR_VALUE_HPP

#include "node/node_internal.hpp"

#include <utility>

namespace nodetree {

// Either found, a node of the expression or the context, without a reference; or made by an
// operation: a boolean, an integer or a text, without a node.
class Value {
public:
  Value() = default; // no value
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
  // Consumes a text from malloc().
  static Value string(char *text) {
    return Value({.type = NODE_STRING, .origin = Origin::allocated, .text = text});
  }

  node_type type() const { return content_.type; }
  bool is_string() const { return type() == NODE_STRING; }
  const char *type_name() const;

  // The content of a value of this kind.
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

  // The truth of a value, as by expr_coerce_bool(). When memory runs out while a link is
  // followed, sets `out_of_memory` and returns false.
  bool is_true(bool &out_of_memory) const;
  // As by node_equals().
  bool equals(const Value &other) const;
  // A new node, or a new reference to the node found. NULL when memory runs out.
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
