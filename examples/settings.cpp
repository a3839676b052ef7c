/*
 * Changes a setting in a JSON file and shows the result: the same program as settings.c.
 *
 *     settings_cpp examples/data/service.json
 */
#include <cstdio>
#include <cstdlib>
#include <nodetree.hpp>

using nodetree::Node;
using nodetree::Text;
using nodetree::View;

int main(int argc, char **argv) {
  if (argc != 2) {
    std::fputs("usage: settings_cpp FILE\n", stderr);
    return EXIT_FAILURE;
  }
  const Node config = Node::read_json(argv[1]);
  if (!config) {
    std::fprintf(stderr, "%s: no JSON\n", argv[1]);
    return EXIT_FAILURE;
  }

  // A value is replaced by merging another one over it, which takes that one over. What the
  // path lacks is made, unless something that is no object stands in its way.
  const View port = config.lookup_create("/server/port");
  if (!port) {
    std::fputs("/server: not an object\n", stderr);
    return EXIT_FAILURE;
  }
  port.merge(Node::integer(9443));

  const View server = port.parent();
  for (auto [key, value] : server.members()) {
    const Text text = value.to_json();
    std::printf("%-10s %s\n", key.data(), text ? text.c_str() : "no JSON");
  }
  server.fprint(stdout);
}
