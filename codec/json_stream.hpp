// The JSON parser, shared by its two halves: the handlers that build a tree from events,
// and the functions that feed it.
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
  yajl_handle parser; // lives in `memory`; NULL after memory has run out
  unsigned depth;     // containers open at this point of the text
  node *root;         // the top-level value being built; without a callback, the last one
  node *current;      // the innermost open container
  char *pending_key;  // the name of the member whose value comes next, otherwise NULL
  node_value_callback callback;
  void *user_data;
  // The fields above keep their offsets; new ones go below.
  bool name_repeated; // the open object already has the pending key
  nodetree::YajlMemory memory;
  node *pending; // the node that is stored with the pending key, otherwise NULL
  nodetree::CNumericLocale *locale; // in force while the parser runs, otherwise NULL
  nodetree::JsonTail tail;          // the token that the chunks so far leave unfinished
  size_t token_end; // where in the chunk the last text or number ends, or no_token
};

namespace nodetree {

constexpr std::size_t no_token = SIZE_MAX;

// The context of the handlers is the stream.
extern const yajl_callbacks json_handlers;

} // namespace nodetree

#endif
