#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "platform/ata_smart.h"

// The blocks in which a disk tells its name and its temperature.

namespace tarvel {

struct DiskReading {
  AtaBlock identify{};
  AtaBlock smart{};
};

// Whether the bytes sum up to 0, as those of every block with a checksum in its last byte do.
bool hasRightChecksum(const AtaBlock& block);

// The data that a disk of this temperature would give: its IDENTIFY DEVICE data signed anew, and
// one attribute. None when the data are not 512 bytes.
std::optional<DiskReading> readingOfTemperature(std::string_view identify,
                                                std::int64_t millidegrees);

}  // namespace tarvel
