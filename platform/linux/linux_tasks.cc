#include "platform/linux/linux_tasks.h"

#include <utility>

#include "platform/host/processes/child_process.h"
#include "platform/linux/detached_thread.h"

namespace tarvel {
namespace {

class LinuxTasks : public Tasks {
 public:
  explicit LinuxTasks(ShellCommandAnswer answer) : answerCommand_(std::move(answer)) {}

  void launch(const std::string& path, const std::vector<std::string>& arguments) override {
    const auto child = spawnProgram(path, arguments);
    if (!child) return;
    startDetachedThread("reap", [child] { waitForProgram(*child); });
  }

  std::string launchAndReadOutput(const std::string& path,
                                  const std::vector<std::string>& arguments) override {
    if (path == "/bin/sh" && arguments.size() == 2 && arguments.front() == "-c") {
      if (auto output = answerCommand_(arguments.back())) return std::move(*output);
    }
    return readProgramOutput(path, arguments);
  }

 private:
  ShellCommandAnswer answerCommand_;
};

}  // namespace

std::unique_ptr<Tasks> makeLinuxTasks(ShellCommandAnswer answer) {
  return std::make_unique<LinuxTasks>(std::move(answer));
}

}  // namespace tarvel
