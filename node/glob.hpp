#ifndef NODETREE_NODE_GLOB_HPP
#define NODETREE_NODE_GLOB_HPP

#include <nodetree/node.h>

namespace nodetree {

// node_lookup_glob() that tells a search without matches from one that was given up: false
// when memory or the links allowed run out. `matches` is NULL in both cases.
bool lookup_glob(const node *start, const char *path, void **&matches);

} // namespace nodetree

#endif
