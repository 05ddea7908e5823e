#include "platform/linux/sensors/energy_meter.h"

#include <chrono>
#include <utility>

namespace tarvel {
namespace {

constexpr double kMicro = 1e-6;
constexpr double kMostWatts = 1024;
constexpr std::chrono::milliseconds kSuspended{
    10};  // less is the time between two clocks' readings

double seconds(MonotonicTime time) { return std::chrono::duration<double>(time).count(); }

}  // namespace

bool EnergyMeter::isStale(const EnergyLookTime& time) const {
  if (!time_ || time.suspended - time_->suspended > kSuspended) return true;
  return seconds(time.now - time_->now) * kMostWatts > static_cast<double>(range_) * kMicro;
}

void EnergyMeter::look(std::int64_t energy, const EnergyLookTime& time) {
  const bool isFirst = isStale(time);
  const auto before = std::exchange(time_, time).value_or(time);
  const std::int64_t energyBefore = std::exchange(energy_, energy);
  power_.reset();
  if (isFirst || time.now <= before.now) return;
  const std::int64_t used =
      energy >= energyBefore ? energy - energyBefore : energy + (range_ - energyBefore);
  moves_ = moves_ || used != 0;
  const double watts = static_cast<double>(used) * kMicro / seconds(time.now - before.now);
  if (moves_ && watts >= 0 && watts < kMostWatts) power_ = watts;
}

}  // namespace tarvel
