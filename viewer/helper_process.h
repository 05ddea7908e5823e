#pragma once

#include <optional>

#include <sys/types.h>

// The helper of the viewer's own installation, started for as long as the viewer runs.

namespace tarvel::viewer {

class HelperProcess {
 public:
  HelperProcess() = default;
  ~HelperProcess();  // ends a helper that was started, and waits for its end
  HelperProcess(const HelperProcess&) = delete;
  HelperProcess& operator=(const HelperProcess&) = delete;

  // Starts the helper; false where there is none or it cannot be started. What it prints goes to
  // Library/Caches/TarvelHelper.log in the group container.
  bool start();

 private:
  std::optional<pid_t> child_;
};

}  // namespace tarvel::viewer
