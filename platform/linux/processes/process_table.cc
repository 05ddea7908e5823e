#include "platform/linux/processes/process_table.h"

#include <algorithm>
#include <cmath>
#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>
#include <utility>

#include "platform/linux/processes/energy_ranking.h"
#include "platform/linux/processes/memory_ranking.h"
#include "platform/linux/processes/process_lines.h"
#include "platform/linux/processes/process_ranking.h"
#include "platform/linux/processes/process_sweep.h"
#include "platform/linux/processes/process_text.h"
#include "platform/linux/processes/user_names.h"

namespace tarvel {
namespace {

using namespace std::chrono_literals;

constexpr std::chrono::nanoseconds kServesAgain = 500ms;
constexpr std::chrono::nanoseconds kServesAsFirst = 10s;
constexpr std::chrono::nanoseconds kBetweenTwo = 250ms;
constexpr std::chrono::nanoseconds kUserServes = 10s;

std::string lineStart(const Process& process) {
  return tagged("pid", std::to_string(process.pid)) + tagged("name", nameText(process.name));
}

}  // namespace

ProcessTableClock realClock() {
  return {monotonicTime, [](std::chrono::nanoseconds time) { std::this_thread::sleep_for(time); },
          processorClocks()};
}

class ProcessTable::Reading {
 public:
  Reading(const std::string& root, ProcessTableClock clock, const std::string& groups)
      : clock_(std::move(clock)), sweep_(root, groups, clock_.processorTime) {}

  std::string lines(ProcessListKind kind, std::size_t rows) {
    std::unique_lock lock(mutex_);
    bringUpToDate(lock);
    switch (kind) {
      case ProcessListKind::cpu:
        return cpuLines(rows);
      case ProcessListKind::memory:
        return memoryLines(rows);
      case ProcessListKind::energy:
        break;
    }
    const auto ranked = energyRows(rows);
    lock.unlock();  // the user database may be slow
    return energyLines(ranked);
  }

  bool rest() {
    const std::unique_lock lock(mutex_, std::try_to_lock);
    if (!lock || !hasSwept_ || clock_.now() - sweptAt_ <= kServesAsFirst) return false;
    sweep_.closeKept();
    memory_.closeKept();
    energy_.closeKept();
    return !std::exchange(isResting_, true);
  }

  std::optional<ProgramRun> program(std::int32_t pid) {
    const std::lock_guard lock(mutex_);
    const Process* const process = sweep_.find(pid);
    if (process == nullptr || process->isKernelThread) return std::nullopt;
    return ProgramRun{process->startTime, process->name};
  }

 private:
  // Whoever comes during a look waits for its end alone. Between the two looks of a start the lock
  // is free.
  void bringUpToDate(std::unique_lock<std::mutex>& lock) {
    hasLooked_.wait(lock, [&] { return !isLooking_; });
    const auto age = hasSwept_ ? clock_.now() - sweptAt_ : kServesAsFirst + 1ns;
    if (age < kServesAgain) return;
    isLooking_ = true;
    if (age > kServesAsFirst) {
      look(false);
      lock.unlock();
      clock_.sleep(kBetweenTwo);
      lock.lock();
    }
    look(true);
    isLooking_ = false;
    hasLooked_.notify_all();
  }

  void look(bool compare) {
    const auto now = clock_.now();
    elapsed_ = compare ? now - sweptAt_ : 0ns;
    sweptAt_ = now;
    hasSwept_ = true;
    isResting_ = false;
    sweep_.run(elapsed_);
  }

  std::string cpuLines(std::size_t rows) {
    const double elapsed = std::max(std::chrono::duration<double>(elapsed_).count(), 1e-9);
    const auto load = [&](const Process& process) {
      return std::llround(1000 * std::chrono::duration<double>(process.used).count() / elapsed);
    };
    std::string text;
    for (const auto& [process, tenths] : highest(sweep_, rows, load)) {
      text += lineStart(*process) + tagged("cpu", tenthsText(tenths)) + "</item>\n";
    }
    return text;
  }

