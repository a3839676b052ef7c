#include "bench.hpp"

#include <nlohmann/json.hpp>

namespace bench {
namespace {

using nlohmann::json;

json &tree_of(void *tree) {
  return *static_cast<json *>(tree);
}

void *parse(std::string_view text) {
  return new json(json::parse(text, nullptr, false));
}

const json *child(const json *at, std::string_view segment) {
  if (at->is_array())
    return to_index(segment) < at->size() ? &(*at)[to_index(segment)] : nullptr;
  const auto member = at->find(segment);
  return member != at->end() ? &*member : nullptr;
}

bool lookup(void *tree, const char *path) {
  return find<const json>(&tree_of(tree), path, child) != nullptr;
}

std::size_t answer(std::string_view text) {
  const json request = json::parse(text);
  const json &params = request["params"];
  const json reply{
      {"id", request["id"].get<long>()},
      {"status", "ok"},
      {"guest", params["guests"][0].get<std::string>()},
      {"total", params["nights"].get<double>() * params["price"].get<double>()}};
  return reply.dump().size();
}

} // namespace

const library nlohmann{.name = "nlohmann",
                       .parse = parse,
                       .release = [](void *tree) { delete &tree_of(tree); },
                       .write = [](void *tree) { return tree_of(tree).dump().size(); },
                       .lookup = lookup,
                       .copy = [](void *tree) -> void * { return new json(tree_of(tree)); },
                       .equal = [](void *a, void *b) { return tree_of(a) == tree_of(b); },
                       .answer = answer};

} // namespace bench
