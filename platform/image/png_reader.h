#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "platform/image/raster.h"

namespace tarvel {

// The picture of a PNG file; none where it is broken, or larger than an icon may be.
std::optional<Raster> readPNG(std::span<const std::uint8_t> file);

}  // namespace tarvel
