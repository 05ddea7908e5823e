#include "platform/linux/disks/disk_reading.h"

#include <algorithm>
#include <limits>
#include <numeric>

namespace tarvel {
namespace {

constexpr std::size_t kSignatureAt = 510;
constexpr std::uint8_t kSignature = 0xA5;
constexpr std::size_t kChecksumAt = 511;
constexpr std::size_t kFirstAttributeAt = 2;
constexpr std::size_t kRawOfAttribute = 5;
constexpr std::uint8_t kTemperatureAttribute = 194;

unsigned sumOf(const AtaBlock& block) { return std::accumulate(block.begin(), block.end(), 0U); }

void putChecksumRight(AtaBlock& block) {
  block[kChecksumAt] = 0;
  block[kChecksumAt] = static_cast<std::uint8_t>((0x100 - sumOf(block) % 0x100) % 0x100);
}

}  // namespace

bool hasRightChecksum(const AtaBlock& block) { return sumOf(block) % 0x100 == 0; }

std::optional<DiskReading> readingOfTemperature(std::string_view identify,
                                                std::int64_t millidegrees) {
  DiskReading reading;
  if (identify.size() != reading.identify.size()) return std::nullopt;
  std::ranges::transform(identify, reading.identify.begin(),
                         [](char c) { return static_cast<std::uint8_t>(c); });
  reading.identify[kSignatureAt] = kSignature;
  putChecksumRight(reading.identify);
  constexpr std::int64_t highest = std::numeric_limits<std::uint8_t>::max();
  reading.smart[kFirstAttributeAt] = kTemperatureAttribute;
  reading.smart[kFirstAttributeAt + kRawOfAttribute] =
      static_cast<std::uint8_t>(std::clamp<std::int64_t>(millidegrees / 1000, 0, highest));
  putChecksumRight(reading.smart);
  return reading;
}

}  // namespace tarvel
