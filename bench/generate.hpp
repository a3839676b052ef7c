#pragma once

#include <string>

namespace bench {

// A configuration file, the same at every call: nested objects, short arrays, strings,
// integers, reals and booleans, indented. The default makes a few hundred KB.
std::string generate_configuration(unsigned services = 420);

} // namespace bench
