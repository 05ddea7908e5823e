#include "platform/linux/processes/memory_ranking.h"

#include <utility>

#include <unistd.h>

#include "platform/linux/processes/process_text.h"

namespace tarvel {
namespace {

constexpr std::size_t kTurns = 4;  // sweeps until each that sleeps has been read anew

}  // namespace

std::vector<RankedProcess> MemoryRanking::highest(ProcessSweep& sweep, std::size_t rows) {
  const std::int64_t pageKiB = ::sysconf(_SC_PAGESIZE) / 1024;
  auto ranked = tarvel::highest(
      sweep, 2 * rows, [&](const Process& process) { return process.residentPages * pageKiB; });
  const auto sweepBefore = std::exchange(rankedSweep_, sweep.count());
  const bool sawSweepBefore = sweep.count() - sweepBefore <= 1;
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
    const bool isItsTurn = (sweep.count() + static_cast<std::size_t>(process.pid)) % kTurns == 0;
    if (process.ran || isItsTurn || !sawSweepBefore || !kept.isRead) read(sweep, process, kept);
    candidate.value = kept.pages * pageKiB;
  }
  kept_ = std::move(latest);
  keepHighest(ranked, rows);
  return ranked;
}

// Where it has just ended, what stat told stands.
void MemoryRanking::read(ProcessSweep& sweep, const Process& process, Kept& kept) {
  const auto pages = parseResidentPages(sweep.files().reread(kept.statm, process.pid, "statm"));
  kept.pages = pages.value_or(process.residentPages);
  kept.isRead = true;
}

std::uint64_t MemoryRanking::swapKiB(ProcessSweep& sweep, const Process& process) {
  const auto status = parseStatus(sweep.files().read(process.pid, "status"));
  return status ? status->swapKiB : 0;
}

}  // namespace tarvel
