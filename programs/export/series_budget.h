#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <string_view>

// Which names have a series of their own. A collector keeps every series that it has ever seen for
// hours, and a machine that compiles all day has thousands of names.

namespace tarvel::viewer {

// A name keeps its series until it has had no value above 0 for an hour. So in any hour no series
// is given away twice, however many names come: of one metric there are at most kMost, and what is
// summed for the others. One thread.
class SeriesBudget {
 public:
  using Clock = std::chrono::steady_clock;

  static constexpr std::size_t kMost = 40;
  static constexpr std::chrono::hours kKept{1};

  // Whether this name has a series. One that has none yet gets it for a value above 0, while
  // fewer than kMost have one.
  bool has(const std::string& name, double value, Clock::time_point now);

 private:
  std::map<std::string, Clock::time_point, std::less<>> lastValues_;
};

}  // namespace tarvel::viewer
