#include "programs/dashboard/graphs.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

namespace tarvel::viewer {
namespace {

constexpr std::array<std::string_view, 9> kEighthsAcross = {" ", "▏", "▎", "▍", "▌",
                                                            "▋", "▊", "▉", "█"};
constexpr std::array<std::string_view, 8> kEighthsUp = {"▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
constexpr std::string_view kMarks = "_.-~=+*#";

std::string levelText(double share, bool isUnicode) {
  const auto level = static_cast<std::size_t>(std::clamp(share * 7.999, 0.0, 7.0));
  return isUnicode ? std::string(kEighthsUp[level]) : std::string(kMarks.substr(level, 1));
}

double shareOf(double value, Scale scale) {
  const double range = scale.to - scale.from;
  return range > 0 ? std::clamp((value - scale.from) / range, 0.0, 1.0) : 0;
}

// The dots of a braille character (U+2800), lowest first, in its left and its right column.
constexpr std::array<std::array<unsigned, 4>, 2> kDots = {
    {{0x40, 0x04, 0x02, 0x01}, {0x80, 0x20, 0x10, 0x08}}};

std::string brailleText(unsigned dots) {
  if (dots == 0) return " ";
  std::string text = "\xE2";
  text += static_cast<char>(0xA0 + (dots >> 6U));
  text += static_cast<char>(0x80 + (dots & 0x3FU));
  return text;
}

}  // namespace

Scale drawnScale(const Series& series, Scale scale) {
  const bool isFixed = scale.to > scale.from;
  return isFixed ? scale : Scale{series.minimum(), series.maximum()};
}

std::string barText(double share, int width, bool isUnicode) {
  const int eighths = static_cast<int>(std::lround(std::clamp(share, 0.0, 1.0) * width * 8));
  std::string text;
  for (int i = 0; i < width; ++i) {
    const int here = std::clamp(eighths - i * 8, 0, 8);
    if (isUnicode) {
      text += kEighthsAcross[static_cast<std::size_t>(here)];
    } else {
      text += here >= 4 ? '#' : ' ';
    }
  }
  return text;
}

std::string blocksText(const std::vector<double>& shares, bool isUnicode) {
  std::string text;
  for (const double share : shares) text += levelText(share, isUnicode);
  return text;
}

std::string sparkline(const Series& series, Scale scale, int width, bool isUnicode) {
  const auto columns = static_cast<std::size_t>(std::max(width, 0));
  const std::size_t shown = std::min(series.size(), columns);
  const Scale drawn = drawnScale(series, scale);
  std::string text(columns - shown, ' ');
  for (std::size_t i = series.size() - shown; i < series.size(); ++i) {
    text += levelText(shareOf(series.at(i), drawn), isUnicode);
  }
  return text;
}

std::vector<std::string> graphLines(const Series& series, Scale scale, int width, int height,
                                    bool isUnicode) {
  const int perColumn = isUnicode ? 2 : 1;
  const int steps = isUnicode ? 4 : 1;
  const Scale drawn = drawnScale(series, scale);
  const auto newest = static_cast<long>(series.size());
  // How many steps of the whole height the value of this place fills; places count from the left.
  const auto filled = [&](int place) {
    const long index = newest - static_cast<long>(width) * perColumn + place;
    if (index < 0) return 0;
    const double share = shareOf(series.at(static_cast<std::size_t>(index)), drawn);
    return std::max(1, static_cast<int>(std::lround(share * height * steps)));
  };
  std::vector<std::string> lines;
  for (int row = 0; row < height; ++row) {
    const int below = (height - 1 - row) * steps;
    std::string line;
    for (int column = 0; column < width; ++column) {
      if (!isUnicode) {
        line += filled(column) > below ? '#' : ' ';
        continue;
      }
      unsigned dots = 0;
      for (int side = 0; side < 2; ++side) {
        const int here = std::clamp(filled(column * 2 + side) - below, 0, 4);
        for (int dot = 0; dot < here; ++dot) {
          dots |= kDots[static_cast<std::size_t>(side)][static_cast<std::size_t>(dot)];
        }
      }
      line += brailleText(dots);
    }
    lines.push_back(std::move(line));
  }
  return lines;
}

}  // namespace tarvel::viewer
