// Deadlines for the timed waits: a timeout in milliseconds becomes an absolute time on the
// real-time clock, which is the clock the condition variables measure against.
#pragma once

#include <sys/time.h>
#include <time.h>

#include <cstdint>

namespace zu {
namespace internal {

// The timeout that never runs out. The public forms take an unsigned int, which can never reach
// it, so every value they are given is a finite wait.
constexpr std::uint64_t k_unlimitedTimeoutMs = ~std::uint64_t(0);

// Now plus `timeoutMs`, with the microseconds of now carried into the seconds.
inline timespec DeadlineAfter(std::uint64_t timeoutMs) {
  timeval now;
  gettimeofday(&now, nullptr);
  const std::uint64_t total = timeoutMs * 1000000u +
                              static_cast<std::uint64_t>(now.tv_sec) * 1000000000u +
                              static_cast<std::uint64_t>(now.tv_usec) * 1000u;
  timespec deadline;
  deadline.tv_sec = static_cast<time_t>(total / 1000000000u);
  deadline.tv_nsec = static_cast<long>(total % 1000000000u);
  return deadline;
}

}  // namespace internal
}  // namespace zu
