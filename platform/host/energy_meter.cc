#include "platform/host/energy_meter.h"

#include <ctime>
#include <utility>

namespace tarvel {
namespace {

constexpr double kMicro = 1e-6;
constexpr double kMostWatts = 1024;

// Less is the time between the readings of two clocks.
constexpr std::chrono::milliseconds kSuspended{10};

double seconds(std::chrono::nanoseconds time) {
  return std::chrono::duration<double>(time).count();
}

std::chrono::nanoseconds timeOf(clockid_t clock) {
  timespec now{};
  ::clock_gettime(clock, &now);
  return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

double watts(std::int64_t microjoules, std::chrono::nanoseconds time) {
  return static_cast<double>(microjoules) * kMicro / seconds(time);
}

}  // namespace

// CLOCK_BOOTTIME goes on while the machine is suspended, CLOCK_MONOTONIC does not.
EnergyLookTime presentLookTime() {
  const auto sinceBoot = timeOf(CLOCK_BOOTTIME);
  const auto now = timeOf(CLOCK_MONOTONIC);
  return {now, sinceBoot - now};
}

bool EnergyMeter::isStale(const EnergyLookTime& time) const {
  if (!time_ || time.suspended - time_->suspended > kSuspended) return true;
  return seconds(time.now - time_->now) * kMostWatts > static_cast<double>(range_) * kMicro;
}

void EnergyMeter::look(std::int64_t energy, const EnergyLookTime& time) {
  const bool isFirst = isStale(time);
  const auto before = std::exchange(time_, time).value_or(time);
  const std::int64_t energyBefore = std::exchange(energy_, energy);
  used_.reset();
  if (isFirst || time.now <= before.now) return;
  const std::int64_t used =
      energy >= energyBefore ? energy - energyBefore : energy + (range_ - energyBefore);
  moves_ = moves_ || used != 0;
  elapsed_ = time.now - before.now;
  if (moves_ && used >= 0 && watts(used, elapsed_) < kMostWatts) used_ = used;
}

std::optional<double> EnergyMeter::power() const {
  return used_ ? std::optional(watts(*used_, elapsed_)) : std::nullopt;
}

}  // namespace tarvel
