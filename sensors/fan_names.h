#pragma once

#include <array>

#include "sensors/sensor_name.h"

// What the controller calls a fan, without blanks, and what it is shown as. A fan of another name
// is shown by it.

namespace tarvel {

inline constexpr auto kFanNames = std::to_array<SensorName>({
    {"SLOT", "Slots"},
    {"BACKSIDE", "Backside"},
    {"IO", "HD/Expansion"},
    {"EXHAUST", "Exhaust"},
    {"PS", "Power Supply"},
    {"CPU_MEM", "CPU Fan"},
    {"Leftside", "Left Fan"},
    {"Rightside", "Right Fan"},
    {"Master", "Main Fan"},
    {"Main", "Main Fan"},
    {"ODD", "Optical Drive"},
    {"CPU", "CPU Fan"},
    {"HDD", "Hard Drive"},
});

}  // namespace tarvel
