// What the benchmark programs run under: settings that make times comparable.
#pragma once

#include <chrono>
#include <vector>

namespace bench {

// Memory stays in the heap once it has been got. Otherwise a large share of every time
// would be the kernel's, for handing out and clearing pages, and would differ with what ran
// before.
void keep_heap();

// The program's arguments behind defaults for Google Benchmark: all measurements in turns,
// many times over. Of two options the later one counts.
std::vector<char *> with_defaults(int argc, char **argv);

// The thread's own time: what the machine does besides does not count.
std::chrono::nanoseconds now();

} // namespace bench
