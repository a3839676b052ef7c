// yajl's parser, set up as this library's own JSON parser is.
#pragma once

#include <string_view>
#include <yajl/yajl_parse.h>

namespace bench {

// Whether the text parsed as one value. The callbacks get `context`.
bool parse_events(std::string_view text, const yajl_callbacks &callbacks, void *context);

} // namespace bench
