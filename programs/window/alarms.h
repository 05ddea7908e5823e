#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

// Thresholds of readings. Pure.

namespace tarvel::viewer {

class Alarms {
 public:
  using Clock = std::chrono::steady_clock;
  using NumberOf = std::function<std::optional<double>(const std::string& row)>;

  // So long a reading must have been above its threshold without a break.
  static constexpr std::chrono::seconds kPatience{30};

  // By identity of the reading's row. What stays as it is goes on being counted.
  void setThresholds(std::map<std::string, double> thresholds);
  const std::map<std::string, double>& thresholds() const { return thresholds_; }

  // The rows that have been above for long enough just now: each is told once, and again only after
  // it has been below. No number, because it is old or gone, counts as below.
  std::vector<std::string> check(Clock::time_point now, const NumberOf& numberOf);

 private:
  struct State {
    Clock::time_point since;
    bool isTold = false;
  };

  std::map<std::string, double> thresholds_;
  std::map<std::string, State> above_;
};

}  // namespace tarvel::viewer
