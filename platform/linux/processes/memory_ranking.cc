#include "platform/linux/processes/memory_ranking.h"

#include <utility>

#include <unistd.h>

#include "platform/linux/processes/process_text.h"

namespace tarvel {

std::vector<RankedProcess> MemoryRanking::highest(ProcessSweep& sweep, std::size_t rows) {
  const std::int64_t pageKiB = ::sysconf(_SC_PAGESIZE) / 1024;
  auto ranked = tarvel::highest(
      sweep, 2 * rows, [&](const Process& process) { return process.residentPages * pageKiB; });
  std::map<std::int32_t, Kept> latest;
  for (RankedProcess& candidate : ranked) {
    if (candidate.value == 0) break;
    const Process& process = *candidate.process;
    Kept& kept = latest[process.pid];
    const auto known = kept_.find(process.pid);
    if (known != kept_.end() && known->second.startTime == process.startTime) {
      kept = std::move(known->second);
    }
    kept.startTime = process.startTime;
    // Where it has just ended, what stat told stands.
    const auto pages = parseResidentPages(sweep.files().reread(kept.statm, process.pid, "statm"));
    if (pages) candidate.value = *pages * pageKiB;
  }
  kept_ = std::move(latest);
  keepHighest(ranked, rows);
  return ranked;
}

std::uint64_t MemoryRanking::swapKiB(ProcessSweep& sweep, const Process& process) {
  const auto status = parseStatus(sweep.files().read(process.pid, "status"));
  return status ? status->swapKiB : 0;
}

}  // namespace tarvel
