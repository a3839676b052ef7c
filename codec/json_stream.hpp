// The parser of JSON and what its two halves share: the handlers that make a tree of its
// events, and what feeds it.
#ifndef NODETREE_CODEC_JSON_STREAM_HPP
#define NODETREE_CODEC_JSON_STREAM_HPP

#include "codec/json_tail.hpp"
#include "codec/yajl_memory.hpp"
#include "shared/c_locale.hpp"

#include <cstddef>
#include <cstdint>
#include <nodetree/json.h>
#include <yajl/yajl_parse.h>

struct json_stream {
  yajl_handle parser; // lives in `memory`; NULL once there was too little
  unsigned depth;     // containers open at this point of the text
  node *root;         // the top-level value being built, or without a callback the last one
  node *current;      // the innermost open container
  char *pending_key;  // the member name that waits for its value, NULL when none does
  node_value_callback callback;
  void *user_data;
  // The fields above keep their places; new ones come below.
  bool name_repeated; // the open object has the pending key already
  nodetree::YajlMemory memory;
  node *pending; // the node with the pending key behind it, NULL when none waits
  nodetree::CNumericLocale *locale; // in force while the parser runs, otherwise NULL
  nodetree::JsonTail tail;          // what the chunks so far leave unfinished
  size_t token_end; // where in the chunk the last text or number ends, or no_token
};

namespace nodetree {

constexpr std::size_t no_token = SIZE_MAX;

// The handlers; their context is the stream.
extern const yajl_callbacks json_handlers;

} // namespace nodetree

#endif
