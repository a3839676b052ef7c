#include "expr/value.hpp"

#include <nodetree/expr.h>

#include "node/links.hpp"

using namespace nodetree;

namespace nodetree {
namespace {

// Not inlined, so that other kinds do not pay for its variables.
[[gnu::noinline]] bool is_true_behind(node *link, bool &out_of_memory) {
  Links links;
  node *end = links.resolve(link);
  out_of_memory = out_of_memory || links.out_of_memory();
  // A circular chain ends at one of its links.
  return end && end->type != NODE_LINK && Value::found(end).is_true(out_of_memory);
}

} // namespace

const char *Value::type_name() const {
  node of_the_type = {};
  of_the_type.type = type();
  return node_type_to_string(&of_the_type);
}

bool Value::is_true(bool &out_of_memory) const {
  switch (type()) {
  case NODE_BOOLEAN:
    return boolean();
  case NODE_STRING:
    return *string() != '\0';
  case NODE_INTEGER:
    return integer() != 0;
  case NODE_REAL:
    return real() != 0.0;
  case NODE_OBJECT:
  case NODE_ARRAY:
    return true;
  case NODE_LINK:
    return is_true_behind(content_.found, out_of_memory);
  case NODE_NULL:
    break;
  }
  return false;
}

bool Value::equals(const Value &other) const {
  if (type() != other.type())
    return false;
  switch (type()) {
  case NODE_BOOLEAN:
    return boolean() == other.boolean();
  case NODE_INTEGER:
    return integer() == other.integer();
  case NODE_STRING:
    return std::strcmp(string(), other.string()) == 0;
  default: // operations make no other kinds
    return node_equals(content_.found, other.content_.found);
  }
}

node *Value::to_node() const {
  if (!is_made()) {
    node_ref(content_.found);
    return content_.found;
  }
  switch (type()) {
  case NODE_BOOLEAN:
    return node_new_boolean(boolean());
  case NODE_INTEGER:
    return node_new_integer(integer());
  default:
    return node_new_string(string());
  }
}

} // namespace nodetree

bool expr_coerce_bool(const node *n) {
  bool out_of_memory = false;
  return n && Value::found(const_cast<node *>(n)).is_true(out_of_memory);
}
