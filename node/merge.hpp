#ifndef NODETREE_NODE_MERGE_HPP
#define NODETREE_NODE_MERGE_HPP

#include <nodetree/node.h>

namespace nodetree {

// node_merge() without its checks and without releasing the source, which is left null if
// it was a container or a string.
void merge_contents(node *target, node *source);

} // namespace nodetree

#endif
