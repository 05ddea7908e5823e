#include "viewer/helper_process.h"

#include <csignal>

#include <fcntl.h>
#include <unistd.h>

#include "platform/host/container/group_container.h"
#include "platform/host/files/file_descriptor.h"
#include "platform/host/processes/child_process.h"
#include "product/identifiers.h"
#include "viewer/installed_programs.h"

namespace tarvel::viewer {
namespace {

FileDescriptor openLog() {
  const auto container = groupContainer(kSuiteName);
  const std::string path =
      container ? *container + "/Library/Caches/TarvelHelper.log" : std::string("/dev/null");
  return FileDescriptor(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
}

}  // namespace

HelperProcess::~HelperProcess() {
  if (!child_) return;
  ::kill(*child_, SIGTERM);
  waitForProgram(*child_);
}

bool HelperProcess::start() {
  const auto path = installedProgram("TarvelHelper.app/TarvelHelper");
  const FileDescriptor log = openLog();
  if (!path || !log) return false;
  child_ = spawnProgram(*path, {}, {{log.get(), STDOUT_FILENO}, {log.get(), STDERR_FILENO}});
  return child_.has_value();
}

}  // namespace tarvel::viewer
