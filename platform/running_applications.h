#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// Which applications of the product run for the current user. Main thread only.

namespace tarvel {

// Options of activateWithOptions: all windows to the front, ahead of other applications.
inline constexpr std::uint32_t kActivateAllWindows = 1;
inline constexpr std::uint32_t kActivateIgnoringOtherApps = 2;

struct RunningApplication {
  std::string bundleIdentifier;
  std::string instance;    // tells the instances of one identifier apart
  bool isCurrent = false;  // the calling process itself
};

class RunningApplications {
 public:
  virtual ~RunningApplications() = default;

  // In order of start, the calling process included where it is one of them.
  virtual std::vector<RunningApplication> runningApplicationsWithBundleIdentifier(
      std::string_view identifier) = 0;

  virtual void activateWithOptions(const RunningApplication& application,
                                   std::uint32_t options) = 0;
};

}  // namespace tarvel
