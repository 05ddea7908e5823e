#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

// Values in the form in which the System Management Controller stores them.

namespace tarvel {

struct ControllerValue {
  std::uint32_t type = 0;  // four-character code
  std::uint32_t size = 0;
  std::array<std::uint8_t, 32> bytes{};
};

enum class Quantity { temperature, voltage, current, power, fanSpeed };

// Degrees Celsius, volts, amperes, watts or revolutions per minute, rounded to nearest, as the
// narrowest type for the quantity that holds the value; none where no type does, since a value cut
// to a limit would look as if it had been measured.
std::optional<ControllerValue> encodedReading(double reading, Quantity quantity);

ControllerValue encodedFanCount(std::uint8_t count);

// The name of a fan: four bytes of its description, then at most twelve characters.
ControllerValue encodedFanName(std::string_view name);

}  // namespace tarvel
