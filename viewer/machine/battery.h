#pragma once

#include <optional>
#include <string>

#include "viewer/machine/machine_totals.h"

namespace tarvel::viewer {

// The first battery of the machine itself below class/power_supply
// (Documentation/ABI/testing/sysfs-class-power): those of mice and headsets do not count. None
// where there is no battery.
std::optional<Battery> readBattery(const std::string& powerSupplies);

}  // namespace tarvel::viewer
