#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "platform/platform.h"
#include "platform/recorded/machine.h"
#include "platform/run_loop.h"

// A recorded machine as a platform, over the real store and icon directory of the group container.

namespace tarvel::recorded {

class RecordedPlatform {
 public:
  explicit RecordedPlatform(Recording recording);
  ~RecordedPlatform();
  RecordedPlatform(const RecordedPlatform&) = delete;
  RecordedPlatform& operator=(const RecordedPlatform&) = delete;

  Platform platform();

  // Traces every call into this file from now on; false when it cannot be made.
  bool openTrace(const std::string& path);

  // Whether all of the trace has been written.
  bool finishTrace();

  // Launches the application, runs this many cycles and terminates it, or, where abandoned, leaves
  // it as it stands.
  void run(ApplicationDelegate& application, std::size_t cycles, bool abandon);

 private:
  struct Services;
  std::unique_ptr<Services> services_;
};

}  // namespace tarvel::recorded
