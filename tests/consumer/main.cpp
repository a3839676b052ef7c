#include <cstdio>
#include <cstdlib>
#include <memory>
#include <nodetree.h>

int main() {
  std::unique_ptr<node, decltype(&node_free)> tree(node_new_object(), node_free);
  if (!node_object_add(tree.get(), "port", node_new_integer(8080))) {
    return 1;
  }
  std::unique_ptr<char, decltype(&free)> text(json_stringify(tree.get(), true), free);
  std::puts(text ? text.get() : "no text");
  return log_file ? 1 : 0;
}
