#include "platform/linux/processes/energy_ranking.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "platform/linux/processes/process_text.h"

namespace tarvel {
namespace {

constexpr double kPerBusyCore = 100;      // impact of one core that is always busy
constexpr double kPerDiskMegabyte = 0.1;  // of 1 MB/s from or to disks
constexpr double kLeastLoad = 5e-5;       // of a core; with less, the rest cannot come to a tenth
constexpr std::size_t kMoreCandidates = 30;

double seconds(std::chrono::nanoseconds time) {
  return std::chrono::duration<double>(time).count();
}

double growth(std::uint64_t now, std::uint64_t before) {
  return now > before ? static_cast<double>(now - before) : 0;
}

}  // namespace

std::vector<RankedProcess> EnergyRanking::highest(ProcessSweep& sweep, MonotonicTime now,
                                                  std::chrono::nanoseconds elapsed,
                                                  std::size_t rows) {
  const auto load = [&](const Process& process) {
    return elapsed.count() > 0 ? seconds(process.used) / seconds(elapsed) : 0;
  };
  // By processor time to the nanosecond: whoever has traffic has used some of it.
  const auto best = tarvel::highest(sweep, rows + kMoreCandidates,
                                    [](const Process& process) { return process.used.count(); });
  std::map<std::int32_t, Candidate> candidates;
  for (const RankedProcess& ranked : best) {
    const Process& process = *ranked.process;
    const auto known = candidates_.find(process.pid);
    Candidate candidate;
    if (known != candidates_.end() && known->second.startTime == process.startTime) {
      candidate = std::move(known->second);
    }
    if (load(process) < kLeastLoad) {
      candidate.impact = 0;
    } else if (candidate.at != now) {
      look(sweep, process, now, candidate);
    }
    if (candidate.startTime != 0) candidates.emplace(process.pid, std::move(candidate));
  }
  candidates_ = std::move(candidates);
  return tarvel::highest(sweep, rows, [&](const Process& process) {
    double impact = kPerBusyCore * load(process);
    const auto candidate = impact > 0 ? candidates_.find(process.pid) : candidates_.end();
    if (candidate != candidates_.end()) impact += candidate->second.impact;
    return std::llround(10 * impact);
  });
}

void EnergyRanking::closeKept() {
  for (auto& [pid, candidate] : candidates_) candidate.io.reset();
}

void EnergyRanking::look(ProcessSweep& sweep, const Process& process, MonotonicTime now,
                         Candidate& candidate) {
  ProcessFiles& files = sweep.files();
  // Threads of the kernel work for others, and other users' traffic is not for everybody to see.
  std::uint64_t diskBytes = candidate.diskBytes;
  if (!process.isKernelThread) {
    diskBytes = parseDiskBytes(files.reread(candidate.io, process.pid, "io")).value_or(diskBytes);
  }
  candidate.impact = 0;
  if (candidate.startTime != 0) {
    const double megabytes = growth(diskBytes, candidate.diskBytes) / 1e6;
    candidate.impact = kPerDiskMegabyte * megabytes / seconds(now - candidate.at);
  }
  candidate.startTime = process.startTime;
  candidate.at = now;
  candidate.diskBytes = diskBytes;
}

}  // namespace tarvel
