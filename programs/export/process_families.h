#pragma once

#include <array>
#include <cstddef>

#include "programs/export/family.h"
#include "programs/export/series_budget.h"
#include "viewer/snapshot.h"

// The process lists as metrics. One thread.

namespace tarvel::viewer {

enum class ProcessLabels {
  kGroups,     // by application, else by name
  kProcesses,  // each by its id: as many series as processes were ever listed
};

class ProcessFamilies {
 public:
  using Clock = SeriesBudget::Clock;

  explicit ProcessFamilies(ProcessLabels labels) : labels_(labels) {}

  // Nothing for readings of other kinds. As groups, each of the four metrics has at most
  // SeriesBudget::kMost series and one under the name "other", also over an hour; as processes it
  // has the SeriesBudget::kMost largest samples.
  void add(const StoredReading& reading, Clock::time_point now, Families& families);

 private:
  static constexpr std::size_t kMetrics = 4;

  ProcessLabels labels_;
  std::array<SeriesBudget, kMetrics> budgets_;
};

}  // namespace tarvel::viewer
