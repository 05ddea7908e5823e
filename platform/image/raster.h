#pragma once

#include <cstdint>
#include <vector>

// A picture in memory: rows from the top, four bytes a pixel (red, green, blue, alpha), the colours
// multiplied by alpha.

namespace tarvel {

struct Raster {
  std::uint32_t width = 0;  // pixels
  std::uint32_t height = 0;
  std::vector<std::uint8_t> pixels;
};

// Larger pictures are no icons: a few kilobytes of file can unpack into gigabytes.
inline constexpr std::uint32_t kLargestSide = 1024;

}  // namespace tarvel
