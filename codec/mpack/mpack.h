// Reads MessagePack into a flat tree of typed nodes and writes it. The names are those of
// MPack's node reader and growable writer, so that MPack itself can replace this folder.
// Only the codec uses it.
#ifndef NODETREE_CODEC_MPACK_MPACK_H
#define NODETREE_CODEC_MPACK_MPACK_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

enum mpack_error_t {
  mpack_ok = 0,
  mpack_error_invalid = 3,
  mpack_error_type = 5,
  mpack_error_too_big = 6,
  mpack_error_memory = 7,
  mpack_error_data = 9
};

// The name of the error, a constant.
const char *mpack_error_to_string(mpack_error_t error);

enum mpack_type_t : std::uint8_t {
  mpack_type_missing = 0, // not the type of any value
  mpack_type_nil,
  mpack_type_bool,
  mpack_type_int,
  mpack_type_uint,
  mpack_type_float,
  mpack_type_double,
  mpack_type_str,
  mpack_type_bin,
  mpack_type_array,
  mpack_type_map,
  mpack_type_ext
};

// ---- Reading ----

// One value of a parsed message.
struct mpack_node_data_t {
  mpack_type_t type;
  std::uint32_t count; // the bytes of a text, elements of an array or pairs of a map
  union {
    std::uint64_t number; // the bits of a scalar
    std::size_t text;     // its offset in the message
    const mpack_node_data_t
        *children; // one after another; in a map each key before its value
  };
};

// A block of records, which follow it.
struct alignas(mpack_node_data_t) mpack_page_t {
  mpack_page_t *next;
  std::size_t count;
  std::size_t room;
};

// The values that are not in a complete container yet, in the order of the message. A
// container takes two places, and all values after it are its children.
union mpack_waiting_t {
  mpack_node_data_t value;
  struct { // the second place of a container
    std::size_t parent;
    std::uint64_t missing; // the number of the parent's missing children, with this one
  } open;
};

struct mpack_tree_t {
  mpack_error_t error; // the first error, which stays
  const char *message; // the bytes of the current message and those after it
  std::size_t available;
  std::size_t position;     // the offset of the next value
  std::uint64_t needed;     // how many bytes must be available to read the next value
  bool complete;            // the current message has been read completely
  mpack_page_t *pages;      // the children of complete containers, the newest page first
  mpack_waiting_t *waiting; // the values that wait for their container
  std::size_t waiting_count;
  std::size_t waiting_room;
  std::size_t open;      // the innermost incomplete container, or no_container
  std::uint64_t missing; // the number of its missing children
  char *buffer;          // for input in chunks; `message` points into it
  std::size_t buffer_room;
};

struct mpack_node_t {
  const mpack_node_data_t *data;
  mpack_tree_t *tree;
};

// Prepares a tree to read the first message of a buffer, which must outlive it.
void mpack_tree_init_data(mpack_tree_t *tree, const char *data, std::size_t length);

// Prepares a tree to read a sequence of messages that arrives in chunks.
void mpack_tree_init_chunked(mpack_tree_t *tree);

// Appends a copy of a chunk to the bytes to be parsed. False if the tree is in error or
// memory runs out, which is an error of the tree.
bool mpack_tree_add_chunk(mpack_tree_t *tree, const char *bytes, std::size_t size);

// Reads the whole message. A truncated one is an error.
void mpack_tree_parse(mpack_tree_t *tree);

// Continues with the current message, or begins the next one if it is complete. Returns
// whether the message is complete now. Otherwise more bytes are needed, or there is an
// error; large blocks are given back. All calls take linear time, whatever the chunks.
bool mpack_tree_try_parse(mpack_tree_t *tree);

// Releases the tree's memory and returns its error.
mpack_error_t mpack_tree_destroy(mpack_tree_t *tree);

inline mpack_error_t mpack_tree_error(mpack_tree_t *tree) {
  return tree->error;
}

// Sets the error, unless there is one already.
inline void mpack_tree_flag_error(mpack_tree_t *tree, mpack_error_t error) {
  if (tree->error == mpack_ok)
    tree->error = error;
}

// The size of the parsed message in bytes.
inline std::size_t mpack_tree_size(mpack_tree_t *tree) {
  return tree->position;
}

inline mpack_node_t mpack_tree_root(mpack_tree_t *tree) {
  return {&tree->waiting->value, tree};
}

