#include "platform/linux/sensors/controller_value.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>

#include "platform/host/smc_record.h"

namespace tarvel {
namespace {

struct FixedPoint {
  std::string_view type;
  double unit;  // steps in one degree, volt, ampere, watt or revolution
  double lowest;
  double highest;
};

constexpr FixedPoint signedType(std::string_view type, double unit) {
  using Bits = std::numeric_limits<std::int16_t>;
  return {type, unit, Bits::min(), Bits::max()};
}

constexpr FixedPoint unsignedType(std::string_view type, double unit) {
  return {type, unit, 0, std::numeric_limits<std::uint16_t>::max()};
}

// The narrowest first.
constexpr FixedPoint kTemperature[] = {signedType("sp78", 256)};
constexpr FixedPoint kVoltage[] = {signedType("sp5a", 1024), signedType("sp69", 512),
                                   signedType("sp78", 256)};
constexpr FixedPoint kCurrent[] = {signedType("sp87", 128), signedType("sp96", 64),
                                   signedType("spb4", 16)};
constexpr FixedPoint kPower[] = {signedType("sp96", 64), unsignedType("fpa6", 64),
                                 unsignedType("fpc4", 16), unsignedType("fpe2", 4),
                                 unsignedType("spf0", 1)};
constexpr FixedPoint kFanSpeed[] = {unsignedType("fpe2", 4), unsignedType("spf0", 1)};

std::span<const FixedPoint> typesFor(Quantity quantity) {
  switch (quantity) {
    case Quantity::temperature:
      return kTemperature;
    case Quantity::voltage:
      return kVoltage;
    case Quantity::current:
      return kCurrent;
    case Quantity::power:
      return kPower;
    case Quantity::fanSpeed:
      break;
  }
  return kFanSpeed;
}

}  // namespace

std::optional<ControllerValue> encodedReading(double reading, Quantity quantity) {
  for (const auto& form : typesFor(quantity)) {
    const double steps = std::round(reading * form.unit);
    if (!(steps >= form.lowest && steps <= form.highest)) continue;
    const auto bits = static_cast<std::uint32_t>(static_cast<std::int32_t>(steps));
    ControllerValue value{smc_record::codeOf(form.type), 2, {}};
    value.bytes[0] = static_cast<std::uint8_t>(bits >> 8);
    value.bytes[1] = static_cast<std::uint8_t>(bits);
    return value;
  }
  return std::nullopt;
}

ControllerValue encodedFanCount(std::uint8_t count) {
  ControllerValue value{smc_record::codeOf("ui8 "), 1, {}};
  value.bytes[0] = count;
  return value;
}

ControllerValue encodedFanName(std::string_view name) {
  constexpr std::size_t nameAt = 4;
  const auto kept = name.substr(0, kFanNameLength);
  ControllerValue value{
      smc_record::codeOf("{fds"), static_cast<std::uint32_t>(nameAt + kept.size()), {}};
  std::ranges::transform(kept, value.bytes.begin() + nameAt,
                         [](char c) { return static_cast<std::uint8_t>(c); });
  return value;
}

}  // namespace tarvel
