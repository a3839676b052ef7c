#ifndef NODETREE_CONVERT_MISMATCH_HPP
#define NODETREE_CONVERT_MISMATCH_HPP

#include <cstdlib>
#include <nodetree/log.h>
#include <nodetree/node.h>

namespace nodetree {

// Reports at `place` that `function` expected something else of a node than what it got;
// false, as the conversion's result.
inline bool mismatch(const char *function, int line, const node *place,
                     const char *expected, const node *got, const char *suffix = "") {
  if (!log_get_debug())
    return false;
  char *path = node_path(place);
  log_msg(LOG_DEBUG, "%s:%d: %s: Expected %s, got %s%s.", function, line, path ? path : "?",
          expected, node_type_to_string(got), suffix);
  std::free(path);
  return false;
}

} // namespace nodetree

#endif
