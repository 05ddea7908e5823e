#include "platform/host/container/group_container.h"

#include <array>
#include <cstdlib>

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tarvel {
namespace {

constexpr mode_t kPrivateFolder = 0700;
constexpr mode_t kOthersMayWrite = 022;
constexpr mode_t kOthersMayAnything = 077;

std::optional<std::string> absolutePathOf(const char* variable) {
  const char* const value = std::getenv(variable);
  if (value == nullptr || value[0] != '/') return std::nullopt;
  return value;
}

std::optional<std::string> homeOfPasswordFile() {
  std::array<char, 4096> buffer{};
  passwd entry{};
  passwd* found = nullptr;
  if (::getpwuid_r(::geteuid(), &entry, buffer.data(), buffer.size(), &found) != 0) {
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

enum class Folder { absent, ours, others, open };

// What stands at the path, links followed: "open" is a folder of ours that others may write to.
Folder folderAt(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return Folder::absent;
  if (!S_ISDIR(status.st_mode) || status.st_uid != ::geteuid()) return Folder::others;
  if ((status.st_mode & kOthersMayWrite) != 0) return Folder::open;
  if ((status.st_mode & kOthersMayAnything) != 0) ::chmod(path.c_str(), kPrivateFolder);
  return Folder::ours;
}

// Whether the first of the folders above that is there lets us make others below it: another user's
// would be his to exchange.
bool mayMakeBelow(std::string path) {
  struct stat status {};
  while (::stat(path.c_str(), &status) != 0) {
    path.resize(path.rfind('/'));
    if (path.empty()) path = "/";
  }
  return status.st_uid == ::geteuid() || status.st_uid == 0;
}

// Makes the folder and those above it that are missing.
void makeFolders(const std::string& path) {
  for (auto end = path.find('/', 1); end != std::string::npos; end = path.find('/', end + 1)) {
    ::mkdir(path.substr(0, end).c_str(), kPrivateFolder);
  }
  ::mkdir(path.c_str(), kPrivateFolder);
}

// Why the folder cannot be used, made where it is missing; empty where it can.
std::string whyNotUsable(const std::string& path) {
  Folder folder = folderAt(path);
  if (folder == Folder::absent) {
    if (!mayMakeBelow(path)) return path + " would lie in a folder of somebody else";
    makeFolders(path);
    folder = folderAt(path);
  }
  switch (folder) {
    case Folder::absent:
      return path + " cannot be made";
    case Folder::others:
      return path + " belongs to somebody else or is no folder";
    case Folder::open:
      return "others may write to " + path;
    case Folder::ours:
      return {};
  }
  return {};
}

bool isFileName(std::string_view name) {
  return !name.empty() && name != "." && name != ".." &&
         name.find_first_of(std::string_view("/\0", 2)) == std::string_view::npos;
}

}  // namespace

std::optional<std::string> groupContainer(std::string_view group, std::string* refusal) {
  auto path = isFileName(group) ? dataHome() : std::nullopt;
  std::string reason = path ? "" : "there is no home";
  if (path) path->append("/").append(group);
  for (const char* const folder : {"", "/Library/Preferences", "/Library/Caches"}) {
    if (reason.empty()) reason = whyNotUsable(*path + folder);
  }
  if (refusal != nullptr) *refusal = reason;
  return reason.empty() ? path : std::nullopt;
}

}  // namespace tarvel
