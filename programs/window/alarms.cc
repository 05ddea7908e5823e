#include "programs/window/alarms.h"

#include <utility>

namespace tarvel::viewer {

void Alarms::setThresholds(std::map<std::string, double> thresholds) {
  std::erase_if(above_, [&](const auto& entry) {
    const auto kept = thresholds.find(entry.first);
    return kept == thresholds.end() || kept->second != thresholds_[entry.first];
  });
  thresholds_ = std::move(thresholds);
}

std::vector<std::string> Alarms::check(Clock::time_point now, const NumberOf& numberOf) {
  std::vector<std::string> passed;
  for (const auto& [row, threshold] : thresholds_) {
    const auto number = numberOf(row);
    if (!number || *number <= threshold) {
      above_.erase(row);
      continue;
    }
    State& state = above_.try_emplace(row, State{now}).first->second;
    if (state.isTold || now - state.since < kPatience) continue;
    state.isTold = true;
    passed.push_back(row);
  }
  return passed;
}

}  // namespace tarvel::viewer
