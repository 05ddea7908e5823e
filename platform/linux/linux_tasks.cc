#include "platform/linux/linux_tasks.h"

#include <array>
#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include "platform/host/file_descriptor.h"
#include "platform/host/child_process.h"
#include "platform/linux/detached_thread.h"

namespace tarvel {
namespace {

std::string readToEnd(int descriptor) {
  std::string output;
  std::array<char, 4096> buffer;
  for (;;) {
    const ssize_t count = read(descriptor, buffer.data(), buffer.size());
    if (count > 0) {
      output.append(buffer.data(), static_cast<std::size_t>(count));
    } else if (count == 0 || errno != EINTR) {
      return output;
    }
  }
}

class LinuxTasks : public Tasks {
 public:
  explicit LinuxTasks(ShellCommandAnswer answer) : answerCommand(std::move(answer)) {}

  void launch(const std::string& path, const std::vector<std::string>& arguments) override {
    const auto child = spawnProgram(path, arguments);
    if (!child) return;
    startDetachedThread("reap", [child] { waitForProgram(*child); });
  }

  // The pipe is read before the child is waited for: one that writes more than a pipe holds would
  // never end otherwise.
  std::string launchAndReadOutput(const std::string& path,
                                  const std::vector<std::string>& arguments) override {
    if (path == "/bin/sh" && arguments.size() == 2 && arguments.front() == "-c") {
      if (auto output = answerCommand(arguments.back())) return std::move(*output);
    }
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) return {};
    const FileDescriptor reading(ends[0]);
    FileDescriptor writing(ends[1]);
    const auto child = spawnProgram(path, arguments, {{writing.get(), STDOUT_FILENO}});
    writing.reset();
    if (!child) return {};
    std::string output = readToEnd(reading.get());
    waitForProgram(*child);
    return output;
  }

 private:
  ShellCommandAnswer answerCommand;
};

}  // namespace

std::unique_ptr<Tasks> makeLinuxTasks(ShellCommandAnswer answer) {
  return std::make_unique<LinuxTasks>(std::move(answer));
}

}  // namespace tarvel
