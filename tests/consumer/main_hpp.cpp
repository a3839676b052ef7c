#include <cstdio>
#include <nodetree.hpp>

int main() {
  nodetree::Node tree;
  nodetree::NodeStream stream(NODE_STREAM_AUTO,
                              [&tree](nodetree::Node value) { tree = std::move(value); });
  if (!stream.decode("{\"server\":{}}") ||
      !tree["server"].add("port", nodetree::Node::integer(8080)))
    return 1;
  const nodetree::Text text = tree.lookup("/server").to_json();
  std::puts(text ? text.c_str() : "no text");
}
