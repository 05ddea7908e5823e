#include "programs/viewer/helper_process.h"

#include <csignal>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

#include "app/store_keys.h"
#include "platform/host/child_process.h"
#include "platform/host/file_descriptor.h"
#include "platform/host/group_container.h"

namespace tarvel::viewer {
namespace {

FileDescriptor openLog() {
  const auto container = groupContainer(kSuiteName);
  const std::string path =
      container ? *container + "/Library/Caches/TarvelHelper.log" : std::string("/dev/null");
  return FileDescriptor(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
}

}  // namespace

HelperProcess::~HelperProcess() {
  if (!child) return;
  kill(*child, SIGTERM);
  waitForProgram(*child);
}

bool HelperProcess::start() {
  const auto path = siblingPath("TarvelHelper.app/TarvelHelper");
  const FileDescriptor log = openLog();
  if (!path || !log) return false;
  child = spawnProgram(*path, {}, {{log.get(), STDOUT_FILENO}, {log.get(), STDERR_FILENO}});
  return child.has_value();
}

std::optional<std::string> siblingPath(const std::string& name) {
  std::error_code error;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
  const auto path = program.parent_path().parent_path() / "lib/tarvel" / name;
  return access(path.c_str(), X_OK) == 0 ? std::optional(path.string()) : std::nullopt;
}

}  // namespace tarvel::viewer
