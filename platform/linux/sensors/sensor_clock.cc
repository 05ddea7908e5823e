#include "platform/linux/sensors/sensor_clock.h"

#include <ctime>
#include <thread>

namespace tarvel {
namespace {

// CLOCK_BOOTTIME goes on while the machine is suspended, CLOCK_MONOTONIC does not.
MonotonicTime suspendedTime() {
  timespec sinceBoot{};
  ::clock_gettime(CLOCK_BOOTTIME, &sinceBoot);
  return std::chrono::seconds(sinceBoot.tv_sec) + std::chrono::nanoseconds(sinceBoot.tv_nsec) -
         monotonicTime();
}

}  // namespace

SensorClock realSensorClock() {
  return {monotonicTime, suspendedTime,
          [](MonotonicTime time) { std::this_thread::sleep_for(time); }};
}

}  // namespace tarvel
