#ifndef NODETREE_NODE_GLOB_HPP
#define NODETREE_NODE_GLOB_HPP

#include <nodetree/node.h>

namespace nodetree {

// The nodes that node_lookup_glob() finds, each only the first time. False when memory runs
// out. `matches` is NULL then, and when nothing matches.
bool lookup_distinct(const node *start, const char *path, void **&matches);

} // namespace nodetree

#endif
