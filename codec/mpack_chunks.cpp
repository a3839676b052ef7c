#include "codec/mpack_chunks.hpp"

#include <cstdlib>
#include <cstring>

namespace nodetree {
namespace {

// The bytes that the reader has not asked for yet.
struct Chunks {
  char *bytes;
  std::size_t begin;
  std::size_t end;
  std::size_t room;
};

Chunks *chunks_of(mpack_tree_t *tree) {
  return static_cast<Chunks *>(mpack_tree_context(tree));
}

std::size_t serve(mpack_tree_t *tree, char *buffer, std::size_t count) {
  Chunks *chunks = chunks_of(tree);
  std::size_t waiting = chunks->end - chunks->begin;
  if (count > waiting)
    count = waiting;
  if (count)
    std::memcpy(buffer, chunks->bytes + chunks->begin, count);
  chunks->begin += count;
  return count;
}

void release(mpack_tree_t *tree) {
  std::free(chunks_of(tree)->bytes);
  std::free(chunks_of(tree));
}

// Makes room for `size` more bytes.
bool reserve(Chunks *chunks, std::size_t size) {
  if (chunks->begin == chunks->end)
    chunks->begin = chunks->end = 0;
  if (size <= chunks->room - chunks->end)
    return true;
  if (size > SIZE_MAX / 2 - chunks->room)
    return false;
  std::size_t room = size + chunks->room * 2;
  void *bytes = std::realloc(chunks->bytes, room);
  if (!bytes)
    return false;
  chunks->bytes = static_cast<char *>(bytes);
  chunks->room = room;
  return true;
}

} // namespace

void mpack_tree_init_chunked(mpack_tree_t *tree) {
  auto *chunks = static_cast<Chunks *>(std::calloc(1, sizeof(Chunks)));
  mpack_tree_init_stream(tree, serve, chunks, SIZE_MAX, SIZE_MAX);
  if (chunks)
    mpack_tree_set_teardown(tree, release);
  else
    mpack_tree_flag_error(tree, mpack_error_memory);
}

bool mpack_tree_add_chunk(mpack_tree_t *tree, const char *bytes, std::size_t size) {
  if (mpack_tree_error(tree) != mpack_ok)
    return false;
  Chunks *chunks = chunks_of(tree);
  if (!reserve(chunks, size)) {
    mpack_tree_flag_error(tree, mpack_error_memory);
    return false;
  }
  if (size)
    std::memcpy(chunks->bytes + chunks->end, bytes, size);
  chunks->end += size;
  return true;
}

} // namespace nodetree