  std::string memoryLines(std::size_t rows) {
    const bool swaps = isSwapInUse(sweep_.files().read("swaps"));
    std::string text;
    for (const auto& [process, kibibytes] : memory_.highest(sweep_, rows)) {
      const auto swapped = swaps ? MemoryRanking::swapKiB(sweep_, *process) : 0;
      text += lineStart(*process) +
              tagged("mem", memoryText(static_cast<std::uint64_t>(kibibytes))) +
              tagged("cmprs", memoryText(swapped)) + "</item>\n";
    }
    return text;
  }

  struct EnergyRow {
    std::string text;  // the line's beginning
    std::optional<std::uint32_t> user;
  };

  std::vector<EnergyRow> energyRows(std::size_t rows) {
    std::vector<EnergyRow> list;
    std::erase_if(owners_, [&](const auto& owner) { return sweep_.find(owner.first) == nullptr; });
    for (const auto& [process, tenths] : energy_.highest(sweep_, sweptAt_, elapsed_, rows)) {
      const auto owner = owners_.insert_or_assign(process->pid, ownerOf(*process)).first->second;
      list.push_back({lineStart(*process) + tagged("power", tenthsText(tenths)), owner.user});
    }
    return list;
  }

  std::string energyLines(const std::vector<EnergyRow>& rows) {
    std::string text;
    for (const auto& row : rows) {
      text += row.text + tagged("user", row.user ? users_.name(*row.user) : "?") + "</item>\n";
    }
    return text;
  }

  struct Owner {
    std::uint64_t startTime = 0;
    MonotonicTime askedAt{0};
    std::optional<std::uint32_t> user;  // none where it has just ended
  };

  // Who it runs as. A process that has not run is the same user's as before; others change their
  // user rarely, and asking is dear.
  Owner ownerOf(const Process& process) {
    const auto known = owners_.find(process.pid);
    const bool isKnown = known != owners_.end() && known->second.startTime == process.startTime;
    if (isKnown && (!process.ran || sweptAt_ - known->second.askedAt < kUserServes)) {
      return known->second;
    }
    const auto status = parseStatus(sweep_.files().read(process.pid, "status"));
    if (!status && isKnown) return known->second;
    return {process.startTime, sweptAt_, status ? std::optional(status->user) : std::nullopt};
  }

  UserNames users_;
  ProcessTableClock clock_;
  std::mutex mutex_;  // guards all that follows
  std::condition_variable hasLooked_;
  bool isLooking_ = false;
  ProcessSweep sweep_;
  bool hasSwept_ = false;
  bool isResting_ = false;
  MonotonicTime sweptAt_{0};
  std::chrono::nanoseconds elapsed_{0};  // between the latest two looks
  MemoryRanking memory_;
  EnergyRanking energy_;
  std::map<std::int32_t, Owner> owners_;  // by process id
};

ProcessTable::ProcessTable(std::vector<ProcessListCommand> commands, const std::string& root,
                           ProcessTableClock clock, const std::string& groups)
    : commands_(std::move(commands)),
      reading_(std::make_unique<Reading>(root, std::move(clock), groups)) {}

ProcessTable::~ProcessTable() = default;

std::optional<std::string> ProcessTable::answer(const std::string& shellCommand) {
  const auto command = std::ranges::find(commands_, shellCommand, &ProcessListCommand::text);
  if (command == commands_.end()) return std::nullopt;
  return lines(command->kind, command->rows);
}

std::string ProcessTable::lines(ProcessListKind kind, std::size_t rows) {
  return reading_->lines(kind, rows);
}

bool ProcessTable::rest() { return reading_->rest(); }

std::optional<ProgramRun> ProcessTable::program(std::int32_t pid) const {
  return reading_->program(pid);
}

}  // namespace tarvel
