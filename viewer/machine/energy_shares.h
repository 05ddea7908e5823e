#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "viewer/machine/energy_counters.h"
#include "viewer/machine/kept_file.h"
#include "viewer/machine/processors.h"

// Whose the energy was that the machine has used. docs/energy.md states the model and its error.

namespace tarvel::viewer {

// All in microjoules; together they are what was measured, to the last one.
struct EnergyParts {
  std::vector<std::int64_t> listed;  // of the loads that were given, in their order
  std::int64_t idle = 0;             // what the machine takes while it does nothing
  std::int64_t unlisted = 0;         // processor time of whatever is not in the list
  std::int64_t unknown = 0;          // there was no list, or no processor times to compare it with
};

// Measures energy and processor time from look to look and shares the energy out. One thread.
class EnergyShares {
 public:
  explicit EnergyShares(const std::string& root = {})
      : counters_(root), stat_(root + "/proc/stat") {}

  // Whether energy was measured since the look before; never at the first one.
  bool look(const EnergyLookTime& time);

  const std::vector<ZoneEnergy>& measured() const { return measured_; }

  // Shares out what the latest look measured. A load is the percentage of one core that a process
  // kept busy in that time; no loads where they are not known.
  EnergyParts share(const std::optional<std::vector<double>>& loads) const;

 private:
  // The least power in the present twelve hours and in those before them: idle machines differ
  // with the season and the settings, and a night of work must not pass for idleness.
  struct IdlePower {
    std::optional<double> least, leastBefore;  // watts
    std::chrono::nanoseconds since{};
  };

  std::int64_t learnIdle(const ZoneEnergy& energy, const EnergyLookTime& time, double seconds);

  EnergyCounters counters_;
  KeptFile stat_;
  ProcessorUsage processors_;
  std::map<std::string, IdlePower> idlePowers_;  // by zone
  std::chrono::nanoseconds before_{};
  std::vector<ZoneEnergy> measured_;
  std::int64_t total_ = 0;
  std::int64_t idle_ = 0;
  std::optional<double> machineLoad_;
};

}  // namespace tarvel::viewer
