#pragma once

#include <functional>

#include "platform/linux/monotonic_clock.h"

namespace tarvel {

// Time as the sensors need it. Called on the reading threads.
struct SensorClock {
  MonotonicClock now;
  MonotonicClock suspended;  // for how long the machine has been suspended altogether
  std::function<void(MonotonicTime)> sleep;
};

SensorClock realSensorClock();

}  // namespace tarvel
