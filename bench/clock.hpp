// The clock of all measurements.
#pragma once

#include <chrono>
#include <time.h>

namespace bench {

// The thread's own time: what the machine does besides does not count.
inline std::chrono::nanoseconds now() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

} // namespace bench
