#include "platform/linux/processes/process_sweep.h"

#include <algorithm>
#include <ctime>
#include <utility>

#include <sys/resource.h>
#include <unistd.h>

#include "platform/linux/processes/process_text.h"

namespace tarvel {
namespace {

constexpr std::size_t kMostKept = 1700;
constexpr std::size_t kMostGroups = 1024;
constexpr rlim_t kReserve = 448;      // what the rest of the program may need to open
constexpr std::size_t kSlices = 256;  // sweeps until every process that sleeps has been read anew

// How many files may be kept open.
std::size_t filesToKeep() {
  rlimit limit{};
  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return 0;
  const rlim_t wanted = std::min(limit.rlim_max, kMostKept + kMostGroups + kReserve);
  if (limit.rlim_cur < wanted) {
    const rlimit raised{wanted, limit.rlim_max};
    if (::setrlimit(RLIMIT_NOFILE, &raised) == 0) limit.rlim_cur = wanted;
  }
  return limit.rlim_cur <= kReserve ? 0 : limit.rlim_cur - kReserve;
}

}  // namespace

ProcessorTime processorClocks() {
  if (!showsOwnProcesses("/proc")) return [](std::int32_t) { return std::nullopt; };
  return [](std::int32_t pid) -> std::optional<std::chrono::nanoseconds> {
    // As clock_getcpuclockid(3) makes it, without its check, which would be a second system call.
    constexpr clockid_t kWholeProcess = 2;
    const clockid_t clock =
        static_cast<clockid_t>(~static_cast<unsigned>(pid) << 3) | kWholeProcess;
    timespec time{};
    if (::clock_gettime(clock, &time) != 0) return std::nullopt;
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
  };
}

ProcessSweep::ProcessSweep(const std::string& root, const std::string& groups,
                           ProcessorTime processorTime)
    : ProcessSweep(root, groups, std::move(processorTime), filesToKeep()) {}

ProcessSweep::ProcessSweep(const std::string& root, const std::string& groups,
                           ProcessorTime processorTime, std::size_t mostFiles)
    : files_(root),
      recentIds_(root),
      mostKept_(std::min(mostFiles, kMostKept)),
      groups_(root, groups, std::min(mostFiles - mostKept_, kMostGroups)),
      processorTime_(std::move(processorTime)),
      tick_(std::chrono::nanoseconds(std::chrono::seconds(1)) / ::sysconf(_SC_CLK_TCK)),
      processors_(std::max(::sysconf(_SC_NPROCESSORS_ONLN), 1L)) {}

void ProcessSweep::run(std::chrono::nanoseconds elapsed) {
  elapsed_ = elapsed;
  findProcesses();
  const std::vector<std::int32_t>& asleep = groups_.look(processes_.size());
  auto sleeper = asleep.begin();
  std::size_t slice = sweeps_++;
  for (Process& process : processes_) {
    const bool refresh = slice++ % kSlices == 0;
    while (sleeper != asleep.end() && *sleeper < process.pid) ++sleeper;
    const bool sleeps = sleeper != asleep.end() && *sleeper == process.pid;
    const bool spare = sleeps && process.known && !refresh;
    if (spare) {
      process.used = {};
      process.ran = false;
    } else {
      process.known = update(process, refresh);
    }
    process.spared = spare;
    if (!process.known) close(process);
  }
  std::erase_if(processes_, [](const Process& process) { return !process.known; });
}

const Process* ProcessSweep::find(std::int32_t pid) const {
  const auto place = std::ranges::lower_bound(processes_, pid, {}, &Process::pid);
  return place != processes_.end() && place->pid == pid ? &*place : nullptr;
}

// Makes the processes those that there are now; some that have gone are left to their clocks.
void ProcessSweep::findProcesses() {
  std::vector<std::int32_t> arrived;
  const auto recent = recentIds_.look(files_, processes_.size());
  if (recent) {
    const std::int32_t ownThread = ::gettid();  // whose clock of a process is that of ours
    for (std::int32_t id = recent->after + 1; id <= recent->last; ++id) {
      if (id != ownThread && find(id) == nullptr && processorTime_(id)) arrived.push_back(id);
    }
  } else {
    matchList(arrived);
  }
  for (const std::int32_t pid : arrived) processes_.emplace_back().pid = pid;
  if (!std::ranges::is_sorted(processes_, {}, &Process::pid)) {
    std::ranges::sort(processes_, {}, &Process::pid);
  }
}

// Drops what is not listed now and names what else is.
void ProcessSweep::matchList(std::vector<std::int32_t>& arrived) {
  files_.list(pids_);
  auto listed = pids_.begin();
  for (Process& process : processes_) {
    while (listed != pids_.end() && *listed < process.pid) arrived.push_back(*listed++);
    process.known = listed != pids_.end() && *listed == process.pid;
    if (process.known) {
      ++listed;
    } else {
      close(process);
    }
  }
  arrived.insert(arrived.end(), listed, pids_.end());
  std::erase_if(processes_, [](const Process& process) { return !process.known; });
}

// Reads what has changed; whether the process is still there.
bool ProcessSweep::update(Process& process, bool refresh) {
  // The clock before stat: what it does in between shows at the next sweep.
  const auto total = processorTime_(process.pid);
  const bool standsStill = process.known && total && *total == process.total && total->count() > 0;
  if (!standsStill) return readStat(process, total);
  process.used = {};
  process.ran = false;
  if (!refresh) return true;
  const bool isThere = readStat(process, total);
  process.ran = process.used.count() > 0;
  close(process);
  return isThere;
}

bool ProcessSweep::readStat(Process& process, std::optional<std::chrono::nanoseconds> total) {
  auto stat = parseStat(statText(process));
  if (!stat && process.stat) {
    // It is gone; if its id is there all the same, another process has it.
    close(process);
    stat = parseStat(files_.read(process.pid, "stat"));
  }
  if (!stat) return false;
  const bool isSame = process.known && process.startTime == stat->startTime;
  process.name = stat->name;
  process.threads = stat->threads;
  process.startTime = stat->startTime;
  process.residentPages = stat->residentPages;
  process.isKernelThread = stat->isKernelThread;
  account(process, total.value_or(tick_ * static_cast<std::int64_t>(stat->ticks)), isSame);
  return true;
}

// One that ran in the sweep before, too, will run again.
std::string_view ProcessSweep::statText(Process& process) {
  const bool runsOften = process.known && process.ran;
  if (!process.stat && (!runsOften || kept_ >= mostKept_)) return files_.read(process.pid, "stat");
  const bool wasKept = static_cast<bool>(process.stat);
  const std::string_view text = files_.reread(process.stat, process.pid, "stat");
  if (!wasKept && process.stat) ++kept_;
  return text;
}

// What it used since the sweep before. One that came since then has used all of it since then.
void ProcessSweep::account(Process& process, std::chrono::nanoseconds total, bool isSame) const {
  const auto before = isSame ? process.total : std::chrono::nanoseconds(0);
  process.total = total;
  process.ran = true;
  process.used = elapsed_.count() > 0 ? std::max(total - before, std::chrono::nanoseconds(0))
                                      : std::chrono::nanoseconds(0);
  // What it did while it was spared by mistake is not of this interval.
  if (isSame && process.spared)
    process.used = std::min(process.used, groups_.mostUsed(process.pid));
  // More than all processors can give: it is older, and was only hidden from us.
  if (!isSame && process.used > elapsed_ * processors_) process.used = {};
}

void ProcessSweep::closeKept() {
  for (auto& process : processes_) close(process);
  groups_.forget();
}

void ProcessSweep::close(Process& process) {
  if (process.stat) --kept_;
  process.stat.reset();
}

}  // namespace tarvel
