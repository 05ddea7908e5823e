#include "programs/window/colours.h"

#include <array>

namespace tarvel::viewer {
namespace {

struct Pair {
  QRgb light;  // on light backgrounds
  QRgb dark;
};

constexpr std::array<Pair, kSeriesColours> kSeries = {{
    {0xff1a66ad, 0xff6db5f2},
    {0xffa84e00, 0xfff2a65a},
    {0xff26733a, 0xff7fd190},
    {0xff7b4aa8, 0xffcba6f0},
}};
constexpr Pair kWarm = {0xff9a4a00, 0xfff5ac5c};
constexpr Pair kHot = {0xffb3141f, 0xffff8a80};

QColor chosen(const Pair& pair, const QPalette& palette) {
  return QColor::fromRgb(isDark(palette) ? pair.dark : pair.light);
}

}  // namespace

bool isDark(const QPalette& palette) {
  return palette.color(QPalette::Base).lightnessF() < palette.color(QPalette::Text).lightnessF();
}

QColor seriesColour(std::size_t line, const QPalette& palette) {
  return chosen(kSeries[line % kSeries.size()], palette);
}

QColor faintColour(const QPalette& palette) {
  constexpr int kOpacity = 165;  // of 255
  QColor colour = palette.color(QPalette::Text);
  colour.setAlpha(kOpacity);
  return colour;
}

QColor levelColour(Level level, const QPalette& palette) {
  if (level == Level::kNormal) return palette.color(QPalette::Text);
  return chosen(level == Level::kHot ? kHot : kWarm, palette);
}

}  // namespace tarvel::viewer
