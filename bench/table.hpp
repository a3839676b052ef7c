// The medians of one document's benchmarks, and the table of ratios made of them.
#pragma once

#include "contender.hpp"
#include "document.hpp"

#include <benchmark/benchmark.h>
#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace bench {

// The name under which a measurement is registered and reported.
std::string benchmark_name(row operation, const contender &library);

// Keeps the times of every repetition; prints failures only.
class collector : public benchmark::BenchmarkReporter {
public:
  bool ReportContext(const Context &) override { return true; }
  void ReportRuns(const std::vector<Run> &runs) override;

  bool failed() const { return failed_; }

  // The median time of an operation, by the name of its benchmark; 0 when not measured.
  double median(const std::string &name) const;

private:
  std::map<std::string, std::vector<double>> times_;
  bool failed_ = false;
};

// Rows are operations, columns libraries, each entry the ratio to the row's floor.
void print_table(std::FILE *out, const document &input, const collector &measured);

} // namespace bench
