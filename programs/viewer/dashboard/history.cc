#include "programs/viewer/dashboard/history.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <system_error>

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

std::optional<double> numberOf(std::string_view text) {
  double number = 0;
  const auto end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, number, std::chars_format::fixed);
  if (read.ec != std::errc{} || !std::isfinite(number)) return std::nullopt;
  const auto unit =
      read.ptr != end ? std::string_view("KMG").find(*read.ptr) : std::string_view::npos;
  return unit == std::string_view::npos ? number
                                        : number * std::pow(1024, static_cast<double>(unit) + 1);
}

}  // namespace tarvel::viewer
