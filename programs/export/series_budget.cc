#include "programs/export/series_budget.h"

namespace tarvel::viewer {

bool SeriesBudget::has(const std::string& name, double value, Clock::time_point now) {
  const auto known = lastValues_.find(name);
  if (known != lastValues_.end()) {
    if (value > 0) known->second = now;
    return true;
  }
  if (value <= 0) return false;
  if (lastValues_.size() >= kMost) {
    std::erase_if(lastValues_, [&](const auto& last) { return now - last.second >= kKept; });
  }
  if (lastValues_.size() >= kMost) return false;
  lastValues_.emplace(name, now);
  return true;
}

}  // namespace tarvel::viewer
