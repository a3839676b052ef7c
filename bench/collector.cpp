#include "collector.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdio>

namespace bench {

void collector::ReportRuns(const std::vector<Run> &runs) {
  for (const Run &run : runs) {
    const std::string &name = run.run_name.function_name;
    if (run.error_occurred) {
      std::fprintf(stderr, "%s: %s\n", name.c_str(), run.error_message.c_str());
      failed_ = true;
    } else if (run.run_type == Run::RT_Iteration) {
      times_[name].push_back(run.GetAdjustedRealTime());
    }
  }
}

double collector::median(const std::string &name) const {
  auto found = times_.find(name);
  if (found == times_.end())
    return 0;
  std::vector<double> times = found->second;
  auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
  std::nth_element(times.begin(), middle, times.end());
  return *middle;
}

} // namespace bench
