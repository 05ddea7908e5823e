#include "platform/linux/monotonic_clock.h"

#include <ctime>

namespace tarvel {

MonotonicTime monotonicTime() {
  timespec now{};
  ::clock_gettime(CLOCK_MONOTONIC, &now);
  return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

}  // namespace tarvel
