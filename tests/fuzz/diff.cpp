// Two trees: the difference names each place where they differ and no other.
#include "trees.hpp"

using namespace fuzz;

namespace {

void check_difference(const node *from, const node *to, const node *difference) {
  const bool inside = node_is_container(from) && from->type == to->type;
  require((difference == nullptr) == node_equals(from, to), "equal trees do not differ");
  if (difference == nullptr)
    return;
  if (!inside)
    return require(node_equals(difference, to), "the new value is given");
  require(node_is_object(difference) && node_object_count(difference) != 0,
          "what differs inside a container is named");
  std::size_t named = 0;
  for (const node *side : {to, from}) {
    std::size_t position = 0;
    for (const node *child = node_container_first(side); child != nullptr;
         child = node_container_next(side, child)) {
      const std::string key =
          node_is_object(side) ? child->key : std::to_string(position++);
      const node *other = node_get_child(side == to ? from : to, key.c_str());
      const node *entry = node_object_get(difference, key.c_str());
      named += entry != nullptr && (side == to || other == nullptr);
      if (other == nullptr)
        require(entry != nullptr &&
                    (side == to ? node_equals(entry, child) : node_is_null(entry)),
                "what one side has alone is copied, or null");
      else if (side == to)
        check_difference(other, child, entry);
    }
  }
  require(named == node_object_count(difference), "no other key is named");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  lines in(data, size);
  const tree from = grow(in.next()), to = grow(in.next());
  const tree plain(node_diff(from.get(), to.get()));
  auto special = [](const node *n) { return node_is_link(n) || is_nan(n); };
  if (!any(from.get(), special) && !any(to.get(), special))
    check_difference(from.get(), to.get(), plain.get());

  for (const tree *one : {&from, &to}) {
    const tree copy(node_clone(one->get()));
    require(any(copy.get(), is_nan) ||
                (tree(node_diff(one->get(), one->get())) == nullptr &&
                 tree(node_diff(one->get(), copy.get())) == nullptr),
            "a tree does not differ from itself or a copy");
    const std::uint32_t hash = node_prepare_diff_hash(one->get());
    require(hash == node_prepare_diff_hash(copy.get()), "a copy has the same hash");
    require(hash == node_prepare_diff_hash(one->get()), "a hash stays");
  }
  const tree quick(node_diff(from.get(), to.get()));
  require(plain != nullptr || quick == nullptr, "hashes show no difference");
  require_unshared(from);
  require_unshared(to);
  return 0;
}
