#pragma once

#include <optional>
#include <string>

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
  std::optional<pid_t> child;
};

// The helper beside this program: ../lib/tarvel/TarvelHelper.app/TarvelHelper, seen from the folder
// of the program's file. None when it is not there.
std::optional<std::string> helperPath();

}  // namespace tarvel::viewer
