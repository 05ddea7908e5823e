#include "programs/icon/svg_reader.h"

#include <memory>

#include <librsvg/rsvg.h>

namespace tarvel {
namespace {

struct Unref {
  void operator()(RsvgHandle* handle) const { g_object_unref(handle); }
  void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
  void operator()(cairo_t* context) const { cairo_destroy(context); }
};

using Handle = std::unique_ptr<RsvgHandle, Unref>;
using Surface = std::unique_ptr<cairo_surface_t, Unref>;
using Context = std::unique_ptr<cairo_t, Unref>;

// The surface's pixels are 32-bit numbers 0xAARRGGBB, the colours multiplied by alpha.
Raster rasterOf(cairo_surface_t* surface, std::uint32_t side) {
  Raster raster{side, side, {}};
  raster.pixels.reserve(std::size_t{side} * side * 4);
  const unsigned char* rows = cairo_image_surface_get_data(surface);
  const auto stride = static_cast<std::size_t>(cairo_image_surface_get_stride(surface));
  for (std::size_t y = 0; y < side; ++y) {
    const auto* row = reinterpret_cast<const std::uint32_t*>(rows + y * stride);
    for (std::size_t x = 0; x < side; ++x) {
      for (const int shift : {16, 8, 0, 24}) {
        raster.pixels.push_back(static_cast<std::uint8_t>(row[x] >> shift));
      }
    }
  }
  return raster;
}

}  // namespace
}  // namespace tarvel

bool tarvelDrawSVG(const char* file, std::size_t size, std::uint32_t side, tarvel::Raster* raster) {
  using namespace tarvel;
  const Handle svg(rsvg_handle_new_from_data(reinterpret_cast<const guint8*>(file), size, nullptr));
  if (!svg) return false;
  const auto pixels = static_cast<int>(side);
  const Surface surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, pixels, pixels));
  const Context context(cairo_create(surface.get()));
  const RsvgRectangle square = {0, 0, static_cast<double>(side), static_cast<double>(side)};
  if (rsvg_handle_render_document(svg.get(), context.get(), &square, nullptr) == 0) return false;
  cairo_surface_flush(surface.get());
  *raster = rasterOf(surface.get(), side);
  return true;
}
