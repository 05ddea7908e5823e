#pragma once

#include <array>
#include <cstddef>
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

// The longest name that a fan can have.
inline constexpr std::size_t kFanNameLength = 28;

// The description of a fan: four bytes of other matters, then its name as far as it is not longer
// than a name may be.
ControllerValue encodedFanName(std::string_view name);

}  // namespace tarvel
