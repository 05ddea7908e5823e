#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/host/files/file_descriptor.h"
#include "platform/linux/processes/control_groups.h"
#include "platform/linux/processes/process_files.h"
#include "platform/linux/processes/recent_ids.h"

// One look at every process, and what each has done since the look before.
//
// The kernel keeps a clock of the processor time that all threads of a process have used together,
// ended ones included (clock_getcpuclockid(3)). Reading it is one system call, needs no permission
// and no open file, and costs a tenth of reading stat. A process whose clock stands still cannot
// have changed what is shown of it, but for resident memory, which can shrink without it (reclaim):
// so stat is read only of processes that ran, and in every sweep of a slice of the others. All are
// listed in every eighth sweep, in the others only what came is looked for (recent_ids.h).
//
// Where most of many processes are in control groups that sleep, their clocks are not read either
// (control_groups.h, which says what can be late or missed). What such a process is then found to
// have used is never more than its group used since the sweep before: the clock may hold what it
// did earlier, elsewhere.
//
// Processes that run again and again have their stat kept open, 1,700 at most and as many as
// RLIMIT_NOFILE leaves, then 1,024 groups; each costs 4 KiB of kernel memory. For one thread at a
// time.

namespace tarvel {

struct Process {
  std::int32_t pid = 0;
  std::int32_t threads = 0;
  std::uint64_t startTime = 0;     // clock ticks since boot; tells processes with the same id apart
  std::string name;                // as the kernel has it, any bytes
  std::int64_t residentPages = 0;  // about: the kernel folds its per-processor counts in late
  bool isKernelThread = false;

  // Processor time: since the sweep before, and altogether.
  std::chrono::nanoseconds used{0};
  std::chrono::nanoseconds total{0};
  bool ran = true;  // false only where it certainly did not, since the sweep before

  bool known = false;   // seen by a sweep before
  bool spared = false;  // its clock was not read, since its control group slept
  FileDescriptor stat;  // kept open where it runs often
};

// The processor time that a process has used; none when there is no such process, or no such clock.
using ProcessorTime = std::function<std::optional<std::chrono::nanoseconds>(std::int32_t pid)>;
ProcessorTime processorClocks();

class ProcessSweep {
 public:
  // Raises the soft limit of open files where the kept ones may need it.
  // `groups` is where control groups are mounted, empty for none.
  ProcessSweep(const std::string& root, const std::string& groups, ProcessorTime processorTime);

  // How many sweeps there were.
  std::size_t count() const { return sweeps_; }

  // Looks now. `elapsed` is the time since the look before; 0 at the first one and where there is
  // no sense in comparing: nothing counts as used then.
  void run(std::chrono::nanoseconds elapsed);

  // By process id, as of the latest sweep.
  const std::vector<Process>& processes() const { return processes_; }
  const Process* find(std::int32_t pid) const;

  ProcessFiles& files() { return files_; }

  // Closes every file that is kept open; the next sweeps open those that they need again.
  void closeKept();

 private:
  ProcessSweep(const std::string& root, const std::string& groups, ProcessorTime processorTime,
               std::size_t mostFiles);
  void findProcesses();
  void matchList(std::vector<std::int32_t>& arrived);
  bool update(Process& process, bool refresh);
  bool readStat(Process& process, std::optional<std::chrono::nanoseconds> total);
  std::string_view statText(Process& process);
  void account(Process& process, std::chrono::nanoseconds total, bool isSame) const;
  void close(Process& process);

  ProcessFiles files_;
  RecentIds recentIds_;
  std::size_t mostKept_;
  ControlGroups groups_;
  ProcessorTime processorTime_;
  std::vector<Process> processes_;
  std::vector<std::int32_t> pids_;
  std::size_t sweeps_ = 0;
  std::chrono::nanoseconds elapsed_{0};
  std::size_t kept_ = 0;
  std::chrono::nanoseconds tick_;
  std::int64_t processors_;
};

}  // namespace tarvel
