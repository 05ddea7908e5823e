#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

// Where the controller's values come from on this machine.

namespace tarvel {

struct SensorSource {
  std::string key;      // of the controller; of a fan "F0Ac" to "F9Ac"
  std::string fanName;  // of a fan, as the controller has it
  std::string chip;     // the driver
  std::string label;    // the driver's, else what the file is called: "temp1"
  std::string file;     // where several are added up, the first
  std::string model;    // of a drive
  double reading = 0;   // in whole units
};

// The sources of those of the keys that have one, in their order, then of the fans that are there.
// Reads every sensor that comes into question once, but none of a card that sleeps; a driver that
// hangs makes it wait, and counters of energy do for a tenth of a second: not for a thread that
// draws. The root is that of sysfs.
std::vector<SensorSource> sensorSources(std::span<const std::string_view> keys,
                                        const std::string& root = "/sys");

}  // namespace tarvel
