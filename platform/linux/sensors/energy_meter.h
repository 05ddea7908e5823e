#pragma once

#include <cstdint>
#include <optional>

#include "platform/linux/monotonic_clock.h"

namespace tarvel {

// When a counter was looked at: monotonic time, and the time that the machine has been suspended.
struct EnergyLookTime {
  MonotonicTime now{};
  MonotonicTime suspended{};
};

// Power from looks at a counter of energy. For one thread at a time.
class EnergyMeter {
 public:
  // The counter counts microjoules and begins anew after its range.
  explicit EnergyMeter(std::int64_t range) : range_(range) {}

  // Whether the look before cannot be compared with one now: there was none, the counter may have
  // gone round since then at 1,024 W, or a suspend may have cleared it.
  bool isStale(const EnergyLookTime& time) const;

  void look(std::int64_t energy, const EnergyLookTime& time);

  // Forgets the look before; a counter that has moved counts as one that moves.
  void reset() { time_.reset(); }

  // Watts between the latest two looks. None where they cannot be compared, where they tell of
  // 1,024 W or more, and of a counter that was never seen to move: the hardware does not count
  // there.
  std::optional<double> power() const { return power_; }

 private:
  std::int64_t range_;
  std::int64_t energy_ = 0;
  std::optional<EnergyLookTime> time_;
  bool moves_ = false;
  std::optional<double> power_;
};

}  // namespace tarvel
