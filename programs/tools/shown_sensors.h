#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/linux/disks/ata_disks.h"
#include "platform/linux/sensors/sensor_sources.h"

// The names that viewers show, each with the place where its reading comes from:
// "Airport Proximity" is temp1 of the chip iwlwifi_1.

namespace tarvel::tools {

struct ShownSensor {
  std::string_view panel;  // "temperatures", "fans", "voltages", "currents" or "powers"
  std::string name;
  SensorSource source;
};

// Asks the machine, which may take a tenth of a second and, where a driver hangs, forever: for a
// thread beside the one that draws. Disks that only commands can read are listed though this user
// may not be allowed to send any.
std::vector<ShownSensor> shownSensors(const std::string& sysRoot = "/sys",
                                      const AtaDiskRoots& disks = {});

}  // namespace tarvel::tools
