#include "platform/host/container/group_container.h"

#include <array>
#include <cerrno>
#include <cstdlib>

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tarvel {
namespace {

constexpr mode_t kPrivateFolder = 0700;

std::optional<std::string> absolutePathOf(const char* variable) {
  const char* const value = std::getenv(variable);
  if (value == nullptr || value[0] != '/') return std::nullopt;
  return value;
}

std::optional<std::string> homeOfPasswordFile() {
  std::array<char, 4096> buffer{};
  passwd entry{};
  passwd* found = nullptr;
  if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) != 0) {
    return std::nullopt;
  }
  if (found == nullptr || entry.pw_dir == nullptr || entry.pw_dir[0] != '/') return std::nullopt;
  return entry.pw_dir;
}

std::optional<std::string> dataHome() {
  if (auto data = absolutePathOf("XDG_DATA_HOME")) return data;
  auto home = absolutePathOf("HOME");
  if (!home) home = homeOfPasswordFile();
  if (home) home->append("/.local/share");
  return home;
}

bool isFolder(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

// Makes the folder and those above it that are missing.
bool makeFolders(const std::string& path) {
  if (isFolder(path)) return true;
  for (auto end = path.find('/', 1); end != std::string::npos; end = path.find('/', end + 1)) {
    ::mkdir(path.substr(0, end).c_str(), kPrivateFolder);
  }
  ::mkdir(path.c_str(), kPrivateFolder);
  return isFolder(path);
}

bool isFileName(std::string_view name) {
  return !name.empty() && name != "." && name != ".." &&
         name.find_first_of(std::string_view("/\0", 2)) == std::string_view::npos;
}

}  // namespace

std::optional<std::string> groupContainer(std::string_view group) {
  if (!isFileName(group)) return std::nullopt;
  auto path = dataHome();
  if (!path) return std::nullopt;
  path->append("/").append(group);
  const bool made =
      makeFolders(*path + "/Library/Preferences") && makeFolders(*path + "/Library/Caches");
  return made ? path : std::nullopt;
}

}  // namespace tarvel
