#include "platform/linux/sensors/controller_value.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "platform/host/smc_record.h"

namespace tarvel {
namespace {

struct FixedPoint {
  std::string_view type;
  double unit;  // steps in one degree, volt, ampere, watt or revolution
  double lowest;
  double highest;
};

constexpr double kSignedLowest = std::numeric_limits<std::int16_t>::min();
constexpr double kSignedHighest = std::numeric_limits<std::int16_t>::max();
constexpr double kUnsignedHighest = std::numeric_limits<std::uint16_t>::max();

constexpr FixedPoint fixedPoint(Quantity quantity) {
  switch (quantity) {
    case Quantity::temperature:
      return {"sp78", 256, kSignedLowest, kSignedHighest};
    case Quantity::voltage:
      return {"sp5a", 1024, kSignedLowest, kSignedHighest};
    case Quantity::current:
      return {"sp87", 128, kSignedLowest, kSignedHighest};
    case Quantity::power:
      return {"sp96", 64, kSignedLowest, kSignedHighest};
    case Quantity::systemPower:
      return {"fpa6", 64, 0, kUnsignedHighest};
    case Quantity::fanSpeed:
      break;
  }
  return {"fpe2", 4, 0, kUnsignedHighest};
}

}  // namespace

ControllerValue encodedReading(double reading, Quantity quantity) {
  const FixedPoint form = fixedPoint(quantity);
  const double steps = std::clamp(std::round(reading * form.unit), form.lowest, form.highest);
  const auto bits = static_cast<std::uint32_t>(static_cast<std::int32_t>(steps));
  ControllerValue value{smc_record::codeOf(form.type), 2, {}};
  value.bytes[0] = static_cast<std::uint8_t>(bits >> 8);
  value.bytes[1] = static_cast<std::uint8_t>(bits);
  return value;
}

ControllerValue encodedFanCount(std::uint8_t count) {
  ControllerValue value{smc_record::codeOf("ui8 "), 1, {}};
  value.bytes[0] = count;
  return value;
}

ControllerValue encodedFanName(std::string_view name) {
  constexpr std::size_t nameAt = 4;
  constexpr std::size_t longest = 12;
  ControllerValue value{smc_record::codeOf("{fds"), nameAt + longest, {}};
  std::ranges::transform(name.substr(0, longest), value.bytes.begin() + nameAt,
                         [](char c) { return static_cast<std::uint8_t>(c); });
  return value;
}

}  // namespace tarvel
