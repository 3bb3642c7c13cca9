#pragma once

#include <ctime>
#include <utility>

namespace bench {

inline double seconds_of(clockid_t clock) {
  timespec time{};
  clock_gettime(clock, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

inline double now() { return seconds_of(CLOCK_MONOTONIC); }

/// This process's own, without that of its children.
inline double processor_time() { return seconds_of(CLOCK_PROCESS_CPUTIME_ID); }

template <class Work>
double timed(Work&& work) {
  const double start = now();
  std::forward<Work>(work)();
  return now() - start;
}

}  // namespace bench
