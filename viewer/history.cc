#include "viewer/history.h"

#include <algorithm>

namespace tarvel::viewer {

void Series::add(double value) {
  least = count == 0 ? value : std::min(least, value);
  most = count == 0 ? value : std::max(most, value);
  values[(first + count) % kLength] = value;
  if (count < kLength) {
    ++count;
  } else {
    first = (first + 1) % kLength;
  }
}

void History::add(const std::string& row, double value) {
  auto& entry = rows[row];
  entry.series.add(value);
  entry.lastRefresh = refresh;
}

void History::endRefresh() {
  std::erase_if(
      rows, [this](const auto& row) { return row.second.lastRefresh + Series::kLength < refresh; });
  ++refresh;
}

const Series* History::of(std::string_view row) const {
  const auto found = rows.find(row);
  return found != rows.end() ? &found->second.series : nullptr;
}

}  // namespace tarvel::viewer
