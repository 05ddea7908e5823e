#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/linux/processes/process_sweep.h"

// Which processes stand first in a list.

namespace tarvel {

struct RankedProcess {
  const Process* process = nullptr;
  std::int64_t value = 0;  // in the units that the list shows
};

// Keeps the first `rows` of them: the highest value first, equal values by process id.
inline void keepHighest(std::vector<RankedProcess>& all, std::size_t rows) {
  const auto last = all.begin() + static_cast<std::ptrdiff_t>(std::min(rows, all.size()));
  std::partial_sort(all.begin(), last, all.end(), [](const auto& a, const auto& b) {
    return a.value != b.value ? a.value > b.value : a.process->pid < b.process->pid;
  });
  all.erase(last, all.end());
}

// The highest of all processes by `value`, a function of the process.
template <typename Value>
std::vector<RankedProcess> highest(const ProcessSweep& sweep, std::size_t rows, Value value) {
  std::vector<RankedProcess> all;
  all.reserve(sweep.processes().size());
  for (const Process& process : sweep.processes()) all.push_back({&process, value(process)});
  keepHighest(all, rows);
  return all;
}

}  // namespace tarvel
