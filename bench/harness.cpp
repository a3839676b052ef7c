#include "harness.hpp"

#include <benchmark/benchmark.h>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <malloc.h>
#include <string_view>
#include <utility>
#include <vector>

namespace bench {
namespace {

// Memory stays in the heap once it has been got. Otherwise a large share of every time
// would be the kernel's, for handing out and clearing pages, and would differ with what ran
// before.
void keep_heap() {
  mallopt(M_MMAP_MAX, 0);
  mallopt(M_TRIM_THRESHOLD, INT_MAX);
}

// The program's arguments behind defaults for Google Benchmark: all measurements in turns,
// many times over. Of two options the later one counts.
std::vector<char *> with_defaults(int argc, char **argv) {
  static char repetitions[] = "--benchmark_repetitions=15";
  static char interleaving[] = "--benchmark_enable_random_interleaving=true";
  static char min_time[] = "--benchmark_min_time=0.01";
  std::vector<char *> result{argv[0], repetitions, interleaving, min_time};
  result.insert(result.end(), argv + 1, argv + argc);
  return result;
}

// Takes the option --chart out: its value, or an empty one.
std::string take_chart_path(std::vector<char *> &arguments) {
  constexpr std::string_view option = "--chart=";
  std::string path;
  std::erase_if(arguments, [&](const char *argument) {
    bool found = std::string_view(argument).starts_with(option);
    if (found)
      path = argument + option.size();
    return found;
  });
  return path;
}

} // namespace

int run_program(int argc, char **argv, program_body compare) {
  keep_heap();
  std::vector<char *> arguments = with_defaults(argc, argv);
  std::string chart_path = take_chart_path(arguments);
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  try {
    chart picture;
    bool succeeded =
        compare({arguments.data() + 1, static_cast<std::size_t>(count - 1)}, picture);
    if (!chart_path.empty())
      write_svg(chart_path, picture);
    return succeeded ? EXIT_SUCCESS : EXIT_FAILURE;
  } catch (const std::exception &e) {
    std::fprintf(stderr, "%s\n", e.what());
    return EXIT_FAILURE;
  }
}

void add_benchmark(const std::string &name,
                   std::function<std::chrono::duration<double>()> measure) {
  auto time = [measure = std::move(measure)](benchmark::State &state) {
    try {
      for (auto _ : state)
        state.SetIterationTime(measure().count());
    } catch (const std::exception &e) {
      state.SkipWithError(e.what());
    }
  };
  benchmark::RegisterBenchmark(name.c_str(), time)->UseManualTime();
}

} // namespace bench
