#pragma once

#include <string>
#include <vector>

// Child processes. Arguments are passed as they are; no shell is involved unless it is the program.
// Callable from any thread.

namespace tarvel {

class Tasks {
 public:
  virtual ~Tasks() = default;

  // Starts the program and forgets it. A program that cannot be started is ignored.
  virtual void launch(const std::string& path, const std::vector<std::string>& arguments) = 0;

  // Starts the program, waits for its end however long that takes and returns all that it wrote to
  // standard output; nothing when it cannot be started. The exit status is not looked at.
  virtual std::string launchAndReadOutput(const std::string& path,
                                          const std::vector<std::string>& arguments) = 0;
};

}  // namespace tarvel
