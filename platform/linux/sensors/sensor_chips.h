#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/linux/sensors/file_sensors.h"

// The devices of a machine that have sensors, as sysfs lists them: hwmon chips, batteries, powercap
// zones and thermal zones, in one shape.

namespace tarvel {

struct ChipInput {
  std::string kind;  // temp, in, curr, power, energy or fan
  int number = 0;
  std::string label;
  SensorFile file;
};

struct Chip {
  std::string name;        // the driver's, "battery", "powercap", or a thermal zone's type
  std::string path;        // the folder of its attributes, without links: what it is known by
  std::string statusFile;  // the runtime state of a graphics chip, which may sleep
  std::vector<ChipInput> inputs;  // by number
};

// All chips below a sysfs root, in the order of their paths. An AMD graphics chip that is part of
// the processor is "amdgpu integrated": its power is that of the whole package.
std::vector<Chip> listChips(const std::string& root);

// What tells that devices came or went: the listings of the class folders, and the processors that
// are online.
std::string chipListing(const std::string& root);

}  // namespace tarvel
