#include "harness.hpp"

#include <climits>
#include <malloc.h>
#include <time.h>

namespace bench {

void keep_heap() {
  mallopt(M_MMAP_MAX, 0);
  mallopt(M_TRIM_THRESHOLD, INT_MAX);
}

std::vector<char *> with_defaults(int argc, char **argv) {
  static char repetitions[] = "--benchmark_repetitions=15";
  static char interleaving[] = "--benchmark_enable_random_interleaving=true";
  static char min_time[] = "--benchmark_min_time=0.01";
  std::vector<char *> result{argv[0], repetitions, interleaving, min_time};
  result.insert(result.end(), argv + 1, argv + argc);
  return result;
}

std::chrono::nanoseconds now() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

} // namespace bench
