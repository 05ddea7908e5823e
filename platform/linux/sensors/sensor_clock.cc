#include "platform/linux/sensors/sensor_clock.h"

#include <thread>

#include "platform/host/energy_meter.h"

namespace tarvel {

SensorClock realSensorClock() {
  return {monotonicTime, [] { return presentLookTime().suspended; },
          [](MonotonicTime time) { std::this_thread::sleep_for(time); }};
}

}  // namespace tarvel
