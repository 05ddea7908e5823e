#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <vector>

#include "platform/host/files/file_descriptor.h"
#include "platform/linux/processes/process_ranking.h"
#include "platform/linux/processes/process_sweep.h"

// The processes with the most resident memory. What stat tells of it is off by what the processors
// have not added up yet, so twice as many as are shown are read exactly, from statm, where they
// have run since. For one thread at a time.

namespace tarvel {

class MemoryRanking {
 public:
  // Values in KiB.
  std::vector<RankedProcess> highest(ProcessSweep& sweep, std::size_t rows);

  // KiB of the process in swap space.
  static std::uint64_t swapKiB(ProcessSweep& sweep, const Process& process);

 private:
  // An exact reading, and what the sweep told of the process then.
  struct Exact {
    std::uint64_t startTime = 0;
    std::chrono::nanoseconds total{0};
    std::int64_t residentPages = 0;
    std::int64_t pages = 0;
    FileDescriptor statm;  // kept open
  };

  static void bringUpToDate(ProcessSweep& sweep, const Process& process, Exact& exact);

  std::map<std::int32_t, Exact> exact_;  // by process id
};

}  // namespace tarvel
