// Two trees, and a path for merges that are refused: the result agrees with a slow merge of
// copies, and the source is released.
#include "trees.hpp"

using namespace fuzz;

namespace {

// grow() limits the depth.
node *merged(const node *a, const node *b) {
  if (b == nullptr)
    return node_clone(a);
  if (a == nullptr || a->type != b->type || !node_is_container(b))
    return node_clone(b);
  node *result = node_is_object(a) ? node_new_object() : node_new_array();
  for (const node *side : {a, b})
    for (const node *child = node_container_first(side); child != nullptr;
         child = node_container_next(side, child))
      if (node_is_array(a))
        node_array_append(result, node_clone(child));
      else if (side == a)
        node_object_add(result, child->key, merged(child, node_object_get(b, child->key)));
      else if (node_object_get(a, child->key) == nullptr)
        node_object_add(result, child->key, node_clone(child));
  return result;
}

// Compares also the order of members, and labels that are positions.
void require_alike(const tree &a, const tree &b, bool with_labels) {
  require(same(a, b), "the merge has the values of both");
  const std::vector<node *> left = all(a), right = all(b);
  for (std::size_t i = 0; i < left.size(); i++)
    if (left[i]->parent != nullptr && (with_labels || node_is_object(left[i]->parent)))
      require(std::strcmp(left[i]->key, right[i]->key) == 0, "in the order of both");
}

void require_refused(const tree &top, node *part) {
  const tree before(node_clone(top.get()));
  node_merge(top.get(), part);
  node_merge(part, top.get());
  require(same(top, before), "a merge with a part of itself is refused");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  lines in(data, size);
  const std::string target_line = in.next(), source_line = in.next();
  const tree target = grow(target_line), source = grow(source_line);
  const bool labels = (target_line + source_line).find('^') == std::string::npos;
  if (node *part = node_lookup(target.get(), in.next().c_str()))
    require_refused(target, part);
  const tree expected(merged(target.get(), source.get()));
  const tree holder(node_new_array());
  const bool emptied = node_is_container(source.get()) || node_is_string(source.get());
  node_array_append(holder.get(), source.get());
  node_ref(source.get());

  node_merge(target.get(), source.get());
  require(node_array_count(holder.get()) == 0 && source->parent == nullptr &&
              source->refcount == 1 && (!emptied || node_is_null(source.get())),
          "the source is taken out, emptied and released");
  require_alike(target, expected, labels);
  require_unshared(target);
  return 0;
}
