#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "viewer/machine/machine_totals.h"

// Rates of disks and networks from the kernel's counters.

namespace tarvel::viewer {

class TrafficMeter {
 public:
  using Clock = std::chrono::steady_clock;

  // Which devices count, asked once for each name.
  using Counts = std::function<bool(const std::string& device)>;

  explicit TrafficMeter(Counts counts) : counts_(std::move(counts)) {}

  // The rates since the reading before, of the devices that stood in both; none for the first.
  // /proc/diskstats (Documentation/admin-guide/iostats.rst: sectors of 512 bytes) and
  // /proc/net/dev.
  std::optional<Traffic> ofDisks(std::string_view diskstats, Clock::time_point now);
  std::optional<Traffic> ofNetworks(std::string_view dev, Clock::time_point now);

 private:
  struct Counters {
    std::uint64_t in = 0;  // bytes
    std::uint64_t out = 0;
  };
  using Devices = std::map<std::string, Counters, std::less<>>;

  bool isCounted(std::string_view device);
  std::optional<Traffic> since(Devices devices, Clock::time_point now);

  Counts counts_;
  std::map<std::string, bool, std::less<>> known_;
  Devices before_;
  Counters sinceFirst_;
  std::optional<Clock::time_point> last_;
};

}  // namespace tarvel::viewer
