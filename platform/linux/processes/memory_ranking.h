#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include "platform/host/files/file_descriptor.h"
#include "platform/linux/processes/process_ranking.h"
#include "platform/linux/processes/process_sweep.h"

// The processes with the most resident memory. What stat tells of it is off by what the processors
// have not added up yet, and old where the process has not run: memory is taken from it all the
// same. So twice as many as are shown are read exactly, from statm, a system call each: those that
// ran in every sweep, the others in every fourth. For one thread at a time.

namespace tarvel {

class MemoryRanking {
 public:
  // Values in KiB.
  std::vector<RankedProcess> highest(ProcessSweep& sweep, std::size_t rows);

  void closeKept() { kept_.clear(); }

  // KiB of the process in swap space.
  static std::uint64_t swapKiB(ProcessSweep& sweep, const Process& process);

 private:
  struct Kept {
    std::uint64_t startTime = 0;
    FileDescriptor statm;  // kept open
    std::int64_t pages = 0;
    bool isRead = false;
  };

  static void read(ProcessSweep& sweep, const Process& process, Kept& kept);

  std::map<std::int32_t, Kept> kept_;  // by process id
  std::size_t rankedSweep_ = 0;        // the sweep that they were read in
};

}  // namespace tarvel
