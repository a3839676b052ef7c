// Compares nodetree with other C libraries on the generated configuration file and on the
// JSON files given as arguments. The machine's speed is not of interest, only the ratios;
// so all measurements of a document are taken in turns and compared by their medians.
#include "harness.hpp"
#include "subject.hpp"
#include "table.hpp"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <exception>
#include <list>
#include <span>
#include <string>
#include <vector>

namespace {

// Small documents are taken several times over, for the clock's sake.
std::size_t batch_size(const bench::document &input) {
  constexpr std::size_t bytes = 512 * 1024;
  return std::max<std::size_t>(1, bytes / std::max<std::size_t>(1, input.text.size()));
}

void register_rows(const bench::subject &subject, std::size_t batch) {
  for (bench::row operation : subject.library().rows)
    bench::add_benchmark(bench::benchmark_name(operation, subject.library()),
                         [=, &subject] { return subject.run(operation, batch); });
}

bool measure(const bench::document &input, bench::collector &results) {
  bool complete = true;
  std::list<bench::subject> subjects;
  for (const bench::contender *library : bench::contenders()) {
    try {
      register_rows(subjects.emplace_back(*library, input), batch_size(input));
    } catch (const std::exception &e) {
      std::fprintf(stderr, "%s\n", e.what());
      complete = false;
    }
  }
  benchmark::RunSpecifiedBenchmarks(&results);
  benchmark::ClearRegisteredBenchmarks();
  return complete && !results.failed();
}

bool compare(std::span<char *const> files, bench::chart &picture) {
  std::vector<std::string> paths{bench::generated_name};
  paths.insert(paths.end(), files.begin(), files.end());
  picture.series = bench::table_columns();
  bool succeeded = true;
  for (const std::string &path : paths) {
    bench::document input = bench::load_document(path);
    bench::collector results;
    succeeded = measure(input, results) && succeeded;
    print_table(stdout, input, results);
    std::fflush(stdout);
    picture.panels.push_back(bench::draw_table(input, results));
  }
  return succeeded;
}

} // namespace

int main(int argc, char **argv) {
  return bench::run_program(argc, argv, compare);
}
