#include "smart/ata_data.h"

#include <array>
#include <numeric>
#include <string_view>

#include "text/utf8.h"

namespace tarvel {
namespace {

constexpr std::size_t kModelAt = 54;
constexpr std::size_t kModelLength = 40;
constexpr std::size_t kCommandSetsAt = 164;
constexpr std::uint8_t kSmartBit = 0x01;
constexpr std::size_t kSignatureAt = 510;
constexpr std::uint8_t kSignature = 0xA5;
constexpr int kNoSignature = 255;

constexpr std::size_t kAttributesAt = 2;
constexpr std::size_t kAttributeCount = 30;
constexpr std::size_t kAttributeLength = 12;
constexpr std::size_t kRawAt = 5;
constexpr std::uint8_t kTemperatureAttribute = 194;

}  // namespace

int VerifyIdentifyData(AtaBlockView identify) {
  if (identify[kSignatureAt] != kSignature) return kNoSignature;
  return std::accumulate(identify.begin(), identify.end(), 0) % 256;
}

std::optional<std::string> modelName(AtaBlockView identify) {
  // Two characters a word, the first one in its high byte.
  std::string field;
  for (std::size_t i = 0; i < kModelLength; ++i) {
    field.push_back(static_cast<char>(identify[kModelAt + (i ^ 1)]));
  }
  std::string_view model = std::string_view(field).substr(0, field.find('\0'));
  if (!isUTF8(model)) return std::nullopt;
  constexpr std::string_view blanks = " \t";
  const auto first = model.find_first_not_of(blanks);
  if (first == std::string_view::npos) return std::string();
  return std::string(model.substr(first, model.find_last_not_of(blanks) + 1 - first));
}

bool supportsSmart(AtaBlockView identify) { return (identify[kCommandSetsAt] & kSmartBit) != 0; }

std::optional<std::uint8_t> attributeTemperature(AtaBlockView smart) {
  std::optional<std::uint8_t> temperature;
  for (std::size_t i = 0; i < kAttributeCount; ++i) {
    const auto attribute = smart.subspan(kAttributesAt + i * kAttributeLength, kAttributeLength);
    if (attribute[0] == kTemperatureAttribute) temperature = attribute[kRawAt];
  }
  return temperature;
}

std::int32_t convertedTemperature(std::int32_t celsius, TemperatureUnit unit) {
  switch (unit) {
    case TemperatureUnit::fahrenheit:
      return 2 * celsius - celsius / 5 + 32;
    case TemperatureUnit::kelvin:
      return static_cast<std::int32_t>(celsius + 273.15);
    case TemperatureUnit::celsius:
      break;
  }
  return celsius;
}

}  // namespace tarvel
