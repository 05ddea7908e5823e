#include "platform/image/xpm_reader.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace tarvel {
namespace {

using Pixel = std::array<std::uint8_t, 4>;

constexpr Pixel kClear = {0, 0, 0, 0};
constexpr Pixel kBlack = {0, 0, 0, 255};
constexpr std::size_t kLargestColourCount = 65536;

// The contents of the C strings of the file, in order.
std::vector<std::string_view> strings(std::string_view file) {
  std::vector<std::string_view> found;
  for (auto open = file.find('"'); open != std::string_view::npos;) {
    const auto close = file.find('"', open + 1);
    if (close == std::string_view::npos) break;
    found.push_back(file.substr(open + 1, close - open - 1));
    open = file.find('"', close + 1);
  }
  return found;
}

Pixel pixelOf(const std::string& colour) {
  std::string lower = colour;
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  if (lower == "none") return kClear;
  const std::size_t digits = lower.size() / 3;  // of one channel, after the "#"
  if (!lower.starts_with('#') || lower.size() != digits * 3 + 1) return kBlack;
  if (digits < 1 || digits > 4) return kBlack;
  Pixel pixel = kBlack;
  for (std::size_t channel = 0; channel < 3; ++channel) {
    const char* start = lower.data() + 1 + channel * digits;
    unsigned value = 0;
    if (std::from_chars(start, start + digits, value, 16).ptr != start + digits) return kBlack;
    const unsigned most = (1U << (4 * digits)) - 1;
    pixel[channel] = static_cast<std::uint8_t>((value * 255 + most / 2) / most);
  }
  return pixel;
}

// "CC s name c #102030": the value after the key "c".
Pixel colourIn(std::string_view definition) {
  std::istringstream words{std::string(definition)};
  std::string key;
  std::string value;
  while (words >> key >> value) {
    if (key == "c") return pixelOf(value);
  }
  return kBlack;
}

}  // namespace

std::optional<Raster> readXPM(std::string_view file) {
  const auto lines = strings(file);
  if (lines.empty()) return std::nullopt;
  std::istringstream header{std::string(lines.front())};
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::size_t colours = 0;
  std::size_t characters = 0;
  if (!(header >> width >> height >> colours >> characters)) return std::nullopt;
  const bool sane = width > 0 && width <= kLargestSide && height > 0 && height <= kLargestSide &&
                    colours <= kLargestColourCount && characters > 0 && characters <= 4;
  if (!sane || lines.size() < 1 + colours + height) return std::nullopt;
  std::map<std::string_view, Pixel> palette;
  for (std::size_t i = 1; i <= colours; ++i) {
    if (lines[i].size() < characters) return std::nullopt;
    palette[lines[i].substr(0, characters)] = colourIn(lines[i].substr(characters));
  }
  Raster raster{width, height, {}};
  raster.pixels.reserve(std::size_t{width} * height * 4);
  for (std::size_t y = 0; y < height; ++y) {
    const auto row = lines[1 + colours + y];
    if (row.size() < width * characters) return std::nullopt;
    for (std::size_t x = 0; x < width; ++x) {
      const auto colour = palette.find(row.substr(x * characters, characters));
      const Pixel& pixel = colour != palette.end() ? colour->second : kClear;
      raster.pixels.insert(raster.pixels.end(), pixel.begin(), pixel.end());
    }
  }
  return raster;
}

}  // namespace tarvel
