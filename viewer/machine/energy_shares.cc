#include "viewer/machine/energy_shares.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace tarvel::viewer {
namespace {

using namespace std::chrono_literals;

constexpr auto kLearning = 12h;
constexpr double kMicro = 1e-6;
constexpr double kPerCore = 100;

std::int64_t partOf(std::int64_t energy, double share) {
  return static_cast<std::int64_t>(std::floor(static_cast<double>(energy) * share));
}

}  // namespace

bool EnergyShares::look(const EnergyLookTime& time) {
  const double seconds = std::chrono::duration<double>(time.now - before_).count();
  before_ = time.now;
  measured_ = counters_.look(time);
  total_ = idle_ = 0;
  for (const auto& energy : measured_) {
    total_ += energy.used;
    idle_ += learnIdle(energy, time, seconds);
  }
  const auto usage = processors_.since(stat_.read());
  machineLoad_.reset();
  if (usage) machineLoad_ = kPerCore * usage->busy * static_cast<double>(usage->cores.size());
  return !measured_.empty();
}

// The zone's idle energy of this time. A counter that stood still tells nothing of idleness.
std::int64_t EnergyShares::learnIdle(const ZoneEnergy& energy, const EnergyLookTime& time,
                                     double seconds) {
  if (energy.used == 0) return 0;
  auto& idle = idlePowers_[energy.zone];
  if (time.now - idle.since > kLearning) {
    idle.leastBefore = std::exchange(idle.least, std::nullopt);
    idle.since = time.now;
  }
  const double watts = static_cast<double>(energy.used) * kMicro / seconds;
  idle.least = std::min(watts, idle.least.value_or(watts));
  const double least = std::min(*idle.least, idle.leastBefore.value_or(*idle.least));
  return std::min(std::llround(least * seconds / kMicro), static_cast<long long>(energy.used));
}

EnergyParts EnergyShares::share(const std::optional<std::vector<double>>& loads) const {
  EnergyParts parts;
  parts.idle = idle_;
  const std::int64_t rest = total_ - idle_;
  if (!loads || !machineLoad_) {
    parts.unknown = rest;
    return parts;
  }
  double listed = 0;
  for (const double load : *loads) listed += std::max(load, 0.0);
  const double all = std::max(listed, *machineLoad_);
  parts.unlisted = rest;
  for (const double load : *loads) {
    const auto part = all > 0 ? partOf(rest, std::max(load, 0.0) / all) : 0;
    parts.listed.push_back(std::min(part, parts.unlisted));
    parts.unlisted -= parts.listed.back();
  }
  return parts;
}

}  // namespace tarvel::viewer
