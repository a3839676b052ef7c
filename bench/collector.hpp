// The medians of what a benchmark program has measured.
#pragma once

#include <benchmark/benchmark.h>
#include <map>
#include <string>
#include <vector>

namespace bench {

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

} // namespace bench
