#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <sys/types.h>

// Starting programs. Children get the arguments as they are, this process's environment and
// standard streams, no signal blocked or ignored, and no other descriptor than those named.

namespace tarvel {

// Starts the program at an absolute path, or by its bare name along PATH. Each pair of descriptors
// is one of ours and the number it has in the child. None when it cannot be started.
std::optional<pid_t> spawnProgram(const std::string& program,
                                  const std::vector<std::string>& arguments,
                                  const std::vector<std::pair<int, int>>& descriptors = {});

// Waits for the child's end: its exit status, or 128 plus the signal that ended it.
int waitForProgram(pid_t child);

// Runs the program to its end, however long that takes: all that it wrote to standard output,
// nothing when it cannot be started.
std::string readProgramOutput(const std::string& program,
                              const std::vector<std::string>& arguments);

}  // namespace tarvel
