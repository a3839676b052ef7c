#ifndef NODETREE_CONVERT_MISMATCH_HPP
#define NODETREE_CONVERT_MISMATCH_HPP

#include <cstdlib>
#include <nodetree/log.h>
#include <nodetree/node.h>

namespace nodetree {

// The function and the line that a report names.
struct Caller {
  const char *function;
  int line;
};
#define NODETREE_CALLER (nodetree::Caller{__func__, __LINE__})

// Reports that `caller` expected another kind of node, with the path of `place`. Returns
// false, the result of the conversion.
inline bool mismatch(Caller caller, const node *place, const char *expected,
                     const node *got, const char *suffix = "") {
  if (!log_get_debug())
    return false;
  char *path = node_path(place);
  log_msg(LOG_DEBUG, "%s:%d: %s: Expected %s, got %s%s.", caller.function, caller.line,
          path ? path : "?", expected, node_type_to_string(got), suffix);
  std::free(path);
  return false;
}

} // namespace nodetree

#endif
