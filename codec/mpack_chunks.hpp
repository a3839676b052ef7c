// Input in chunks for MPack's stream reader, which asks for bytes instead of being given
// them.
#ifndef NODETREE_CODEC_MPACK_CHUNKS_HPP
#define NODETREE_CODEC_MPACK_CHUNKS_HPP

#include <cstddef>
#include <mpack.h>

namespace nodetree {

// Sets a tree up for messages of any size that arrive in pieces. The tree is in error when
// memory runs out.
void mpack_tree_init_chunked(mpack_tree_t *tree);

// Appends a chunk to the bytes that wait to be parsed. False when the tree is in error, with
// memory running out one.
bool mpack_tree_add_chunk(mpack_tree_t *tree, const char *bytes, std::size_t size);

} // namespace nodetree

#endif
