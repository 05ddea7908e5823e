#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/linux/monotonic_clock.h"
#include "platform/linux/processes/process_sweep.h"
#include "platform/linux/processes/program_run.h"

// The process lists of a machine without a `top` that understands the samplers' commands: the same
// tagged lines, made from /proc, without a shell.
//
// A line has a process id, a name and the values of its list:
//   "<pid>301</pid><name>bash  </name><cpu>12.3</cpu></item>\n"
// load in percent of one core, resident memory and swapped memory in K, M or G, energy impact
// (docs/energy.md) and user. The highest comes first, equal values stand by process id; there are
// fewer lines than rows where there are fewer processes.
//
// Values tell what happened between two looks at all processes. A look younger than half a second
// serves again; the one before it is the first of the two when it is ten seconds old at most, else
// two are taken, a quarter of a second apart, so that a viewer has its first list at once;
// processor clocks count nanoseconds, so that is long enough. The lists of one cycle cost one look.
// Callable from any thread: a call during a look waits for its end. Nothing that is read in a look
// can hang on the file system of a process.

namespace tarvel {

enum class ProcessListKind { cpu, memory, energy };

// A shell command that the table answers in the shell's stead.
struct ProcessListCommand {
  std::string text;
  ProcessListKind kind;
  std::size_t rows;
};

struct ProcessTableClock {
  MonotonicClock now;
  std::function<void(std::chrono::nanoseconds)> sleep;
  ProcessorTime processorTime;
};
ProcessTableClock realClock();

class ProcessTable {
 public:
  // `groups` is where control groups are mounted, empty for none.
  explicit ProcessTable(std::vector<ProcessListCommand> commands, const std::string& root = "/proc",
                        ProcessTableClock clock = realClock(),
                        const std::string& groups = controlGroupTree());
  ~ProcessTable();

  // What the command prints; none when it is none of those that the table answers.
  std::optional<std::string> answer(const std::string& shellCommand);

  std::string lines(ProcessListKind kind, std::size_t rows);

  // Closes the files that are kept open when the latest look is too old to compare with: nobody
  // asks any more, and the processes end meanwhile. True when that happened, once between two
  // looks. Does not wait for a look that is under way.
  bool rest();

  // What the process ran, as of the latest look; none when it was not there, nor for the kernel's
  // own threads, which run no program.
  std::optional<ProgramRun> program(std::int32_t pid) const;

 private:
  class Reading;

  const std::vector<ProcessListCommand> commands_;
  std::unique_ptr<Reading> reading_;
};

}  // namespace tarvel
