// Input in chunks for MPack's stream reader, which asks for bytes by a callback.
#ifndef NODETREE_CODEC_MPACK_CHUNKS_HPP
#define NODETREE_CODEC_MPACK_CHUNKS_HPP

#include <cstddef>
#include <mpack.h>

namespace nodetree {

// Prepares a tree to read messages of any size that arrive in chunks. The tree is in error
// when memory runs out.
void mpack_tree_init_chunked(mpack_tree_t *tree);

// Appends a chunk to the bytes to be parsed. False if the tree is in error or memory runs
// out, which is an error of the tree.
bool mpack_tree_add_chunk(mpack_tree_t *tree, const char *bytes, std::size_t size);

} // namespace nodetree

#endif
