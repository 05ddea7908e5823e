#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "platform/host/files/file_descriptor.h"

// A process that something is to be done to. It is opened when the question is asked, so that the
// answer reaches that process or none: an id that the kernel gave away again meanwhile is another
// process.

namespace tarvel::viewer {

class ProcessTarget {
 public:
  // Opens the process; none where it is gone.
  static std::optional<ProcessTarget> open(std::int32_t pid);

  std::int32_t pid() const { return pid_; }

  bool hasEnded() const;

  // Why it was refused, "not permitted"; none where it was done.
  std::optional<std::string> sendSignal(int signal) const;
  std::optional<std::string> setNice(int nice) const;

 private:
  ProcessTarget(std::int32_t pid, FileDescriptor process)
      : pid_(pid), process_(std::move(process)) {}

  std::int32_t pid_;
  FileDescriptor process_;
};

}  // namespace tarvel::viewer
