#include "platform/linux/processes/memory_ranking.h"

#include <utility>

#include <unistd.h>

#include "platform/linux/processes/process_text.h"

namespace tarvel {

std::vector<RankedProcess> MemoryRanking::highest(ProcessSweep& sweep, std::size_t rows) {
  const std::int64_t pageKiB = ::sysconf(_SC_PAGESIZE) / 1024;
  auto ranked = tarvel::highest(
      sweep, 2 * rows, [&](const Process& process) { return process.residentPages * pageKiB; });
  std::map<std::int32_t, Exact> latest;
  for (RankedProcess& candidate : ranked) {
    if (candidate.value == 0) break;
    const Process& process = *candidate.process;
    Exact& exact = latest[process.pid];
    const auto known = exact_.find(process.pid);
    if (known != exact_.end() && known->second.startTime == process.startTime) {
      exact = std::move(known->second);
    }
    bringUpToDate(sweep, process, exact);
    candidate.value = exact.pages * pageKiB;
  }
  exact_ = std::move(latest);
  keepHighest(ranked, rows);
  return ranked;
}

void MemoryRanking::bringUpToDate(ProcessSweep& sweep, const Process& process, Exact& exact) {
  const bool isUpToDate = exact.startTime == process.startTime && exact.total == process.total &&
                          exact.residentPages == process.residentPages;
  if (isUpToDate) return;
  exact.startTime = process.startTime;
  exact.total = process.total;
  exact.residentPages = process.residentPages;
  // Where it has just ended, what stat told stands.
  const auto pages = parseResidentPages(sweep.files().reread(exact.statm, process.pid, "statm"));
  exact.pages = pages && *pages > 0 ? *pages : process.residentPages;
}

std::uint64_t MemoryRanking::swapKiB(ProcessSweep& sweep, const Process& process) {
  const auto status = parseStatus(sweep.files().read(process.pid, "status"));
  return status ? status->swapKiB : 0;
}

}  // namespace tarvel
