#include "programs/dashboard/sparkline.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace tarvel::viewer {
namespace {

constexpr std::array<std::string_view, 8> kBlocks = {"▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
constexpr std::string_view kMarks = "_.-~=+*#";

}  // namespace

std::string sparkline(const Series& series, int width, bool unicode) {
  const auto columns = static_cast<std::size_t>(std::max(width, 0));
  const std::size_t shown = std::min(series.size(), columns);
  const double range = series.maximum() - series.minimum();
  std::string text(columns - shown, ' ');
  for (std::size_t i = series.size() - shown; i < series.size(); ++i) {
    const double share = range > 0 ? (series.at(i) - series.minimum()) / range : 0;
    const auto level = static_cast<std::size_t>(std::clamp(share * 7.999, 0.0, 7.0));
    text += unicode ? kBlocks[level] : kMarks.substr(level, 1);
  }
  return text;
}

}  // namespace tarvel::viewer
