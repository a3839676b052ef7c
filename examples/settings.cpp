/*
 * Edits a JSON configuration and shows what has changed: the same program as settings.c.
 *
 *     settings_cpp examples/data/service.json /server/port=9443 /limits/burst
 *
 * PATH=VALUE sets the value at the path and creates it if it is missing; a value that is
 * not JSON is taken as a string. PATH alone removes the value. With -w as the first
 * argument the file itself is changed.
 */
#include <cstdio>
#include <cstdlib>
#include <nodetree.hpp>

using nodetree::Node;

static int complain(const char *what, const char *why) {
  std::fprintf(stderr, "%s: %s\n", what, why);
  return EXIT_FAILURE;
}

// Makes one change. False on failure.
static bool edit(Node &config, std::string_view change) {
  const std::size_t sign = change.find('=');
  const std::string_view path = change.substr(0, sign);
  if (sign == std::string_view::npos) {
    const Node removed = config.lookup(path).detach();
    return static_cast<bool>(removed);
  }
  const std::string_view text = change.substr(sign + 1);
  Node value = Node::from_json(text);
  return value ? config.set(path, std::move(value)) : config.set(path, text);
}

int main(int argc, char **argv) {
  const bool write = argc > 1 && std::string_view(argv[1]) == "-w";
  const int first = write ? 2 : 1;
  if (argc <= first)
    return complain("usage", "settings_cpp [-w] FILE [PATH=VALUE | PATH]...");

  auto config = nodetree::read_json(argv[first]);
  if (!config)
    return complain("settings_cpp", config.reason());
  const Node before = config->clone();

  for (int i = first + 1; i < argc; i++)
    if (!edit(*config, argv[i]))
      return complain(argv[i], "cannot be changed");

  const nodetree::View port = config->lookup("/server/port"); // may have no node
  if (port && !port.value<std::uint16_t>())
    return complain("/server/port", "not the number of a port");

  const Node difference = before.diff(*config);
  if (difference)
    difference.fprint(stdout); // removed values are not in the difference
  std::printf("listens on %s port %d\n",
              config->lookup("/server/host").value_or("localhost").data(),
              port.value_or(80));
  if (write && !config->write_json(argv[first], false))
    return complain(argv[first], "cannot be written");
}
