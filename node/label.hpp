// The decimal labels of array elements.
#ifndef NODETREE_NODE_LABEL_HPP
#define NODETREE_NODE_LABEL_HPP

#include <cstddef>

namespace nodetree {

// The decimal text of `number` as a key, NULL when memory runs out. Labels below 1000 stand
// ready in a read-only table: most arrays are short, and a label of their own would cost
// their elements half as much again.
char *label_new(std::size_t number);

// Whether the key stands in that table.
bool label_is_shared(const char *key);

} // namespace nodetree

#endif
