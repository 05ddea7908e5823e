#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <vector>

#include "platform/host/files/file_descriptor.h"
#include "platform/linux/monotonic_clock.h"
#include "platform/linux/processes/process_ranking.h"
#include "platform/linux/processes/process_sweep.h"

// The processes with the highest energy impact, a relative figure: 1 is about what a process costs
// that keeps one core busy for a hundredth of the time. What goes into it and why is in
// docs/energy.md.
//
// Processor time is known of all processes. Only the best candidates are asked for their traffic
// with disks, which is known from the second time on that they are asked. For one thread at a time.

namespace tarvel {

class EnergyRanking {
 public:
  // Values in tenths. The sweep was made at `now`, `elapsed` after the one before.
  std::vector<RankedProcess> highest(ProcessSweep& sweep, MonotonicTime now,
                                     std::chrono::nanoseconds elapsed, std::size_t rows);

  void closeKept();

 private:
  // A candidate, what it was seen to have done, and the impact of what it did last.
  struct Candidate {
    std::uint64_t startTime = 0;
    MonotonicTime at{0};
    std::uint64_t diskBytes = 0;
    double impact = 0;
    FileDescriptor io;  // kept open
  };

  static void look(ProcessSweep& sweep, const Process& process, MonotonicTime now,
                   Candidate& candidate);

  std::map<std::int32_t, Candidate> candidates_;  // by process id
};

}  // namespace tarvel
