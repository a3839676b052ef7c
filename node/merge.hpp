#ifndef NODETREE_NODE_MERGE_HPP
#define NODETREE_NODE_MERGE_HPP

#include <nodetree/node.h>

namespace nodetree {

// Is told of every target whose content is about to be replaced.
struct Replacing {
  void (*tell)(node *target, void *context) = nullptr;
  void *context = nullptr;
  void operator()(node *target) const {
    if (tell)
      tell(target, context);
  }
};

// node_merge() without its refusals and without releasing the source, which is left null
// when it was a container or a string.
void merge_contents(node *target, node *source, Replacing replacing = {});

} // namespace nodetree

#endif
