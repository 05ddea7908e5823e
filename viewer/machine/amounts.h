#pragma once

#include <chrono>
#include <string>

// How amounts are shown wherever the machine's totals stand. Pure.

namespace tarvel::viewer {

// In binary units with three digits at most: "0K", "812K", "5.2G", "14G".
std::string bytesText(double bytes);

// In hours and minutes: "2:05".
std::string hoursText(std::chrono::minutes time);

// The two largest units: "3d 4h", "5h 12m", "7m".
std::string durationText(std::chrono::seconds time);

}  // namespace tarvel::viewer
