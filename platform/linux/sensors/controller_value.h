#pragma once

#include <array>
#include <cstdint>
#include <string_view>

// Values in the form in which the System Management Controller stores them.

namespace tarvel {

struct ControllerValue {
  std::uint32_t type = 0;  // four-character code
  std::uint32_t size = 0;
  std::array<std::uint8_t, 32> bytes{};
};

enum class Quantity { temperature, voltage, current, power, systemPower, fanSpeed };

// Degrees Celsius, volts, amperes, watts or revolutions per minute as a fixed-point value of the
// quantity's type, rounded to nearest. What does not fit gives the nearest limit.
ControllerValue encodedReading(double reading, Quantity quantity);

ControllerValue encodedFanCount(std::uint8_t count);

// The name of a fan: four bytes of its description, then at most twelve characters.
ControllerValue encodedFanName(std::string_view name);

}  // namespace tarvel
