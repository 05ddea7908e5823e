#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/image/raster.h"

// What the library of SVG files offers to the program that loads it, by the name below.

namespace tarvel {

// Draws the file to fit a square of this side in pixels, centred. Nothing outside the file is read.
// Whether it could be drawn; a broken one leaves the raster as it is.
using DrawSVG = bool(const char* file, std::size_t size, std::uint32_t side, Raster* raster);

inline constexpr const char* kDrawSVGName = "tarvelDrawSVG";

}  // namespace tarvel

extern "C" tarvel::DrawSVG tarvelDrawSVG;
