// What the benchmark programs run under: settings that make times comparable.
#pragma once

#include <chrono>
#include <functional>
#include <span>
#include <string>

namespace bench {

// The main function of a benchmark program. `body` gets the arguments that are not options
// and tells whether all measurements succeeded; what it throws ends the program.
int run_program(int argc, char **argv, bool (*body)(std::span<char *const> arguments));

// Registers a measurement, which returns the time it took and may throw.
void add_benchmark(const std::string &name,
                   std::function<std::chrono::duration<double>()> measure);

} // namespace bench
