#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "platform/image/raster.h"

namespace tarvel {

// The SVG file drawn to fit a square of this side in pixels, centred. Nothing outside the file is
// read. None where it is broken.
std::optional<Raster> drawSVG(std::string_view file, std::uint32_t side);

}  // namespace tarvel
