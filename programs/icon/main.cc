#include <charconv>
#include <cstdio>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>

#include <unistd.h>

#include "platform/image/png_reader.h"
#include "platform/image/raster_scaling.h"
#include "platform/image/tiff_writer.h"
#include "platform/image/xpm_reader.h"
#include "programs/icon/confinement.h"
#include "programs/icon/svg_library.h"

// tarvel-icon POINTS PIXELS: draws the icon file on standard input (PNG, SVG or XPM) to standard
// output, as a TIFF file that is shown POINTS wide and at most PIXELS wide (0: as it is).
// tarvel-icon generic: draws the picture of an application without an icon.
//
// The file may be hostile. The program confines itself before it reads more of it than the first
// bytes, which are compared and nothing else; whoever started it bounds the time. Exit status 0, or
// 1 when there is nothing to draw.

namespace {

using namespace tarvel;

constexpr std::size_t kInput = 4U << 20;  // bytes
constexpr double kVectorPoints = 48;

std::string readInput() {
  std::string input;
  char buffer[65536];
  while (input.size() <= kInput) {
    const ssize_t count = ::read(STDIN_FILENO, buffer, sizeof buffer);
    if (count <= 0) break;
    input.append(buffer, static_cast<std::size_t>(count));
  }
  return input;
}

constexpr std::string_view kPNG = "\x89PNG";

// Whether the input may take the library of SVG files, which costs far more to load than any other
// icon to draw, and has to be loaded before files are closed to this program.
bool mayBeVectors() {
  char start[kPNG.size()] = {};
  const ssize_t count = ::pread(STDIN_FILENO, start, sizeof start, 0);
  return count == sizeof start && std::string_view(start, sizeof start) != kPNG;
}

std::optional<Raster> draw(const std::string& file, double points, std::uint32_t pixels,
                           const SVGLibrary* vectors) {
  if (file.size() > kInput) return std::nullopt;
  if (file.starts_with(kPNG)) {
    return readPNG({reinterpret_cast<const std::uint8_t*>(file.data()), file.size()});
  }
  if (file.starts_with("/* XPM */")) return readXPM(file);
  const double side = pixels > 0 ? pixels : points;
  if (vectors == nullptr) return std::nullopt;
  return vectors->draw(file, static_cast<std::uint32_t>(side));
}

// A window with a title bar, 48 pixels wide.
Raster genericPicture() {
  constexpr std::uint32_t side = 48;
  Raster raster{side, side, std::vector<std::uint8_t>(std::size_t{side} * side * 4)};
  for (std::uint32_t y = 8; y < 40; ++y) {
    for (std::uint32_t x = 4; x < 44; ++x) {
      const bool frame = y == 8 || y == 39 || x == 4 || x == 43;
      const std::uint8_t grey = frame ? 90 : (y < 15 ? 140 : 225);
      const std::size_t at = (std::size_t{y} * side + x) * 4;
      raster.pixels[at] = raster.pixels[at + 1] = raster.pixels[at + 2] = grey;
      raster.pixels[at + 3] = 255;
    }
  }
  return raster;
}

bool writeOut(const Data& data) {
  std::size_t written = 0;
  while (written < data.size()) {
    const ssize_t count = ::write(STDOUT_FILENO, data.data() + written, data.size() - written);
    if (count <= 0) return false;
    written += static_cast<std::size_t>(count);
  }
  return !data.empty();
}

template <typename Number>
bool parse(std::string_view text, Number& number) {
  const auto end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, number);
  return result.ec == std::errc{} && result.ptr == end;
}

}  // namespace

int main(int argc, char** argv) {
  std::optional<SVGLibrary> vectors;
  if (mayBeVectors()) vectors.emplace();
  if (!confine()) return 1;
  if (argc == 2 && std::string_view(argv[1]) == "generic") {
    return writeOut(tiffData(genericPicture(), kVectorPoints)) ? 0 : 1;
  }
  double points = 0;
  std::uint32_t pixels = 0;
  const bool sane = argc == 3 && parse(argv[1], points) && parse(argv[2], pixels) && points >= 1 &&
                    points <= kLargestSide && pixels <= kLargestSide;
  if (!sane) {
    std::fputs("tarvel-icon: arguments: POINTS PIXELS, or generic, are wanted\n", stderr);
    return 2;
  }
  const auto raster = draw(readInput(), points, pixels, vectors ? &*vectors : nullptr);
  return raster && writeOut(tiffData(scaledDown(*raster, pixels), points)) ? 0 : 1;
}
