#include "platform/image/raster_scaling.h"

#include <algorithm>
#include <array>

namespace tarvel {
namespace {

struct Span {
  std::uint32_t first;
  std::uint32_t end;
};

// The old pixels that new pixel i of `count` covers.
Span covered(std::uint32_t i, std::uint32_t count, std::uint32_t old) {
  const std::uint32_t first = i * old / count;
  return {first, std::max((i + 1) * old / count, first + 1)};
}

std::array<std::uint8_t, 4> meanOf(const Raster& raster, Span columns, Span rows) {
  std::array<std::uint32_t, 4> sums{};
  for (std::uint32_t y = rows.first; y < rows.end; ++y) {
    for (std::uint32_t x = columns.first; x < columns.end; ++x) {
      const std::size_t at = (std::size_t{y} * raster.width + x) * 4;
      for (std::size_t channel = 0; channel < 4; ++channel) {
        sums[channel] += raster.pixels[at + channel];
      }
    }
  }
  const std::uint32_t count = (columns.end - columns.first) * (rows.end - rows.first);
  std::array<std::uint8_t, 4> mean{};
  for (std::size_t channel = 0; channel < 4; ++channel) {
    mean[channel] = static_cast<std::uint8_t>((sums[channel] + count / 2) / count);
  }
  return mean;
}

}  // namespace

Raster scaledDown(Raster raster, std::uint32_t width) {
  if (width == 0 || raster.width <= width) return raster;
  Raster scaled{width, std::max(raster.height * width / raster.width, 1U), {}};
  scaled.pixels.reserve(std::size_t{scaled.width} * scaled.height * 4);
  for (std::uint32_t y = 0; y < scaled.height; ++y) {
    for (std::uint32_t x = 0; x < scaled.width; ++x) {
      const auto pixel = meanOf(raster, covered(x, scaled.width, raster.width),
                                covered(y, scaled.height, raster.height));
      scaled.pixels.insert(scaled.pixels.end(), pixel.begin(), pixel.end());
    }
  }
  return scaled;
}

}  // namespace tarvel
