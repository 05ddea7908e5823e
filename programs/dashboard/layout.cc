#include "programs/dashboard/layout.h"

#include <algorithm>
#include <map>
#include <numeric>
#include <utility>

namespace tarvel::viewer {
namespace {

constexpr int kFrame = 2;       // rows above and below the contents
constexpr int kLeastList = 5;   // rows of the smallest list
constexpr int kLeast = 3;       // rows of the smallest panel
constexpr int kListShare = 56;  // percent of the width that lists get beside sensors
constexpr int kWide = 150;      // columns from which lists stand side by side

// The panels of a column that fit, the focused one among them where it is one of them.
std::vector<std::size_t> fitting(std::vector<std::size_t> column, std::size_t focused, int height) {
  const auto most = static_cast<std::size_t>(std::max(height / kLeastList, 1));
  if (column.size() <= most) return column;
  const auto place = std::find(column.begin(), column.end(), focused);
  const auto index = place != column.end() ? static_cast<std::size_t>(place - column.begin()) : 0;
  const std::size_t first = index < most ? 0 : index - most + 1;
  return {column.begin() + static_cast<std::ptrdiff_t>(first),
          column.begin() + static_cast<std::ptrdiff_t>(first + most)};
}

int wantedHeight(const PanelSize& panel) {
  return std::max(panel.rows + kFrame, panel.isList ? kLeastList : kLeast);
}

// Heights that add up to the column's: what each wants where that fits, the rest to the lists;
// where it does not fit, the largest are cut first.
std::vector<int> shareOut(const std::vector<PanelSize>& panels,
                          const std::vector<std::size_t>& column, int height) {
  std::vector<int> heights;
  for (const auto panel : column) heights.push_back(wantedHeight(panels[panel]));
  int rest = height - std::accumulate(heights.begin(), heights.end(), 0);
  for (; rest < 0; ++rest) --*std::max_element(heights.begin(), heights.end());
  std::vector<std::size_t> growing;
  for (std::size_t i = 0; i < column.size(); ++i) {
    if (panels[column[i]].isList) growing.push_back(i);
  }
  if (growing.empty()) growing.push_back(column.size() - 1);
  for (std::size_t i = 0; rest > 0; --rest, ++i) ++heights[growing[i % growing.size()]];
  return heights;
}

void placeColumn(const std::vector<PanelSize>& panels, std::vector<std::size_t> column,
                 std::size_t focused, Box area, std::vector<PlacedPanel>& placed) {
  column = fitting(std::move(column), focused, area.height);
  if (column.empty()) return;
  const auto heights = shareOut(panels, column, area.height);
  int top = area.top;
  for (std::size_t i = 0; i < column.size(); ++i) {
    placed.push_back({column[i], {top, area.left, heights[i], area.width}});
    top += heights[i];
  }
}

// The panels of one kind over as many columns as fit into the area.
void placeKind(const std::vector<PanelSize>& panels, const std::vector<std::size_t>& kind,
               std::size_t focused, Box area, std::vector<PlacedPanel>& placed) {
  const auto columns = std::min<std::size_t>(area.width >= kWide ? 2 : 1, kind.size());
  int left = area.left;
  for (std::size_t c = 0; c < columns; ++c) {
    const std::vector<std::size_t> column(
        kind.begin() + static_cast<std::ptrdiff_t>(c * kind.size() / columns),
        kind.begin() + static_cast<std::ptrdiff_t>((c + 1) * kind.size() / columns));
    const int right = area.left + area.width * static_cast<int>(c + 1) / static_cast<int>(columns);
    placeColumn(panels, column, focused, {area.top, left, area.height, right - left}, placed);
    left = right;
  }
}

// The lines that stay empty even in the fullest column.
int spareLines(const std::vector<PanelSize>& panels, const std::vector<PlacedPanel>& placed) {
  std::map<std::pair<int, int>, int> spare;  // by the column's left edge and width
  for (const auto& [panel, box] : placed) {
    spare[{box.left, box.width}] += box.height - wantedHeight(panels[panel]);
  }
  const auto least = std::min_element(
      spare.begin(), spare.end(), [](const auto& a, const auto& b) { return a.second < b.second; });
  return least != spare.end() ? std::max(least->second, 0) : 0;
}

}  // namespace

Layout layOut(const std::vector<PanelSize>& panels, std::size_t focused, Box area, bool isZoomed) {
  Layout layout;
  if (area.height <= 0 || area.width <= 0) return layout;
  std::vector<std::size_t> lists;
  std::vector<std::size_t> sensors;
  std::size_t focusedIndex = 0;
  for (std::size_t i = 0; i < panels.size(); ++i) {
    (panels[i].isList ? lists : sensors).push_back(i);
    if (panels[i].panel == focused) focusedIndex = i;
  }
  std::vector<PlacedPanel> placed;
  if (isZoomed && !panels.empty()) {
    return {{{panels[focusedIndex].panel, area}}, {}, 0};
  }
  const bool both = !lists.empty() && !sensors.empty();
  const int listWidth = both ? area.width * kListShare / 100 : (lists.empty() ? 0 : area.width);
  if (!lists.empty()) {
    placeKind(panels, lists, focusedIndex, {area.top, area.left, area.height, listWidth}, placed);
  }
  if (!sensors.empty()) {
    const Box right = {area.top, area.left + listWidth, area.height, area.width - listWidth};
    placeKind(panels, sensors, focusedIndex, right, placed);
  }
  for (std::size_t i = 0; i < panels.size(); ++i) {
    const bool isPlaced = std::any_of(placed.begin(), placed.end(),
                                      [&](const PlacedPanel& each) { return each.panel == i; });
    if (!isPlaced) layout.leftOut.push_back(panels[i].panel);
  }
  layout.spare = layout.leftOut.empty() ? spareLines(panels, placed) : 0;
  for (auto& each : placed) each.panel = panels[each.panel].panel;
  layout.placed = std::move(placed);
  return layout;
}

}  // namespace tarvel::viewer
