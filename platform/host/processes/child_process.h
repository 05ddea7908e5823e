#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <sys/types.h>

// Starting programs. Children get the arguments as they are, this process's standard streams, no
// signal blocked or ignored, and no other descriptor than those named. Callable from any thread.

namespace tarvel {

struct ChildSetting {
  std::vector<std::pair<int, int>> descriptors = {};  // one of ours, and its number in the child
  std::optional<std::vector<std::string>> environment = {};  // "NAME=value"; none: this process's
  bool ownSession = false;  // out of reach of the terminal's keys and of its end
};

// Starts the program at an absolute path, or by its bare name along PATH. None when it cannot be
// started.
std::optional<pid_t> spawnProgram(const std::string& program,
                                  const std::vector<std::string>& arguments,
                                  const ChildSetting& setting = {});

// Waits for the child's end: its exit status, or 128 plus the signal that ended it.
int waitForProgram(pid_t child);

// Runs the program to its end, however long that takes: all that it wrote to standard output,
// nothing when it cannot be started.
std::string readProgramOutput(const std::string& program,
                              const std::vector<std::string>& arguments);

}  // namespace tarvel
