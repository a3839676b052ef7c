// What the work on whole trees is compared with: the same as a user of jansson has it.
#pragma once

#include <jansson.h>

namespace bench {

// What differs in `to`, as node_diff() tells it: a new value, NULL for nothing. Children
// are shared where node_diff() copies them.
json_t *jansson_diff(const json_t *from, json_t *to);

} // namespace bench
