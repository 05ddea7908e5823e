#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "viewer/machine/machine_totals.h"

// How busy the processors were between two readings of /proc/stat (proc(5)).

namespace tarvel::viewer {

class ProcessorUsage {
 public:
  // The shares since the text before; none for the first one, or where no time has passed. A
  // processor that came or went starts anew.
  std::optional<Processors> since(std::string_view stat);

 private:
  struct Times {
    std::uint64_t busy = 0;  // in clock ticks
    std::uint64_t all = 0;
  };

  static Times timesOf(std::string_view line);
  static double share(const Times& before, const Times& now);

  std::vector<std::uint64_t> numbers_;  // of the processors in `cores_`
  std::vector<Times> cores_;
  Times all_;
};

}  // namespace tarvel::viewer
