#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

namespace tarvel {

// When a counter was looked at: monotonic time, and the time that the machine has been suspended
// altogether.
struct EnergyLookTime {
  std::chrono::nanoseconds now{};
  std::chrono::nanoseconds suspended{};
};

EnergyLookTime presentLookTime();

// What was used between looks at a counter of energy. For one thread at a time.
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

  // Microjoules between the latest two looks. None where they cannot be compared, where they tell
  // of 1,024 W or more, and of a counter that was never seen to move: the hardware does not count
  // there.
  std::optional<std::int64_t> used() const { return used_; }

  // Watts between the latest two looks, where `used` is known.
  std::optional<double> power() const;

 private:
  std::int64_t range_;
  std::int64_t energy_ = 0;
  std::optional<EnergyLookTime> time_;
  bool moves_ = false;
  std::chrono::nanoseconds elapsed_{};
  std::optional<std::int64_t> used_;
};

}  // namespace tarvel
