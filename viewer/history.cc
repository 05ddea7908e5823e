#include "viewer/history.h"

#include <algorithm>

namespace tarvel::viewer {
namespace {

constexpr std::size_t kRemembered = 40;  // refreshes: many processes come once and never again

}  // namespace

void Series::add(double value) {
  least_ = count_ == 0 ? value : std::min(least_, value);
  most_ = count_ == 0 ? value : std::max(most_, value);
  values_[(first_ + count_) % kLength] = static_cast<float>(value);
  if (count_ < kLength) {
    ++count_;
  } else {
    first_ = (first_ + 1) % kLength;
  }
}

void History::add(const std::string& row, double value) {
  auto& entry = rows_[row];
  entry.series.add(value);
  entry.lastRefresh = refresh_;
}

void History::endRefresh() {
  std::erase_if(
      rows_, [this](const auto& row) { return row.second.lastRefresh + kRemembered < refresh_; });
  ++refresh_;
}

const Series* History::of(std::string_view row) const {
  const auto found = rows_.find(row);
  return found != rows_.end() ? &found->second.series : nullptr;
}

}  // namespace tarvel::viewer
