// MessagePack bytes to a flat tree of typed nodes and back, with the names of MPack's node
// reader and growable writer, so that MPack itself can stand in for this folder. Built into
// the library and seen by the codec alone.
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

// The error's name, a constant.
const char *mpack_error_to_string(mpack_error_t error);

enum mpack_type_t : std::uint8_t {
  mpack_type_missing = 0, // no value has it
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
  std::uint32_t count; // bytes of a text, elements of an array, pairs of a map
  union {
    std::uint64_t number;              // the bits of a scalar
    std::size_t text;                  // where it begins in the message
    const mpack_node_data_t *children; // side by side; a map's in pairs of key and value
  };
};

// A block of records, which stand behind it.
struct alignas(mpack_node_data_t) mpack_page_t {
  mpack_page_t *next;
  std::size_t count;
  std::size_t room;
};

// The values that belong to no complete container yet, one after another in the order of the
// message. A container among them takes two places, and all behind it are its children.
union mpack_waiting_t {
  mpack_node_data_t value;
  struct { // the second place
    std::size_t parent;
    std::uint64_t missing; // of the parent's children, this one included
  } open;
};

struct mpack_tree_t {
  mpack_error_t error; // the first one; it stays
  const char *message; // the bytes of the current message and what has come behind it
  std::size_t available;
  std::size_t position;     // where in them the next value begins
  std::uint64_t needed;     // so many must have come before the next value can be read
  bool complete;            // the message; its root waits for no container
  mpack_page_t *pages;      // the children of complete containers, the newest page first
  mpack_waiting_t *waiting; // what waits for its container
  std::size_t waiting_count;
  std::size_t waiting_room;
  std::size_t open;      // the innermost container that misses children, or no_container
  std::uint64_t missing; // how many of them
  char *buffer;          // of chunked input; `message` points into it
  std::size_t buffer_room;
};

struct mpack_node_t {
  const mpack_node_data_t *data;
  mpack_tree_t *tree;
};

// Sets a tree up to read the first message of a buffer, which must outlive it.
void mpack_tree_init_data(mpack_tree_t *tree, const char *data, std::size_t length);

// Sets a tree up to read messages, one after another, that arrive in pieces.
void mpack_tree_init_chunked(mpack_tree_t *tree);

// Appends a copy of a chunk to the bytes that wait to be parsed. False when the tree is in
// error; memory running out is one.
bool mpack_tree_add_chunk(mpack_tree_t *tree, const char *bytes, std::size_t size);

// Reads the whole message; one that is cut short is an error.
void mpack_tree_parse(mpack_tree_t *tree);

// Reads on, in the message after the current one if that is complete: whether the message
// is complete now. Otherwise more bytes are needed or there is an error, and what a large
// message took goes back. All calls take linear time, however the messages are cut.
bool mpack_tree_try_parse(mpack_tree_t *tree);

// Releases what the tree holds; returns its error.
mpack_error_t mpack_tree_destroy(mpack_tree_t *tree);

inline mpack_error_t mpack_tree_error(mpack_tree_t *tree) {
  return tree->error;
}

// The first error counts.
inline void mpack_tree_flag_error(mpack_tree_t *tree, mpack_error_t error) {
  if (tree->error == mpack_ok)
    tree->error = error;
}

// The bytes of the parsed message.
inline std::size_t mpack_tree_size(mpack_tree_t *tree) {
  return tree->position;
}

inline mpack_node_t mpack_tree_root(mpack_tree_t *tree) {
  return {&tree->waiting->value, tree};
}

// In a tree with an error every node is nil, and so has no value of any other type. Asking
// a node for what its type does not have is the error mpack_error_type.

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

// Of an integer of either type; one above INT64_MAX is a type error too.
inline std::int64_t mpack_node_i64(mpack_node_t n) {
  const bool fits = n.data->number <= std::uint64_t{INT64_MAX};
  mpack_type_t type = n.data->type;
  auto *value =
      mpack_value_of(n, type == mpack_type_int || (type == mpack_type_uint && fits));
  return value ? static_cast<std::int64_t>(value->number) : 0;
}

// Of a number with a fraction of either width.
inline double mpack_node_double(mpack_node_t n) {
  mpack_type_t type = n.data->type;
  auto *value = mpack_value_of(n, type == mpack_type_float || type == mpack_type_double);
  if (!value)
    return 0.0;
  return type == mpack_type_double
             ? std::bit_cast<double>(value->number)
             : std::bit_cast<float>(static_cast<std::uint32_t>(value->number));
}

// Not ended by a NUL.
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

// Children by index. The node must be such a container in a tree without an error, and the
// index below its count.

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
  char *end; // of what is written
  char *limit;
  char **data;
  std::size_t *size;
};

// Sets a writer up whose message goes to *data and *size when it is destroyed; until then,
// and after an error, they are NULL and 0. The message is released with free().
void mpack_writer_init_growable(mpack_writer_t *writer, char **data, std::size_t *size);

// Returns the writer's error.
mpack_error_t mpack_writer_destroy(mpack_writer_t *writer);

inline void mpack_writer_flag_error(mpack_writer_t *writer, mpack_error_t error) {
  if (writer->error == mpack_ok)
    writer->error = error;
}

void mpack_write_nil(mpack_writer_t *writer);
void mpack_write_bool(mpack_writer_t *writer, bool value);
void mpack_write_i64(mpack_writer_t *writer, std::int64_t value); // in the shortest form
void mpack_write_double(mpack_writer_t *writer, double value);
void mpack_write_cstr(mpack_writer_t *writer, const char *text);
void mpack_start_array(mpack_writer_t *writer, std::uint32_t count);
void mpack_start_map(mpack_writer_t *writer, std::uint32_t count);
inline void mpack_finish_array(mpack_writer_t *) {}
inline void mpack_finish_map(mpack_writer_t *) {}

#endif
