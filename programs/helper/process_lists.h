#pragma once

#include <string>
#include <vector>

#include "platform/linux/processes/process_table.h"
#include "process/process_usage.h"

// Which list of the process table answers which sampler. Every program that runs the samplers over
// the real machine takes it from here.

namespace tarvel {

inline std::vector<ProcessListCommand> processListCommands() {
  const auto answered = [](const ProcessSampler& sampler, ProcessListKind kind) {
    return ProcessListCommand{std::string(sampler.command), kind, sampler.rows};
  };
  return {answered(kCPUSampler, ProcessListKind::cpu),
          answered(kMemorySampler, ProcessListKind::memory),
          answered(kEnergySampler, ProcessListKind::energy)};
}

}  // namespace tarvel
