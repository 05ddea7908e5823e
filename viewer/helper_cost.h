#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

#include <sys/types.h>

namespace tarvel {
class ApplicationRegistry;
}

namespace tarvel::viewer {

// What the running helper costs the machine, measured from outside.
class HelperCost {
 public:
  struct Figures {
    pid_t pid = 0;
    std::optional<std::chrono::nanoseconds> processorTime;  // since it began
    std::optional<double> millisecondsACycle;  // of processor time in 3 s, since it was seen first
    std::uint64_t residentKilobytes = 0;
  };

  // None when no helper runs.
  std::optional<Figures> measure(const ApplicationRegistry& registry,
                                 std::chrono::steady_clock::time_point now);

 private:
  pid_t pid_ = 0;
  std::chrono::steady_clock::time_point since_;
  std::chrono::nanoseconds before_{0};
};

}  // namespace tarvel::viewer
