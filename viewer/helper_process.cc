#include "viewer/helper_process.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/host/container/group_container.h"
#include "platform/host/files/file_descriptor.h"
#include "platform/host/presence/application_registry.h"
#include "platform/host/processes/child_process.h"
#include "product/identifiers.h"
#include "viewer/installed_programs.h"

namespace tarvel::viewer {
namespace {

using namespace std::chrono_literals;

constexpr auto kPatience = 1s;  // with a helper that is to end
constexpr auto kLook = 10ms;

FileDescriptor openLog() {
  const auto container = groupContainer(kSuiteName);
  const std::string path =
      container ? *container + "/Library/Caches/TarvelHelper.log" : std::string("/dev/null");
  constexpr int kFlags = O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
  return FileDescriptor(::open(path.c_str(), kFlags, 0600));
}

// This process's environment and the variable that says who starts the helper.
std::vector<std::string> environmentOfHelper() {
  std::vector<std::string> variables;
  for (char** variable = environ; *variable != nullptr; ++variable) {
    variables.emplace_back(*variable);
  }
  variables.push_back(std::string(kStartedByViewerVariable) + "=1");
  return variables;
}

}  // namespace

HelperProcess::~HelperProcess() {
  registry_.withdraw();
  if (!isLastViewer()) return;
  bool ending = childRuns();
  if (ending) ::kill(*child_, SIGTERM);  // also where it has not registered itself yet
  for (const auto& helper : registry_.running(kHelperIdentifier)) {
    if (registry_.note(helper) == kStartedByViewerNote) {
      ending = registry_.signal(helper, SIGTERM) || ending;
    }
  }
  const auto until = std::chrono::steady_clock::now() + kPatience;
  while (ending && std::chrono::steady_clock::now() < until) {
    ending = childRuns() || isStartedByViewer();
    if (ending) std::this_thread::sleep_for(kLook);
  }
}

bool HelperProcess::start() {
  if (isRunning() || childRuns()) return true;
  const auto path = installedProgram("TarvelHelper.app/TarvelHelper");
  const FileDescriptor log = openLog();
  if (!path || !log) return false;
  const ChildSetting setting{
      .descriptors = {{log.get(), STDOUT_FILENO}, {log.get(), STDERR_FILENO}},
      .environment = environmentOfHelper(),
      .ownSession = true};
  child_ = spawnProgram(*path, {}, setting);
  return child_.has_value();
}

bool HelperProcess::isRunning() const { return !registry_.running(kHelperIdentifier).empty(); }

bool HelperProcess::isStartedByViewer() const {
  const auto helpers = registry_.running(kHelperIdentifier);
  return std::ranges::any_of(
      helpers, [&](const auto& helper) { return registry_.note(helper) == kStartedByViewerNote; });
}

bool HelperProcess::isLastViewer() const {
  return registry_.running(kViewerIdentifier).empty() &&
         registry_.running(kWidgetIdentifier).empty();
}

bool HelperProcess::childRuns() const {
  if (child_ && ::waitpid(*child_, nullptr, WNOHANG) != 0) child_.reset();
  return child_.has_value();
}

}  // namespace tarvel::viewer
