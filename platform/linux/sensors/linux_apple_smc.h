#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "platform/apple_smc.h"
#include "platform/linux/sensors/sensor_clock.h"
#include "platform/linux/sensors/sensor_device.h"
#include "platform/linux/sensors/sensor_scan.h"

// The AppleSMC service of a Linux machine: the keys of a real controller where there is one, else
// those that the machine's sensors stand for (sensor_map.h). Without any sensor there is no
// service.
//
// A key is read when it is asked for, once a cycle: a cycle begins with the first question more
// than a second after the last one began, and then reads at once what was asked for in the cycle
// before. Sensors that come and go are found at the beginning of a cycle. A sensor that answered
// once keeps its last reading for as long as its device is there, be it asleep or failing. A device
// that is slow is shown one cycle late, and one that hangs costs one cycle the limit below and then
// nothing until it answers. Main thread only.

namespace tarvel {

struct LinuxSMCOptions {
  std::string root = "/sys";
  SensorClock clock = realSensorClock();
  ReadingLimits limits;
  ControllerOpener openController = openKeyAtIndex;
  NvidiaOptions nvidia;
};

std::unique_ptr<AppleSMC> makeLinuxAppleSMC(LinuxSMCOptions options = {});

}  // namespace tarvel