// In a tree with an error every node is nil. Asking a node for a value of another type sets
// mpack_error_type.

inline mpack_type_t mpack_node_type(mpack_node_t n) {
  return n.tree->error == mpack_ok ? n.data->type : mpack_type_nil;
}

inline const mpack_node_data_t *mpack_value_of(mpack_node_t n, bool wanted) {
  if (wanted && n.tree->error == mpack_ok)
    return n.data;
  mpack_tree_flag_error(n.tree, mpack_error_type);
  return nullptr;
}

inline const mpack_node_data_t *mpack_value_of(mpack_node_t n, mpack_type_t type) {
  return mpack_value_of(n, n.data->type == type);
}

inline bool mpack_node_bool(mpack_node_t n) {
  auto *value = mpack_value_of(n, mpack_type_bool);
  return value && value->number != 0;
}

// For integers of both types; one above INT64_MAX is a type error too.
inline std::int64_t mpack_node_i64(mpack_node_t n) {
  const bool fits = n.data->number <= std::uint64_t{INT64_MAX};
  mpack_type_t type = n.data->type;
  auto *value =
      mpack_value_of(n, type == mpack_type_int || (type == mpack_type_uint && fits));
  return value ? static_cast<std::int64_t>(value->number) : 0;
}

// For reals of both widths.
inline double mpack_node_double(mpack_node_t n) {
  mpack_type_t type = n.data->type;
  auto *value = mpack_value_of(n, type == mpack_type_float || type == mpack_type_double);
  if (!value)
    return 0.0;
  return type == mpack_type_double
             ? std::bit_cast<double>(value->number)
             : std::bit_cast<float>(static_cast<std::uint32_t>(value->number));
}

// Without a final NUL.
inline const char *mpack_node_str(mpack_node_t n) {
  auto *value = mpack_value_of(n, mpack_type_str);
  return value ? n.tree->message + value->text : nullptr;
}

inline std::size_t mpack_node_strlen(mpack_node_t n) {
  auto *value = mpack_value_of(n, mpack_type_str);
  return value ? value->count : 0;
}

inline std::size_t mpack_node_array_length(mpack_node_t n) {
  auto *value = mpack_value_of(n, mpack_type_array);
  return value ? value->count : 0;
}

inline std::size_t mpack_node_map_count(mpack_node_t n) {
  auto *value = mpack_value_of(n, mpack_type_map);
  return value ? value->count : 0;
}

// Children by index. The node must be a container of this type in a tree without an error,
// and the index less than its count.

inline mpack_node_t mpack_node_array_at(mpack_node_t n, std::size_t index) {
  return {n.data->children + index, n.tree};
}

inline mpack_node_t mpack_node_map_key_at(mpack_node_t n, std::size_t index) {
  return {n.data->children + 2 * index, n.tree};
}

inline mpack_node_t mpack_node_map_value_at(mpack_node_t n, std::size_t index) {
  return {n.data->children + 2 * index + 1, n.tree};
}

// ---- Writing ----

struct mpack_writer_t {
  mpack_error_t error;
  char *start;
  char *end; // of the bytes written
  char *limit;
  char **data;
  std::size_t *size;
};

// Prepares a writer. mpack_writer_destroy() stores the message in *data and *size; until
// then, and after an error, they are NULL and 0. Release the message with free().
void mpack_writer_init_growable(mpack_writer_t *writer, char **data, std::size_t *size);

mpack_error_t mpack_writer_destroy(mpack_writer_t *writer);

inline void mpack_writer_flag_error(mpack_writer_t *writer, mpack_error_t error) {
  if (writer->error == mpack_ok)
    writer->error = error;
}

void mpack_write_nil(mpack_writer_t *writer);
void mpack_write_bool(mpack_writer_t *writer, bool value);
void mpack_write_i64(mpack_writer_t *writer, std::int64_t value); // in its shortest form
void mpack_write_double(mpack_writer_t *writer, double value);
void mpack_write_cstr(mpack_writer_t *writer, const char *text);
void mpack_start_array(mpack_writer_t *writer, std::uint32_t count);
void mpack_start_map(mpack_writer_t *writer, std::uint32_t count);
inline void mpack_finish_array(mpack_writer_t *) {}
inline void mpack_finish_map(mpack_writer_t *) {}

#endif
