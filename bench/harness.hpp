// What the benchmark programs run under: settings that make times comparable.
#pragma once

#include "chart.hpp"

#include <chrono>
#include <functional>
#include <span>
#include <string>

namespace bench {

// Measures what the arguments that are no options name, prints the results and draws them:
// whether all measurements succeeded. What it throws ends the program.
using program_body = bool (*)(std::span<char *const> arguments, chart &picture);

// The main function of a benchmark program. Options are those of Google Benchmark and
// --chart=FILE, which is where the picture goes; without it there is none.
int run_program(int argc, char **argv, program_body compare);

// Registers a measurement, which returns the time it took and may throw.
void add_benchmark(const std::string &name,
                   std::function<std::chrono::duration<double>()> measure);

} // namespace bench
