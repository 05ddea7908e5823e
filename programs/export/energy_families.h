#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/host/store/reading_times.h"
#include "programs/export/process_families.h"
#include "viewer/machine/energy_shares.h"

// The energy that the machine has used, and whose it was, as counters since the exporter began.
// One thread.

namespace tarvel {
class DefaultsStore;
}

namespace tarvel::viewer {

class EnergyFamilies {
 public:
  using Clock = std::chrono::steady_clock;

  // The root folder of the machine as MachineReader has it.
  explicit EnergyFamilies(const std::string& root);

  // To be called some times between two cycles of the helper. When there is a new energy list, what
  // the machine has used since the list before is shared out by it; when none has come for as long
  // as a list counts as present, that energy is nobody's. Without counters the list is not read.
  void watch(DefaultsStore& store, Clock::time_point now);

  // Nothing where no counter could be read so far. The sum over all attributed and not attributed
  // energy is that over all zones, in microjoules, until a name loses its series to another one
  // after an hour without energy (SeriesBudget), with what it had: rates add up also then.
  void add(Families& families) const;

 private:
  bool hasNewList(Clock::time_point now);
  void shareOut(const std::optional<std::map<ProcessGroup, double>>& loads, Clock::time_point now);
  void attribute(const std::map<ProcessGroup, double>& groups,
                 const std::vector<std::int64_t>& energies, Clock::time_point now);

  ReadingTimes times_;
  EnergyShares shares_;
  SeriesBudget budget_;
  std::optional<Clock::time_point> published_;  // the latest list
  std::optional<Clock::time_point> lastLook_;

  // Microjoules.
  std::map<std::string, std::int64_t> measured_;  // by zone
  std::map<ProcessGroup, std::int64_t> attributed_;
  std::int64_t idle_ = 0, unlisted_ = 0, unknown_ = 0;
};

}  // namespace tarvel::viewer
