#include <cstdio>
#include <nodetree.hpp>

int main() {
  auto tree = nodetree::parse_json(R"({"server":{"port":80}})");
  if (!tree || !tree->set("/server/port", 8080))
    return 1;
  std::puts((*tree)["server"].to_json().c_str());
}
