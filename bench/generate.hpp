#pragma once

#include <string>

namespace bench {

// A configuration file of a few hundred KB, the same at every call: nested objects, short
// arrays, strings, integers, reals and booleans, indented.
std::string generate_configuration();

} // namespace bench
