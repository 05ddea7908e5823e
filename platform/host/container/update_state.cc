#include "platform/host/container/update_state.h"

#include <ctime>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>

#include "platform/host/container/group_container.h"
#include "platform/host/files/file_descriptor.h"
#include "product/identifiers.h"

namespace tarvel {
namespace {

std::optional<std::string> stateFile() {
  auto path = groupContainer(kSuiteName);
  if (path) path->append("/Library/Caches/LastUpdateCheck");
  return path;
}

}  // namespace

std::optional<std::chrono::seconds> timeSinceUpdateCheck() {
  const auto path = stateFile();
  struct stat status {};
  if (!path || ::stat(path->c_str(), &status) != 0) return std::nullopt;
  return std::chrono::seconds(std::time(nullptr) - status.st_mtim.tv_sec);
}

void noteUpdateCheck() {
  const auto path = stateFile();
  if (!path) return;
  const FileDescriptor file(
      ::open(path->c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
  if (file) ::futimens(file.get(), nullptr);
}

}  // namespace tarvel
