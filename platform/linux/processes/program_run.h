#pragma once

#include <cstdint>
#include <string>

namespace tarvel {

// One program in one process. Another start time is another process that has been given the same
// id, another name is another program in the same process (exec).
struct ProgramRun {
  std::uint64_t startTime = 0;  // clock ticks since boot
  std::string name;             // as the kernel has it

  bool operator==(const ProgramRun&) const = default;
};

}  // namespace tarvel
