#include "platform/image/png_reader.h"

#include <png.h>

namespace tarvel {
namespace {

void multiplyByAlpha(Raster& raster) {
  for (std::size_t i = 0; i + 3 < raster.pixels.size(); i += 4) {
    const unsigned alpha = raster.pixels[i + 3];
    for (std::size_t channel = i; channel < i + 3; ++channel) {
      raster.pixels[channel] =
          static_cast<std::uint8_t>((raster.pixels[channel] * alpha + 127) / 255);
    }
  }
}

// The library's reader, let go of however reading ends.
struct Reader {
  Reader() { image.version = PNG_IMAGE_VERSION; }
  ~Reader() { png_image_free(&image); }
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  png_image image{};
};

}  // namespace

std::optional<Raster> readPNG(std::span<const std::uint8_t> file) {
  Reader reader;
  png_image& image = reader.image;
  if (png_image_begin_read_from_memory(&image, file.data(), file.size()) == 0) return std::nullopt;
  if (image.width > kLargestSide || image.height > kLargestSide) return std::nullopt;
  image.format = PNG_FORMAT_RGBA;
  Raster raster{image.width, image.height, {}};
  raster.pixels.resize(PNG_IMAGE_SIZE(image));
  if (png_image_finish_read(&image, nullptr, raster.pixels.data(), 0, nullptr) == 0) {
    return std::nullopt;
  }
  multiplyByAlpha(raster);
  return raster;
}

}  // namespace tarvel
