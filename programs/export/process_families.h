#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <utility>

#include "programs/export/family.h"
#include "programs/export/series_budget.h"
#include "viewer/snapshot.h"

// The process lists as metrics. One thread.

namespace tarvel::viewer {

enum class ProcessLabels {
  kGroups,     // by application, else by name
  kProcesses,  // each by its id: as many series as processes were ever listed
};

// An application's identifier, or the name of what belongs to none.
struct ProcessGroup {
  std::string application;
  std::string name;
  auto operator<=>(const ProcessGroup&) const = default;
};

ProcessGroup groupOf(const ProcessRow& row);
ProcessGroup otherGroups();                   // what has no series of its own
std::string idOf(const ProcessGroup& group);  // in a SeriesBudget
Labels labelsOf(const ProcessGroup& group);

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
